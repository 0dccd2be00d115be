#include "app/segmented_input.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QToolButton>

#include "app/symbol_icon.h"

namespace vells::app {

SegmentedInput::SegmentedInput(std::vector<Option> options, QWidget* parent)
    : QWidget(parent), options_(std::move(options)) {
  auto* row = new QHBoxLayout(this);
  row->setContentsMargins(0, 0, 0, 0);
  row->setSpacing(2);
  group_.setExclusive(true);
  // The chosen segment must read at a glance in both schemes, which the
  // platform's pressed shade doesn't in a dark palette.
  setStyleSheet(QStringLiteral(
      "QToolButton{border:1px solid palette(mid);border-radius:5px;background:palette(base);"
      "padding:0 6px;}"
      "QToolButton:hover{border-color:palette(dark);}"
      "QToolButton:pressed{background:palette(midlight);}"
      "QToolButton:checked{background:palette(highlight);color:palette(highlighted-text);"
      "border-color:palette(highlight);}"
      "QToolButton:focus{border-color:palette(highlight);}"));
  for (const Option& o : options_) {
    auto* b = new QToolButton(this);
    b->setCheckable(true);
    b->setAutoRaise(false);
    b->setFixedHeight(24);
    b->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    b->setCursor(Qt::PointingHandCursor);
    if (o.symbol.isEmpty()) {
      b->setText(o.label);
    } else {
      b->setToolTip(o.label);
      b->setAccessibleName(o.label);
    }
    group_.addButton(b);
    buttons_.push_back(b);
    row->addWidget(b);
    connect(b, &QToolButton::clicked, this, [this, value = o.value] {
      if (value == selection_) return;
      selection_ = value;
      emit chosen(value);
    });
  }
  paintIcons();
}

void SegmentedInput::setSelection(const QString& value) {
  selection_ = value;
  for (std::size_t i = 0; i < options_.size(); ++i)
    buttons_[i]->setChecked(options_[i].value == value);
}

QToolButton* SegmentedInput::button(const QString& value) const {
  for (std::size_t i = 0; i < options_.size(); ++i)
    if (options_[i].value == value) return buttons_[i];
  return nullptr;
}

void SegmentedInput::paintIcons() {
  for (std::size_t i = 0; i < options_.size(); ++i) {
    if (!options_[i].symbol.isEmpty())
      buttons_[i]->setIcon(symbolIcon(options_[i].symbol, palette().color(QPalette::ButtonText)));
  }
}

void SegmentedInput::changeEvent(QEvent* event) {
  if (event->type() == QEvent::PaletteChange) paintIcons();
  QWidget::changeEvent(event);
}

}  // namespace vells::app
