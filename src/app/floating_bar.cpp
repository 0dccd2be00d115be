#include "app/floating_bar.h"

#include <QEvent>
#include <QPainter>
#include <QPainterPath>
#include <QToolButton>
#include <algorithm>

#include "app/symbol_icon.h"

namespace vells::app {

namespace {

constexpr int radius = 8;
// Room around the rounded body for its shadow.
constexpr int shadow = 4;
const char* symbolProperty = "vells.symbol";

}  // namespace

FloatingBar::FloatingBar(QWidget* parent) : QFrame(parent), layout_(this) {
  layout_.setContentsMargins(shadow + 4, shadow + 4, shadow + 4, shadow + 4);
  layout_.setSpacing(2);
  setAttribute(Qt::WA_TranslucentBackground);
  setFocusPolicy(Qt::NoFocus);
  // Not the move or resize cursor of the canvas below.
  setCursor(Qt::ArrowCursor);
  hide();
}

QToolButton* FloatingBar::addButton(QStringView symbol, const QString& text, const QString& tip) {
  auto* button =
      static_cast<QToolButton*>(items_.emplace_back(std::make_unique<QToolButton>(this)).get());
  button->setProperty(symbolProperty, symbol.toString());
  button->setIcon(symbolIcon(symbol, palette().color(QPalette::ButtonText)));
  button->setIconSize(QSize(16, 16));
  button->setAutoRaise(true);
  button->setText(text);
  button->setToolTip(tip);
  button->setAccessibleName(text.isEmpty() ? tip : text);
  button->setToolButtonStyle(text.isEmpty() ? Qt::ToolButtonIconOnly
                                            : Qt::ToolButtonTextBesideIcon);
  button->setFocusPolicy(Qt::TabFocus);
  button->setCursor(Qt::ArrowCursor);
  layout_.addWidget(button);
  return button;
}

void FloatingBar::addSeparator() {
  auto* line = static_cast<QFrame*>(items_.emplace_back(std::make_unique<QFrame>(this)).get());
  line->setFrameShape(QFrame::VLine);
  line->setFixedWidth(9);
  line->setFixedHeight(16);
  line->setStyleSheet(QStringLiteral("color: palette(mid);"));
  layout_.addWidget(line);
}

void FloatingBar::placeAt(QPointF centre) {
  adjustSize();
  QRect r(QPoint(0, 0), sizeHint());
  r.moveCenter(centre.toPoint());
  if (parentWidget()) {
    const QRect room = parentWidget()->rect();
    r.moveLeft(std::clamp(r.left(), room.left(), std::max(room.left(), room.right() - r.width())));
    r.moveTop(std::clamp(r.top(), room.top(), std::max(room.top(), room.bottom() - r.height())));
  }
  setGeometry(r);
  show();
  raise();
}

void FloatingBar::paintEvent(QPaintEvent*) {
  QPainter p(this);
  p.setRenderHint(QPainter::Antialiasing);
  const QRectF body = QRectF(rect()).adjusted(shadow, shadow, -shadow, -shadow);
  // A soft shadow of a few widening rings under the body.
  for (int i = shadow; i >= 1; --i) {
    QPainterPath ring;
    ring.addRoundedRect(body.adjusted(-i, -i + 1, i, i + 1), radius + i, radius + i);
    p.fillPath(ring, QColor(0, 0, 0, 10));
  }
  QPainterPath path;
  path.addRoundedRect(body, radius, radius);
  p.fillPath(path, palette().color(QPalette::Window));
  p.setPen(QPen(palette().color(QPalette::Mid), 0.5));
  p.drawPath(path);
}

void FloatingBar::changeEvent(QEvent* event) {
  QFrame::changeEvent(event);
  if (event->type() == QEvent::PaletteChange) recolourIcons();
}

void FloatingBar::recolourIcons() {
  for (auto* button : findChildren<QToolButton*>()) {
    const QString symbol = button->property(symbolProperty).toString();
    if (!symbol.isEmpty())
      button->setIcon(symbolIcon(symbol, palette().color(QPalette::ButtonText)));
  }
}

}  // namespace vells::app
