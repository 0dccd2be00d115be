#pragma once

#include <string>

namespace vells::text {

// The part each screenshot plays in its set, as a sentence for the AI tools'
// prompts: the first must sell the app alone, the second set it apart, and a
// long set ends on a closer.
class CopyRules {
 public:
  CopyRules() = delete;

  // `position` counts from 0. Throws std::invalid_argument when it lies
  // outside the set (a set of fewer than two has only the hero).
  static std::string role(int position, int total);
};

}  // namespace vells::text
