#include "app/empty_state_view.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/app_look.h"
#include "app/symbol_icon.h"

namespace vells::app {

namespace {
constexpr int kSymbolSize = 40;
}

EmptyStateView::EmptyStateView(QString symbol, QString title, QString message, QWidget* parent)
    : QWidget(parent),
      symbol_(std::move(symbol)),
      icon_(new QLabel(this)),
      title_(new QLabel(title, this)),
      message_(new QLabel(this)),
      actions_(new QHBoxLayout) {
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(32, 32, 32, 32);
  column->addStretch(1);
  icon_->setAlignment(Qt::AlignCenter);
  title_->setAlignment(Qt::AlignCenter);
  title_->setObjectName(QStringLiteral("emptyTitle"));
  QFont big = title_->font();
  big.setPointSizeF(big.pointSizeF() * 1.35);
  big.setWeight(QFont::DemiBold);
  title_->setFont(big);
  title_->setWordWrap(true);
  message_->setAlignment(Qt::AlignCenter);
  message_->setWordWrap(true);
  message_->setMaximumWidth(440);
  message_->setTextInteractionFlags(Qt::TextSelectableByMouse);
  column->addWidget(icon_, 0, Qt::AlignHCenter);
  column->addSpacing(8);
  column->addWidget(title_, 0, Qt::AlignHCenter);
  // Centred by stretches, not by alignment, so the words wrap to their height.
  auto* messageRow = new QHBoxLayout;
  messageRow->addStretch(1);
  messageRow->addWidget(message_, 100);
  messageRow->addStretch(1);
  column->addLayout(messageRow);
  column->addSpacing(16);
  actions_->setSpacing(8);
  column->addLayout(actions_);
  column->addStretch(1);
  actions_->setAlignment(Qt::AlignHCenter);
  setMessage(message);
  recolour();
}

void EmptyStateView::setTitle(const QString& title) {
  title_->setText(title);
}
void EmptyStateView::setMessage(const QString& message) {
  // A long path may break after any of its slashes.
  message_->setText(QString(message).replace(QLatin1Char('/'), QStringLiteral("/\u200B")));
}
QString EmptyStateView::title() const {
  return title_->text();
}
QString EmptyStateView::message() const {
  return QString(message_->text()).remove(QChar(0x200B));
}

QPushButton* EmptyStateView::addAction(const QString& text, const QString& symbol) {
  auto* button = new QPushButton(text, this);
  if (!symbol.isEmpty()) button->setIcon(symbolIcon(symbol, palette().color(QPalette::ButtonText)));
  button->setMinimumWidth(96);
  if (actions_->count() == 0) button->setDefault(true);
  actions_->addWidget(button);
  return button;
}

void EmptyStateView::changeEvent(QEvent* event) {
  if (event->type() == QEvent::PaletteChange) recolour();
  QWidget::changeEvent(event);
}

void EmptyStateView::recolour() {
  const QColor secondary = AppLook::secondaryText(palette());
  icon_->setPixmap(symbolIcon(symbol_, secondary).pixmap(kSymbolSize, kSymbolSize));
  QPalette words = message_->palette();
  words.setColor(QPalette::WindowText, secondary);
  message_->setPalette(words);
}

}  // namespace vells::app
