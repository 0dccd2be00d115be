#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "document/json_value.h"

namespace vells::models {

// What the canvas can select: the phone, the title, or one layer by id.
// Nothing selected is an empty optional around it.
struct CanvasSelection {
  enum class Kind { phone, title, layer };
  Kind kind = Kind::phone;
  std::string layerId;

  static CanvasSelection phone() { return {Kind::phone, {}}; }
  static CanvasSelection title() { return {Kind::title, {}}; }
  static CanvasSelection layer(std::string id) { return {Kind::layer, std::move(id)}; }
  bool isLayer() const { return kind == Kind::layer; }

  friend bool operator==(const CanvasSelection&, const CanvasSelection&) = default;
};

// An object's place in view points: centre, unrotated size, turn in degrees.
struct CanvasBox {
  double cx = 0;
  double cy = 0;
  double w = 0;
  double h = 0;
  double rot = 0;

  friend bool operator==(const CanvasBox&, const CanvasBox&) = default;
};

// Where the live preview laid each object out, as it reports after a layout.
struct CanvasRects {
  struct LayerBox {
    std::string id;
    CanvasBox box;
    friend bool operator==(const LayerBox&, const LayerBox&) = default;
  };
  std::optional<CanvasBox> phone;
  // The ink of the title; nothing for an empty title.
  std::optional<CanvasBox> title;
  std::vector<LayerBox> layers;

  // Reads the preview's JSON; boxes that don't read are left out.
  static CanvasRects decode(const JSONValue& value);
  std::optional<CanvasBox> box(const CanvasSelection& selection) const;

  friend bool operator==(const CanvasRects&, const CanvasRects&) = default;
};

}  // namespace vells::models
