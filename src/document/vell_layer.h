#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "document/json_value.h"

namespace vells {

// A free element on a page, an image or a text box, in front of or behind
// the phone: the typed view of one element of a style's `layers` array.
// Coordinates are composite pixels; (x, y) is the centre and w the width.
struct VellLayer {
  enum class Kind { image, text };

  std::string id;
  Kind kind = Kind::image;
  std::optional<std::string> asset;
  std::optional<std::string> text;
  double x = 0;
  double y = 0;
  double w = 0;
  double rotate = 0;
  bool front = true;
  bool sticker = false;
  bool flip = false;
  double opacity = 1;
  std::optional<std::string> color;
  std::optional<double> size;
  std::optional<std::string> font;
  std::optional<double> weight;
  std::optional<double> letterSpacing;
  std::optional<double> lineHeight;
  std::optional<std::string> align;
  std::optional<std::string> name;
  // Keys a newer writer added; written back so an edit here doesn't lose them.
  JSONValue::Object extra;

  // Absent unless the value is an object with a string `id`, a `kind` of
  // "image" or "text", and numbers (or booleans) for x, y and w. Other
  // members of the wrong kind fall back to their defaults.
  static std::optional<VellLayer> fromJSON(const JSONValue& value);
  // x, y, w and rotate go out rounded to whole numbers.
  JSONValue json() const;

  // The layers of an array, dropping elements that don't read; a value that
  // isn't an array holds none.
  static std::vector<VellLayer> list(const JSONValue& value);
  static JSONValue jsonOf(const std::vector<VellLayer>& layers);

  friend bool operator==(const VellLayer&, const VellLayer&) = default;
};

std::string_view rawValue(VellLayer::Kind kind);
std::optional<VellLayer::Kind> layerKindFromRaw(std::string_view raw);

}  // namespace vells
