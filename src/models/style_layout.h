#pragma once

#include <vector>

#include "document/records.h"

namespace vells::models {

// The scatter of sticker places a generated page gets.
class StyleLayout {
 public:
  // Centre, width and turn in degrees, in composite pixels.
  struct Slot {
    double x = 0;
    double y = 0;
    double w = 0;
    double rotate = 0;
    friend bool operator==(const Slot&, const Slot&) = default;
  };

  // At most five places; odd pages mirror the scatter so neighbouring screens
  // differ. Laid out on the iOS canvas and scaled to `canvas`.
  static std::vector<Slot> stickers(int count, int page, CanvasSize canvas);
};

}  // namespace vells::models
