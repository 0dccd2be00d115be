#pragma once

#include <QFrame>

#include "app/fill_kind.h"
#include "app/inspector_context.h"

class QLabel;
class QStackedWidget;
class QToolButton;

namespace vells::app {

class ColorInput;
class ImageWell;
class NumberInput;
class SegmentedInput;

// The background fill in detail: the kind (solid, gradient, image), then
// one colour, the two ends of a gradient with its direction, or the picture.
class FillPopover : public QFrame {
  Q_OBJECT

 public:
  FillPopover(const InspectorContext& context, QWidget* parent = nullptr);

  // Shows the kind that is stored and its values.
  void refresh();
  // Switches the kind as a click on its segment does.
  void choose(FillKind kind);
  FillKind shownKind() const { return shown_; }

  SegmentedInput* kinds() const { return kinds_; }
  ColorInput* solid() const { return solid_; }
  ColorInput* start() const { return start_; }
  ColorInput* end() const { return end_; }
  NumberInput* direction() const { return direction_; }
  QToolButton* swap() const { return swap_; }
  ImageWell* imageWell() const { return well_; }

 private:
  void setGradient(const QString& from, const QString& to, bool undoStep);
  void showKind(FillKind kind);

  InspectorContext context_;
  FillKind shown_ = FillKind::gradient;
  SegmentedInput* kinds_;
  QStackedWidget* pages_;
  ColorInput* solid_;
  QLabel* bar_;
  ColorInput* start_;
  ColorInput* end_;
  QToolButton* swap_;
  NumberInput* direction_;
  ImageWell* well_;
};

}  // namespace vells::app
