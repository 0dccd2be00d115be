#include "models/reorder_drop.h"

#include <algorithm>

namespace vells::models {

std::optional<std::vector<std::string>> ReorderDrop::hover(const std::string& target,
                                                           double x) const {
  if (!dragging || *dragging == target) return std::nullopt;
  std::vector<std::string> row = liveRow.value_or(storedRow);
  std::erase(row, *dragging);
  auto at = std::find(row.begin(), row.end(), target);
  if (at == row.end()) return std::nullopt;
  if (x >= cellWidth / 2) ++at;
  row.insert(at, *dragging);
  if (liveRow && row == *liveRow) return std::nullopt;
  return row;
}

}  // namespace vells::models
