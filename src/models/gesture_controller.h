#pragma once

#include <QObject>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "document/vell_layer.h"
#include "document/vell_style.h"
#include "models/canvas_geometry.h"

namespace vells::models {

class CanvasModel;

struct ViewPoint {
  double x = 0;
  double y = 0;
  friend bool operator==(const ViewPoint&, const ViewPoint&) = default;
};

struct Modifiers {
  bool shift = false;
  // Ctrl here stands where the Mac has Command.
  bool ctrl = false;
};

struct PointerEvent {
  enum class Kind { press, move, release, doubleClick, hover, leave };
  Kind kind = Kind::move;
  ViewPoint at;
  Modifiers modifiers;
};

struct KeyEvent {
  enum class Key { z, d, escape, backspace, deleteForward, enter, left, right, up, down, other };
  Key key = Key::other;
  Modifiers modifiers;
};

// A handle of the selected object.
struct CanvasHandle {
  enum class Kind { corner, side, rotate };
  enum class Corner { topLeft, topRight, bottomRight, bottomLeft };
  Kind kind = Kind::corner;
  Corner corner = Corner::topLeft;
  // -1 for the left side, +1 for the right.
  int side = 0;
  // Where it is drawn, in view points, and its unrotated size; turned by `rot`.
  ViewPoint centre;
  double w = 0;
  double h = 0;
  double rot = 0;
};

// The pointer and keyboard logic of the canvas, without drawing: fed events
// in view points, it selects, drags, resizes, rotates and nudges through the
// canvas model, and says what the view should draw (handles, guides, tips).
// A drag computes from its start values and the pointer's total travel, never
// from the previous move, so rounding doesn't build up. Main thread only.
class GestureController : public QObject {
  Q_OBJECT

 public:
  static constexpr double moveThreshold = 2;
  static constexpr double handleThreshold = 1;
  static constexpr double snapDistance = 6;
  static constexpr double minHitSize = 12;

  explicit GestureController(CanvasModel& canvas, QObject* parent = nullptr);

  // The size of the view that shows the whole page.
  void setViewSize(double width, double height);
  // View points per composite pixel.
  double scale() const;

  void pointer(const PointerEvent& event);
  // True when the key was used; unhandled keys pass on.
  bool key(const KeyEvent& event);
  void setCanvasFocused(bool focused) { canvasFocused_ = focused; }
  bool canvasFocused() const { return canvasFocused_; }

  // The topmost object under the point: title, front layers, phone, back
  // layers; each box turned by its rotation and at least 12 by 12 points.
  std::optional<CanvasSelection> hitTest(ViewPoint at) const;
  // The handles of the selected object, none while a text is edited in place.
  std::vector<CanvasHandle> handles() const;
  std::optional<CanvasHandle> handleAt(ViewPoint at) const;

  const std::optional<CanvasSelection>& hovered() const { return hovered_; }
  bool dragging() const { return drag_.has_value(); }
  bool guideX() const { return guideX_; }
  bool guideY() const { return guideY_; }
  // The tooltip of the hovered object, or the canvas's hint when nothing is
  // selected; empty otherwise.
  std::string tip() const;
  // Where the context bar's bottom centre goes: 22 points above the box, below
  // it when that comes within 18 of the top, 120 points from the sides.
  std::optional<ViewPoint> contextBarAnchor() const;

  // One nudge or drag step in composite pixels, from the given start values.
  void move(const CanvasSelection& target, const ResolvedStyle& style,
            const std::optional<VellLayer>& layer, double dx, double dy);

 signals:
  void changed();

 private:
  struct DragState {
    CanvasSelection target;
    std::optional<CanvasHandle> handle;
    CanvasBox box;
    ViewPoint start;
    ResolvedStyle style;
    std::optional<VellLayer> layer;
  };
  struct Press {
    ViewPoint at;
    std::optional<CanvasSelection> target;
    std::optional<CanvasHandle> handle;
  };

  void begin(const Press& press);
  void dragTo(ViewPoint at);
  void dragMove(ViewPoint at);
  void dragCorner(ViewPoint at);
  void dragSide(ViewPoint at);
  void dragRotate(ViewPoint at);
  void doubleClick(const CanvasSelection& target);
  void nudge(double dx, double dy);
  bool isTextTarget(const CanvasSelection& target) const;
  bool isImageLayer(const CanvasSelection& target) const;
  double compositeHeight() const;
  void setStyleNumber(StyleField field, double value);
  void setGuides(bool x, bool y);

  CanvasModel& canvas_;
  double width_ = 0;
  double height_ = 0;
  std::optional<CanvasSelection> hovered_;
  std::optional<Press> press_;
  std::optional<DragState> drag_;
  bool guideX_ = false;
  bool guideY_ = false;
  bool canvasFocused_ = false;
};

}  // namespace vells::models
