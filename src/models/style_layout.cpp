#include "models/style_layout.h"

#include <algorithm>
#include <array>

namespace vells::models {

std::vector<StyleLayout::Slot> StyleLayout::stickers(int count, int page, CanvasSize canvas) {
  // Placed on the 621 by 1344 canvas.
  static constexpr std::array<Slot, 6> table{{
      {62, 74, 78, -14},
      {560, 88, 72, 12},
      {48, 700, 92, -10},
      {574, 860, 98, 14},
      {46, 1060, 88, 9},
      {572, 1225, 84, -12},
  }};
  std::vector<Slot> out;
  const int n = std::clamp(count, 0, 5);
  for (int i = 0; i < n; ++i) {
    Slot s = table[static_cast<std::size_t>(i)];
    if (page % 2 != 0) {
      s.x = 621 - s.x;
      s.rotate = -s.rotate;
    }
    s.x = s.x * canvas.width / 621;
    s.y = s.y * canvas.height / 1344;
    s.w = s.w * canvas.width / 621;
    out.push_back(s);
  }
  return out;
}

}  // namespace vells::models
