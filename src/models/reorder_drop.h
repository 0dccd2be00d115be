#pragma once

#include <optional>
#include <string>
#include <vector>

namespace vells::models {

// A drag of one page within one language's row of the gallery. The cells move
// while the drag is on; only the drop saves.
struct ReorderDrop {
  // Cells are this wide; past the middle the page goes after the target.
  static constexpr double cellWidth = 148;

  std::optional<std::string> dragging;
  // The row as the drag has rearranged it so far, when it has.
  std::optional<std::vector<std::string>> liveRow;
  std::vector<std::string> storedRow;

  // The dragged page hovers over `target` at `x` within the cell: the new
  // live row, or nothing when the row stays as it is.
  std::optional<std::vector<std::string>> hover(const std::string& target, double x) const;
};

}  // namespace vells::models
