#include "models/gesture_controller.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "models/app_model.h"
#include "models/canvas_model.h"
#include "models/editor_model.h"

namespace vells::models {

namespace {

constexpr double degreesPerRadian = 180.0 / std::numbers::pi;

// The phone's drawn height at scale 1, in composite pixels: it is anchored at
// its top, so a change of scale moves its centre by half the change.
double phoneHeight(DeviceOS os) {
  return os == DeviceOS::ios ? 1051 : 1085;
}
// The title's column when the style leaves its width at 0.
double defaultTitleWidth(DeviceOS os) {
  return os == DeviceOS::ios ? 541 : 562;
}

ViewPoint turn(double x, double y, double degrees) {
  const double a = degrees / degreesPerRadian;
  return {x * std::cos(a) - y * std::sin(a), x * std::sin(a) + y * std::cos(a)};
}

// The point in the box's own unrotated frame, relative to its centre.
ViewPoint local(ViewPoint at, const CanvasBox& box) {
  return turn(at.x - box.cx, at.y - box.cy, -box.rot);
}

ViewPoint placed(const CanvasBox& box, double x, double y) {
  const ViewPoint p = turn(x, y, box.rot);
  return {box.cx + p.x, box.cy + p.y};
}

bool inside(ViewPoint at, const CanvasBox& box, double minSize) {
  const ViewPoint p = local(at, box);
  return std::abs(p.x) <= std::max(box.w, minSize) / 2 &&
         std::abs(p.y) <= std::max(box.h, minSize) / 2;
}

double distance(ViewPoint a, ViewPoint b) {
  return std::hypot(a.x - b.x, a.y - b.y);
}

}  // namespace

GestureController::GestureController(CanvasModel& canvas, QObject* parent)
    : QObject(parent), canvas_(canvas) {}

void GestureController::setViewSize(double width, double height) {
  width_ = width;
  height_ = height;
}

double GestureController::compositeHeight() const {
  return compositeSize(canvas_.app().os()).height;
}

double GestureController::scale() const {
  return height_ > 0 ? height_ / compositeHeight() : 1;
}

bool GestureController::isTextTarget(const CanvasSelection& target) const {
  if (target.kind == CanvasSelection::Kind::title) return true;
  if (!target.isLayer()) return false;
  auto l = canvas_.layer(target.layerId);
  return l && l->kind == VellLayer::Kind::text;
}

bool GestureController::isImageLayer(const CanvasSelection& target) const {
  if (!target.isLayer()) return false;
  auto l = canvas_.layer(target.layerId);
  return l && l->kind == VellLayer::Kind::image;
}

// --- what stands where ---

std::optional<CanvasSelection> GestureController::hitTest(ViewPoint at) const {
  const CanvasRects& rects = canvas_.rects();
  auto hits = [&](const std::optional<CanvasBox>& box) {
    return box && inside(at, *box, minHitSize);
  };
  if (hits(rects.title)) return CanvasSelection::title();
  const auto layers = canvas_.layers();
  auto topmost = [&](bool front) -> std::optional<CanvasSelection> {
    for (auto it = layers.rbegin(); it != layers.rend(); ++it) {
      if (it->front != front) continue;
      const auto target = CanvasSelection::layer(it->id);
      if (hits(rects.box(target))) return target;
    }
    return std::nullopt;
  };
  if (auto front = topmost(true)) return front;
  if (hits(rects.phone)) return CanvasSelection::phone();
  return topmost(false);
}

std::vector<CanvasHandle> GestureController::handles() const {
  const auto& selection = canvas_.selection();
  if (!selection || canvas_.editingText()) return {};
  auto box = canvas_.rects().box(*selection);
  if (!box) return {};
  std::vector<CanvasHandle> out;
  const double hw = box->w / 2 + 2;
  const double hh = box->h / 2 + 2;
  if (selection->kind == CanvasSelection::Kind::phone || isImageLayer(*selection)) {
    using C = CanvasHandle::Corner;
    const std::pair<C, ViewPoint> corners[] = {
        {C::topLeft, {-hw, -hh}},
        {C::topRight, {hw, -hh}},
        {C::bottomRight, {hw, hh}},
        {C::bottomLeft, {-hw, hh}},
    };
    for (const auto& [corner, p] : corners) {
      out.push_back(
          {CanvasHandle::Kind::corner, corner, 0, placed(*box, p.x, p.y), 9, 9, box->rot});
    }
    out.push_back(
        {CanvasHandle::Kind::rotate, {}, 0, placed(*box, 0, -box->h / 2 - 22), 16, 16, box->rot});
  } else if (isTextTarget(*selection)) {
    for (int side : {-1, 1}) {
      out.push_back(
          {CanvasHandle::Kind::side, {}, side, placed(*box, side * hw, 0), 6, 18, box->rot});
    }
  }
  return out;
}

std::optional<CanvasHandle> GestureController::handleAt(ViewPoint at) const {
  for (const CanvasHandle& h : handles()) {
    if (inside(at, CanvasBox{h.centre.x, h.centre.y, h.w, h.h, h.rot}, minHitSize)) return h;
  }
  return std::nullopt;
}

std::string GestureController::tip() const {
  if (hovered_) {
    switch (hovered_->kind) {
      case CanvasSelection::Kind::phone:
        return "Drag to move · corners to resize · top handle to tilt · double-click to reset";
      case CanvasSelection::Kind::title:
        return "Drag to move · double-click to edit · sides set the width";
      case CanvasSelection::Kind::layer:
        return isTextTarget(*hovered_) ? "Drag to move · double-click to edit"
                                       : "Drag to move · corners to resize · top handle to rotate";
    }
  }
  if (!canvas_.selection())
    return "Click anything to select it · double-click text to edit · Ctrl+Z to undo";
  return {};
}

std::optional<ViewPoint> GestureController::contextBarAnchor() const {
  const auto& selection = canvas_.selection();
  if (!selection) return std::nullopt;
  auto box = canvas_.rects().box(*selection);
  if (!box) return std::nullopt;
  double y = box->cy - box->h / 2 - 22;
  if (y < 18) y = box->cy + box->h / 2 + 22;
  const double x = width_ > 240 ? std::clamp(box->cx, 120.0, width_ - 120) : width_ / 2;
  return ViewPoint{x, y};
}

// --- pointer ---

void GestureController::pointer(const PointerEvent& event) {
  using Kind = PointerEvent::Kind;
  switch (event.kind) {
    case Kind::press: {
      canvasFocused_ = true;
      if (auto handle = handleAt(event.at)) {
        press_ = Press{event.at, canvas_.selection(), handle};
        break;
      }
      auto target = hitTest(event.at);
      canvas_.select(target);
      press_ = Press{event.at, target, std::nullopt};
      break;
    }
    case Kind::move:
      if (!press_) {
        hovered_ = hitTest(event.at);
        break;
      }
      if (!drag_ && press_->target) {
        const double need = press_->handle ? handleThreshold : moveThreshold;
        if (distance(event.at, press_->at) >= need) begin(*press_);
      }
      if (drag_) dragTo(event.at);
      break;
    case Kind::release:
      press_.reset();
      drag_.reset();
      setGuides(false, false);
      break;
    case Kind::doubleClick:
      if (auto target = hitTest(event.at)) doubleClick(*target);
      break;
    case Kind::hover:
      hovered_ = hitTest(event.at);
      break;
    case Kind::leave:
      hovered_.reset();
      break;
  }
  emit changed();
}

void GestureController::begin(const Press& press) {
  if (drag_ || !press.target || !canvas_.app().activePage()) return;
  auto box = canvas_.rects().box(*press.target);
  if (!box) return;
  canvas_.select(press.target);
  canvas_.editor().checkpoint();
  AppModel& app = canvas_.app();
  std::optional<VellLayer> layer;
  if (press.target->isLayer()) layer = canvas_.layer(press.target->layerId);
  drag_ = DragState{*press.target,
                    press.handle,
                    *box,
                    press.at,
                    canvas_.editor().resolved(*app.activePage(), app.activeLocale()),
                    layer};
}

void GestureController::dragTo(ViewPoint at) {
  if (!drag_->handle) return dragMove(at);
  switch (drag_->handle->kind) {
    case CanvasHandle::Kind::corner:
      return dragCorner(at);
    case CanvasHandle::Kind::side:
      return dragSide(at);
    case CanvasHandle::Kind::rotate:
      return dragRotate(at);
  }
}

void GestureController::dragMove(ViewPoint at) {
  const CanvasBox& box = drag_->box;
  double dx = at.x - drag_->start.x;
  double dy = at.y - drag_->start.y;
  // The snap is to the page's centre lines, measured in view points.
  const bool gx = std::abs(box.cx + dx - width_ / 2) < snapDistance;
  const bool gy = std::abs(box.cy + dy - height_ / 2) < snapDistance;
  if (gx) dx = width_ / 2 - box.cx;
  if (gy) dy = height_ / 2 - box.cy;
  setGuides(gx, gy);
  move(drag_->target, drag_->style, drag_->layer, dx / scale(), dy / scale());
}

void GestureController::move(const CanvasSelection& target, const ResolvedStyle& style,
                             const std::optional<VellLayer>& layer, double dx, double dy) {
  switch (target.kind) {
    case CanvasSelection::Kind::phone:
      setStyleNumber(StyleField::phoneOffsetX, std::round(style.phoneOffsetX + dx));
      setStyleNumber(StyleField::phoneOffsetY, std::round(style.phoneOffsetY + dy));
      return;
    case CanvasSelection::Kind::title:
      setStyleNumber(StyleField::titleOffsetX, std::round(style.titleOffsetX + dx));
      setStyleNumber(StyleField::titleOffsetY, std::round(style.titleOffsetY + dy));
      return;
    case CanvasSelection::Kind::layer:
      if (!layer) return;
      canvas_.updateLayer(target.layerId, [&](VellLayer& l) {
        l.x = layer->x + dx;
        l.y = layer->y + dy;
      });
      return;
  }
}

void GestureController::dragCorner(ViewPoint at) {
  const ViewPoint c{drag_->box.cx, drag_->box.cy};
  const double d0 = distance(drag_->start, c);
  if (d0 <= 1) return;
  const double ratio = distance(at, c) / d0;
  const ResolvedStyle& style = drag_->style;
  switch (drag_->target.kind) {
    case CanvasSelection::Kind::phone: {
      const double next = std::clamp(std::round(style.phoneScale * ratio * 100) / 100, 0.4, 1.6);
      // Anchored at its top; the offset keeps its centre where it was. A
      // phone under the text grows the other way.
      const double sign = style.textPos == "bottom" ? 0.5 : -0.5;
      setStyleNumber(StyleField::phoneScale, next);
      setStyleNumber(StyleField::phoneOffsetY,
                     std::round(style.phoneOffsetY + (next - style.phoneScale) *
                                                         phoneHeight(canvas_.app().os()) * sign));
      return;
    }
    case CanvasSelection::Kind::title:
      setStyleNumber(StyleField::titleSize,
                     std::clamp(std::round(ratio * style.titleSize), 20.0, 160.0));
      return;
    case CanvasSelection::Kind::layer: {
      if (!drag_->layer) return;
      const VellLayer start = *drag_->layer;
      canvas_.updateLayer(start.id, [&](VellLayer& l) {
        l.w = std::clamp(ratio * start.w, 16.0, 1600.0);
        if (start.kind == VellLayer::Kind::text && start.size)
          l.size = std::max(10.0, std::round(ratio * *start.size));
      });
      return;
    }
  }
}

void GestureController::dragSide(ViewPoint at) {
  const double change = 2 * drag_->handle->side * (at.x - drag_->start.x) / scale();
  if (drag_->target.kind == CanvasSelection::Kind::title) {
    const double start = drag_->style.titleWidth > 0 ? drag_->style.titleWidth
                                                     : defaultTitleWidth(canvas_.app().os());
    setStyleNumber(StyleField::titleWidth, std::max(120.0, std::round(start + change)));
    return;
  }
  if (!drag_->layer) return;
  const VellLayer start = *drag_->layer;
  canvas_.updateLayer(start.id, [&](VellLayer& l) { l.w = std::max(40.0, start.w + change); });
}

void GestureController::dragRotate(ViewPoint at) {
  const ViewPoint c{drag_->box.cx, drag_->box.cy};
  double delta = (std::atan2(at.y - c.y, at.x - c.x) -
                  std::atan2(drag_->start.y - c.y, drag_->start.x - c.x)) *
                 degreesPerRadian;
  if (delta > 180) delta -= 360;
  if (delta <= -180) delta += 360;
  const bool phone = drag_->target.kind == CanvasSelection::Kind::phone;
  double r = (phone ? drag_->style.phoneRotateZ : drag_->layer ? drag_->layer->rotate : 0) + delta;
  const double snapped = std::round(r / 15) * 15;
  if (std::abs(r - snapped) < 3) r = snapped;
  r = std::round(r);
  if (phone) {
    setStyleNumber(StyleField::phoneRotateZ, std::clamp(r, -30.0, 30.0));
  } else if (drag_->layer) {
    canvas_.updateLayer(drag_->layer->id, [&](VellLayer& l) { l.rotate = r; });
  }
}

void GestureController::doubleClick(const CanvasSelection& target) {
  canvas_.select(target);
  EditorModel& editor = canvas_.editor();
  if (target.kind == CanvasSelection::Kind::phone) {
    editor.checkpoint();
    for (StyleField f : {StyleField::phoneOffsetX, StyleField::phoneOffsetY, StyleField::phoneScale,
                         StyleField::phoneRotateZ})
      editor.setStyle(f, std::nullopt, canvas_.app());
  } else if (isTextTarget(target)) {
    editor.checkpoint();
    canvas_.setEditingText(target);
  }
}

// --- keyboard ---

bool GestureController::key(const KeyEvent& event) {
  // While a text is edited in place, every key belongs to its editor.
  if (canvas_.editingText() || !canvasFocused_) return false;
  using Key = KeyEvent::Key;
  const auto& selection = canvas_.selection();
  const bool layer = selection && selection->isLayer();
  EditorModel& editor = canvas_.editor();
  const double step = event.modifiers.shift ? 10 : 1;
  switch (event.key) {
    case Key::z:
      if (!event.modifiers.ctrl) return false;
      event.modifiers.shift ? editor.redo(canvas_.app()) : editor.undo(canvas_.app());
      return true;
    case Key::d:
      if (!event.modifiers.ctrl || !layer) return false;
      canvas_.duplicateLayer(selection->layerId);
      return true;
    case Key::escape:
      if (!selection) return false;
      canvas_.select(std::nullopt);
      return true;
    case Key::backspace:
    case Key::deleteForward:
      if (!layer) return false;
      canvas_.deleteLayer(selection->layerId);
      return true;
    case Key::enter:
      if (!selection || !isTextTarget(*selection)) return false;
      editor.checkpoint();
      canvas_.setEditingText(*selection);
      return true;
    case Key::left:
      return selection ? (nudge(-step, 0), true) : false;
    case Key::right:
      return selection ? (nudge(step, 0), true) : false;
    case Key::up:
      return selection ? (nudge(0, -step), true) : false;
    case Key::down:
      return selection ? (nudge(0, step), true) : false;
    case Key::other:
      return false;
  }
  return false;
}

void GestureController::nudge(double dx, double dy) {
  AppModel& app = canvas_.app();
  if (!app.activePage()) return;
  const CanvasSelection target = *canvas_.selection();
  std::optional<VellLayer> layer;
  if (target.isLayer()) {
    layer = canvas_.layer(target.layerId);
    if (!layer) return;
  }
  // A row of nudges is one undo step.
  canvas_.editor().checkpointIfIdle();
  move(target, canvas_.editor().resolved(*app.activePage(), app.activeLocale()), layer, dx, dy);
}

void GestureController::setStyleNumber(StyleField field, double value) {
  canvas_.editor().setStyle(field, JSONValue(value), canvas_.app());
}

void GestureController::setGuides(bool x, bool y) {
  guideX_ = x;
  guideY_ = y;
}

}  // namespace vells::models
