#include "app/segmented_control.h"

#include <QButtonGroup>
#include <QHBoxLayout>
#include <QToolButton>

namespace vells::app {

namespace {

// The segments share their borders; the ends are rounded.
constexpr const char* kSegmentRules = R"(
QToolButton {
  border: 1px solid palette(mid);
  border-left-width: 0px;
  background: palette(button);
  color: palette(button-text);
  padding: 3px 12px;
  min-height: 18px;
}
QToolButton[edge="first"] { border-left-width: 1px; border-top-left-radius: 6px;
                            border-bottom-left-radius: 6px; }
QToolButton[edge="last"] { border-top-right-radius: 6px; border-bottom-right-radius: 6px; }
QToolButton:hover { background: palette(midlight); }
QToolButton:pressed { background: palette(mid); }
QToolButton:checked { background: palette(highlight); color: palette(highlighted-text);
                      border-color: palette(highlight); }
QToolButton:disabled { color: palette(placeholder-text); background: palette(window); }
QToolButton:checked:disabled { background: palette(midlight); color: palette(placeholder-text);
                               border-color: palette(mid); }
QToolButton:focus { border-color: palette(highlight); }
)";

}  // namespace

SegmentedControl::SegmentedControl(const QStringList& titles, const QString& accessibleName,
                                   QWidget* parent)
    : QWidget(parent), group_(new QButtonGroup(this)) {
  setAccessibleName(accessibleName);
  auto* row = new QHBoxLayout(this);
  row->setContentsMargins(0, 0, 0, 0);
  row->setSpacing(0);
  for (int i = 0; i < titles.size(); ++i) {
    auto* button = new QToolButton(this);
    button->setText(titles[i]);
    button->setCheckable(true);
    button->setFocusPolicy(Qt::TabFocus);
    button->setAccessibleName(accessibleName + QStringLiteral(": ") + titles[i]);
    if (i == 0) button->setProperty("edge", "first");
    if (i == titles.size() - 1) button->setProperty("edge", "last");
    group_->addButton(button, i);
    row->addWidget(button);
  }
  group_->setExclusive(true);
  setStyleSheet(QString::fromLatin1(kSegmentRules));
  connect(group_, &QButtonGroup::idClicked, this, &SegmentedControl::chosen);
}

int SegmentedControl::current() const {
  return group_->checkedId();
}

void SegmentedControl::setCurrent(int index) {
  if (QAbstractButton* button = group_->button(index)) button->setChecked(true);
}

QAbstractButton* SegmentedControl::segment(int index) const {
  return group_->button(index);
}

}  // namespace vells::app
