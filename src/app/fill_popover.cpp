#include "app/fill_popover.h"

#include <QGridLayout>
#include <QLabel>
#include <QStackedWidget>
#include <QToolButton>
#include <QVBoxLayout>

#include "app/color_input.h"
#include "app/hsb_color.h"
#include "app/image_well.h"
#include "app/inspector_header.h"
#include "app/inspector_look.h"
#include "app/number_input.h"
#include "app/segmented_input.h"

namespace vells::app {
namespace {

QLabel* rowLabel(const QString& text, QWidget* parent) {
  auto* l = new QLabel(text, parent);
  l->setFixedWidth(kLabelColumn);
  return l;
}

}  // namespace

FillPopover::FillPopover(const InspectorContext& context, QWidget* parent)
    : QFrame(parent),
      context_(context),
      kinds_(new SegmentedInput(
          {{fillKindValue(FillKind::solid), fillKindLabel(FillKind::solid), {}},
           {fillKindValue(FillKind::gradient), fillKindLabel(FillKind::gradient), {}},
           {fillKindValue(FillKind::image), fillKindLabel(FillKind::image), {}}},
          this)),
      pages_(new QStackedWidget(this)),
      solid_(new ColorInput(tr("Fill colour"))),
      bar_(new QLabel),
      start_(new ColorInput(tr("Start colour"))),
      end_(new ColorInput(tr("End colour"))),
      swap_(nullptr),
      direction_(new NumberInput({}, {0, 360}, 1, QStringLiteral("°"))),
      well_(nullptr) {
  setObjectName(QStringLiteral("fillPopover"));
  // A visible edge in both schemes: it floats over the column of the same colour.
  setStyleSheet(
      QStringLiteral("#fillPopover{border:1px solid palette(dark);background:palette(window);}"));
  setAutoFillBackground(true);
  setFixedWidth(kInspectorWidth - 32);
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(kInspectorMargin, kInspectorMargin, kInspectorMargin,
                             kInspectorMargin);
  column->setSpacing(12);
  column->addWidget(kinds_);
  column->addWidget(pages_);

  // Solid: one colour for the whole gradient.
  auto* solidPage = new QWidget;
  auto* solidGrid = new QGridLayout(solidPage);
  solidGrid->setContentsMargins(0, 0, 0, 0);
  solidGrid->addWidget(rowLabel(tr("Colour"), solidPage), 0, 0);
  solidGrid->addWidget(solid_, 0, 1);
  solidGrid->setRowStretch(1, 1);
  pages_->addWidget(solidPage);

  // Gradient: the bar, its two ends, the swap and the direction.
  auto* gradientPage = new QWidget;
  auto* grid = new QGridLayout(gradientPage);
  grid->setContentsMargins(0, 0, 0, 0);
  grid->setHorizontalSpacing(kRowSpacing);
  grid->setVerticalSpacing(kRowSpacing);
  bar_->setFixedHeight(24);
  bar_->setScaledContents(true);
  swap_ = iconButton(QStringLiteral("arrow.left.arrow.right"), tr("Swap the two colours"),
                     gradientPage);
  auto* barRow = new QHBoxLayout;
  barRow->setSpacing(kRowSpacing);
  barRow->addWidget(bar_, 1);
  barRow->addWidget(swap_);
  grid->addLayout(barRow, 0, 0, 1, 2);
  auto* startLabel = rowLabel(tr("Start colour"), gradientPage);
  auto* endLabel = rowLabel(tr("End colour"), gradientPage);
  auto* directionLabel = rowLabel(tr("Direction"), gradientPage);
  grid->addWidget(startLabel, 1, 0);
  grid->addWidget(start_, 1, 1);
  grid->addWidget(endLabel, 2, 0);
  grid->addWidget(end_, 2, 1);
  grid->addWidget(directionLabel, 3, 0);
  grid->addWidget(direction_, 3, 1);
  direction_->addDragHandle(directionLabel);
  direction_->setAccessibleName(tr("Direction"));
  grid->setRowStretch(4, 1);
  pages_->addWidget(gradientPage);

  // Image: the picture behind the phone.
  well_ = new ImageWell(
      tr("Background image"),
      tr("Fills the whole screenshot behind the phone. Every language uses it."),
      [this](std::string bytes, const std::string& mime, std::function<void()> done) {
        context_.editor.setBackground(std::move(bytes), mime, context_.app, std::move(done));
      },
      [this](std::function<void()> done) {
        context_.editor.removeBackground(context_.app, std::move(done));
      });
  connect(well_, &ImageWell::failed, this,
          [this](const QString& why) { context_.editor.show(why.toStdString(), true); });
  pages_->addWidget(well_);

  connect(kinds_, &SegmentedInput::chosen, this, [this](const QString& value) {
    for (FillKind k : {FillKind::solid, FillKind::gradient, FillKind::image})
      if (fillKindValue(k) == value) choose(k);
  });
  connect(solid_, &ColorInput::edited, this, [this](const QString& hex, bool) {
    context_.checkpoint(true);
    const JSONValue v(hex.toStdString());
    context_.writeFields(
        {{StyleField::gradFrom, v}, {StyleField::gradVia, v}, {StyleField::gradTo, v}});
  });
  connect(start_, &ColorInput::edited, this, [this](const QString& hex, bool continuous) {
    setGradient(hex, QString::fromStdString(context_.style().gradTo), !continuous);
  });
  connect(end_, &ColorInput::edited, this, [this](const QString& hex, bool continuous) {
    setGradient(QString::fromStdString(context_.style().gradFrom), hex, !continuous);
  });
  connect(swap_, &QToolButton::clicked, this, [this] {
    const ResolvedStyle s = context_.style();
    setGradient(QString::fromStdString(s.gradTo), QString::fromStdString(s.gradFrom), true);
  });
  connect(direction_, &NumberInput::edited, this, [this](double value, bool) {
    context_.checkpoint(false);
    context_.writeStyle(StyleField::gradAngle, JSONValue(InspectorContext::stored(value, 1)));
  });
  refresh();
}

void FillPopover::setGradient(const QString& from, const QString& to, bool undoStep) {
  context_.checkpoint(!undoStep);
  context_.writeFields({{StyleField::gradFrom, JSONValue(from.toStdString())},
                        {StyleField::gradTo, JSONValue(to.toStdString())},
                        {StyleField::gradVia, JSONValue(HSBColor::mix(from, to).toStdString())}});
}

void FillPopover::choose(FillKind kind) {
  const ResolvedStyle s = context_.style();
  const FillKind current = currentFillKind(s, context_.editor.hasBackground());
  if (kind == current) {
    showKind(kind);
    return;
  }
  if (current == FillKind::image) context_.editor.removeBackground(context_.app);
  if (kind == FillKind::solid) {
    context_.checkpoint(false);
    const JSONValue from(s.gradFrom);
    context_.writeFields({{StyleField::gradVia, from}, {StyleField::gradTo, from}});
  } else if (kind == FillKind::gradient && current == FillKind::solid) {
    const QString from = QString::fromStdString(s.gradFrom);
    setGradient(from, gradientEnd(from), true);
  }
  // An image waits for its file: only the page of the popover changes.
  showKind(kind);
}

void FillPopover::showKind(FillKind kind) {
  shown_ = kind;
  kinds_->setSelection(fillKindValue(kind));
  pages_->setCurrentIndex(static_cast<int>(kind));
}

void FillPopover::refresh() {
  const ResolvedStyle s = context_.style();
  const FillKind current = currentFillKind(s, context_.editor.hasBackground());
  // A chosen image page stays until a picture arrives or another kind is chosen.
  if (!(shown_ == FillKind::image && current != FillKind::image)) showKind(current);
  solid_->setHex(QString::fromStdString(s.gradFrom).toUpper());
  start_->setHex(QString::fromStdString(s.gradFrom).toUpper());
  end_->setHex(QString::fromStdString(s.gradTo).toUpper());
  direction_->setValue(s.gradAngle);
  well_->setIsSet(context_.editor.hasBackground());

  const QPixmap strip = gradientChip(QSize(240, 24), s.gradFrom, s.gradVia, s.gradTo,
                                     palette().color(QPalette::Mid), devicePixelRatioF());
  bar_->setPixmap(strip);
}

}  // namespace vells::app
