#include "app/inspector_header.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QToolButton>
#include <QVBoxLayout>

#include "app/inspector_look.h"
#include "app/symbol_icon.h"

namespace vells::app {

QToolButton* iconButton(const QString& symbol, const QString& tip, QWidget* parent) {
  auto* b = new QToolButton(parent);
  b->setAutoRaise(true);
  b->setIcon(symbolIcon(symbol, parent->palette().color(QPalette::ButtonText)));
  b->setIconSize(QSize(16, 16));
  b->setFixedSize(28, 28);
  b->setToolTip(tip);
  b->setAccessibleName(tip);
  b->setCursor(Qt::PointingHandCursor);
  b->setProperty("symbol", symbol);
  return b;
}

InspectorHeader::InspectorHeader(const QString& symbol, const QString& title, QWidget* parent)
    : QWidget(parent),
      symbol_(symbol),
      icon_(new QLabel(this)),
      title_(new QLabel(title, this)),
      subtitle_(noteLabel({}, this)),
      row_(new QHBoxLayout(this)) {
  row_->setContentsMargins(kInspectorMargin, 12, 8, 12);
  row_->setSpacing(8);
  icon_->setFixedSize(20, 20);
  row_->addWidget(icon_, 0, Qt::AlignTop);
  auto* words = new QVBoxLayout;
  words->setSpacing(2);
  QFont f = title_->font();
  f.setBold(true);
  f.setPointSizeF(f.pointSizeF() * 1.1);
  title_->setFont(f);
  title_->setTextInteractionFlags(Qt::NoTextInteraction);
  words->addWidget(title_);
  words->addWidget(subtitle_);
  subtitle_->hide();
  row_->addLayout(words, 1);
  paintSymbols();
}

void InspectorHeader::setTitle(const QString& title) {
  title_->setText(title);
}
QString InspectorHeader::title() const {
  return title_->text();
}

void InspectorHeader::setSubtitle(const QString& text) {
  subtitle_->setText(text);
  subtitle_->setVisible(!text.isEmpty());
}

QString InspectorHeader::subtitle() const {
  return subtitle_->text();
}

QToolButton* InspectorHeader::addButton(const QString& symbol, const QString& tip) {
  auto* b = iconButton(symbol, tip, this);
  row_->addWidget(b, 0, Qt::AlignTop);
  buttons_.emplace_back(b, symbol);
  return b;
}

void InspectorHeader::paintSymbols() {
  icon_->setPixmap(symbolIcon(symbol_, palette().color(QPalette::WindowText))
                       .pixmap(QSize(20, 20), devicePixelRatioF()));
  for (auto& [button, symbol] : buttons_)
    button->setIcon(symbolIcon(symbol, palette().color(QPalette::ButtonText)));
}

void InspectorHeader::changeEvent(QEvent* event) {
  if (event->type() == QEvent::PaletteChange) paintSymbols();
  QWidget::changeEvent(event);
}

}  // namespace vells::app
