#pragma once

#include <string>
#include <utility>
#include <vector>

#include "document/json_value.h"
#include "document/vell_style.h"

namespace vells::models {

// A ready-made colour theme of the inspector's example grid.
struct StyleTheme {
  std::string id;
  std::string label;
  std::string gradFrom;
  std::string gradVia;
  std::string gradTo;
  double gradAngle = 160;
  std::string titleColor;
  std::string accentColor;
  double strokeOpacity = 0.25;

  // The ten themes, in the grid's order.
  static const std::vector<StyleTheme>& all();
  // What choosing it writes, in this order: the gradient, its angle, the
  // title and accent colours, the ring's opacity.
  std::vector<std::pair<StyleField, JSONValue>> values() const;
  // The style's gradient is this theme's, letter case ignored.
  bool matches(const ResolvedStyle& style) const;
};

}  // namespace vells::models
