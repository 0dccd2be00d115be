#include "app/color_input.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QPainter>
#include <QVBoxLayout>

#include "app/color_picker_area.h"
#include "app/hsb_color.h"
#include "app/inspector_look.h"

namespace vells::app {

ColorInput::ColorInput(const QString& help, QWidget* parent)
    : QWidget(parent), swatch_(new QToolButton(this)), field_(new QLineEdit(this)) {
  setAttribute(Qt::WA_Hover);
  setFixedHeight(24);
  auto* row = new QHBoxLayout(this);
  row->setContentsMargins(3, 3, 8, 3);
  row->setSpacing(6);
  row->addWidget(swatch_);
  row->addWidget(field_, 1);
  swatch_->setFixedSize(18, 18);
  swatch_->setAutoRaise(true);
  swatch_->setCursor(Qt::PointingHandCursor);
  swatch_->setToolTip(help);
  swatch_->setAccessibleName(help);
  field_->setAccessibleName(help);
  field_->setToolTip(help);
  field_->setFrame(false);
  field_->setMaxLength(9);
  field_->setStyleSheet(QStringLiteral("QLineEdit{background:transparent;padding:0;}"));
  field_->installEventFilter(this);
  setFocusProxy(field_);
  connect(swatch_, &QToolButton::clicked, this, &ColorInput::openPicker);
  connect(field_, &QLineEdit::returnPressed, this, &ColorInput::commit);
  connect(field_, &QLineEdit::editingFinished, this, [this] {
    if (field_->isModified()) commit();
  });
  setHex(hex_);
}

std::optional<QString> ColorInput::normalized(const QString& text) {
  QString digits = text.trimmed();
  digits.remove('#');
  if (digits.size() != 6 || !HSBColor::fromHex(digits)) return std::nullopt;
  return QStringLiteral("#") + digits.toUpper();
}

void ColorInput::setHex(const QString& hex) {
  hex_ = hex;
  if (!field_->hasFocus() || !field_->isModified()) {
    field_->setText(hex_);
    field_->setModified(false);
  }
  paintSwatch();
  if (auto* area = picker_ ? picker_->findChild<ColorPickerArea*>() : nullptr) {
    if (auto c = HSBColor::fromHex(hex_); c && c->hex() != area->color().hex()) area->setColor(*c);
  }
}

void ColorInput::paintSwatch() {
  QPixmap chip(swatch_->size() * devicePixelRatioF());
  chip.setDevicePixelRatio(devicePixelRatioF());
  chip.fill(Qt::transparent);
  QPainter p(&chip);
  p.setRenderHint(QPainter::Antialiasing);
  p.setPen(QPen(palette().color(QPalette::Mid), 1));
  const QColor c(hex_);
  p.setBrush(c.isValid() ? c : QColor(Qt::transparent));
  p.drawRoundedRect(QRectF(0.5, 0.5, swatch_->width() - 1, swatch_->height() - 1), 4, 4);
  p.end();
  swatch_->setIcon(QIcon(chip));
  swatch_->setIconSize(swatch_->size());
}

void ColorInput::commit() {
  const auto accepted = normalized(field_->text());
  field_->setModified(false);
  if (accepted) emit edited(*accepted, false);
  field_->setText(hex_);
}

void ColorInput::openPicker() {
  if (!picker_) {
    auto* popup = new QFrame(this, Qt::Popup);
    popup->setFrameShape(QFrame::StyledPanel);
    popup->setAttribute(Qt::WA_DeleteOnClose);
    auto* box = new QVBoxLayout(popup);
    box->setContentsMargins(12, 12, 12, 12);
    auto* area = new ColorPickerArea(popup);
    box->addWidget(area);
    connect(area, &ColorPickerArea::picked, this,
            [this](const HSBColor& c) { emit edited(c.hex(), true); });
    picker_ = popup;
  }
  if (auto c = HSBColor::fromHex(hex_)) picker_->findChild<ColorPickerArea*>()->setColor(*c);
  picker_->adjustSize();
  picker_->move(mapToGlobal(QPoint(0, height() + 4)));
  picker_->show();
}

bool ColorInput::eventFilter(QObject* watched, QEvent* event) {
  if (watched == field_) {
    if (event->type() == QEvent::KeyPress &&
        static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape && field_->isModified()) {
      field_->setText(hex_);
      field_->setModified(false);
      return true;
    }
    if (event->type() == QEvent::FocusIn || event->type() == QEvent::FocusOut) update();
  }
  return QWidget::eventFilter(watched, event);
}

void ColorInput::paintEvent(QPaintEvent*) {
  paintFieldFrame(this, field_->hasFocus());
}

}  // namespace vells::app
