#include "app/inspector_section.h"

#include <QEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QToolButton>
#include <QVBoxLayout>

#include "app/inspector_look.h"
#include "app/symbol_icon.h"

namespace vells::app {

InspectorSection::InspectorSection(const QString& title, QWidget* parent)
    : QWidget(parent),
      title_(title),
      header_(new QLabel(title, this)),
      fold_(new QToolButton(this)),
      headerRow_(new QWidget(this)),
      body_(new QWidget(this)),
      grid_(new QGridLayout(body_)) {
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(kInspectorMargin, 12, kInspectorMargin, 12);
  column->setSpacing(kRowSpacing);
  auto* head = new QHBoxLayout(headerRow_);
  head->setContentsMargins(0, 0, 0, 0);
  head->setSpacing(4);
  header_->setCursor(Qt::PointingHandCursor);
  header_->installEventFilter(this);
  header_->setAccessibleName(title);
  QFont bold = header_->font();
  bold.setBold(true);
  header_->setFont(bold);
  fold_->setAutoRaise(true);
  fold_->setCursor(Qt::PointingHandCursor);
  fold_->setFocusPolicy(Qt::TabFocus);
  head->addWidget(header_);
  head->addStretch(1);
  head->addWidget(fold_);
  column->addWidget(headerRow_);
  column->addWidget(body_);
  grid_->setContentsMargins(0, 0, 0, 0);
  grid_->setHorizontalSpacing(kRowSpacing);
  grid_->setVerticalSpacing(kRowSpacing);
  grid_->setColumnMinimumWidth(0, kLabelColumn);
  grid_->setColumnStretch(1, 1);
  connect(fold_, &QToolButton::clicked, this, [this] { setExpanded(!expanded_); });
  showFoldState();
}

QLabel* InspectorSection::addRow(const QString& label, QWidget* control, const QString& tip) {
  const int row = grid_->rowCount();
  auto* name = new QLabel(label, body_);
  name->setFixedWidth(kLabelColumn);
  name->setMinimumHeight(24);
  name->setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
  name->setBuddy(control);
  if (!tip.isEmpty()) {
    name->setToolTip(tip);
    control->setToolTip(tip);
  }
  if (control->accessibleName().isEmpty()) control->setAccessibleName(label);
  grid_->addWidget(name, row, 0, Qt::AlignTop);
  grid_->addWidget(control, row, 1);
  return name;
}

QLabel* InspectorSection::addPair(const QString& label, QWidget* first, QWidget* second,
                                  const QString& tip) {
  auto* pair = new QWidget(body_);
  auto* row = new QHBoxLayout(pair);
  row->setContentsMargins(0, 0, 0, 0);
  row->setSpacing(kRowSpacing);
  row->addWidget(first, 1);
  if (second)
    row->addWidget(second, 1);
  else
    row->addStretch(1);
  return addRow(label, pair, tip);
}

void InspectorSection::addWide(QWidget* control) {
  grid_->addWidget(control, grid_->rowCount(), 0, 1, 2);
}

void InspectorSection::setRowVisible(QWidget* control, bool visible) {
  for (int i = 0; i < grid_->count(); ++i) {
    QWidget* w = grid_->itemAt(i)->widget();
    if (!w) continue;
    if (w == control || w->isAncestorOf(control)) {
      int row = 0, col = 0, rs = 0, cs = 0;
      grid_->getItemPosition(i, &row, &col, &rs, &cs);
      for (int c = 0; c < 2; ++c)
        if (auto* item = grid_->itemAtPosition(row, c); item && item->widget())
          item->widget()->setVisible(visible);
      return;
    }
  }
}

void InspectorSection::setExpanded(bool expanded) {
  if (expanded == expanded_) return;
  expanded_ = expanded;
  body_->setVisible(expanded);
  showFoldState();
  emit expandedChanged(expanded);
}

void InspectorSection::setFoldWords(const QString& show, const QString& hide) {
  showWord_ = show;
  hideWord_ = hide;
  showFoldState();
}

void InspectorSection::addHeaderButton(QToolButton* button) {
  button->setParent(headerRow_);
  button->setAutoRaise(true);
  static_cast<QHBoxLayout*>(headerRow_->layout())->insertWidget(2, button);
}

void InspectorSection::showFoldState() {
  if (!showWord_.isEmpty()) {
    fold_->setIcon({});
    fold_->setToolButtonStyle(Qt::ToolButtonTextOnly);
    fold_->setText(expanded_ ? hideWord_ : showWord_);
  } else {
    fold_->setToolButtonStyle(Qt::ToolButtonIconOnly);
    fold_->setIcon(symbolIcon(expanded_ ? u"chevron.down" : u"chevron.right", mutedColor(this)));
  }
  fold_->setToolTip(expanded_ ? tr("Hide %1").arg(title_) : tr("Show %1").arg(title_));
  fold_->setAccessibleName(fold_->toolTip());
}

bool InspectorSection::eventFilter(QObject* watched, QEvent* event) {
  if (watched == header_ && event->type() == QEvent::MouseButtonRelease) {
    setExpanded(!expanded_);
    return true;
  }
  return QWidget::eventFilter(watched, event);
}

void InspectorSection::paintEvent(QPaintEvent*) {
  QPainter p(this);
  QColor line = palette().color(QPalette::Mid);
  line.setAlphaF(0.5f);
  p.setPen(line);
  p.drawLine(0, 0, width(), 0);
}

void InspectorSection::changeEvent(QEvent* event) {
  if (event->type() == QEvent::PaletteChange) showFoldState();
  QWidget::changeEvent(event);
}

}  // namespace vells::app
