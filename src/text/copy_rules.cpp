#include "text/copy_rules.h"

#include <stdexcept>

namespace vells::text {

std::string CopyRules::role(int position, int total) {
  if (total < 2) {
    return "the hero \u2014 the only screenshot most people see, so it must sell the app on its "
           "own";
  }
  if (position < 0 || position >= total) {
    throw std::invalid_argument("Screenshot " + std::to_string(position + 1) +
                                " isn\u2019t one of the set\u2019s " + std::to_string(total) + ".");
  }
  const std::string n = std::to_string(total);
  const std::string p = std::to_string(position + 1);
  if (position == 1)
    return "the differentiator (2 of " + n + ") \u2014 why this app and not the others";
  if (position == 0) {
    return "the hero (1 of " + n +
           ") \u2014 most people only ever see this one, so it must sell the app on its own: "
           "the single biggest benefit";
  }
  if (total >= 4 && position == total - 1) {
    return "the closer (" + n + " of " + n +
           ") \u2014 a confident last word, not another single feature";
  }
  if (total >= 5 && position == total - 2) {
    return "trust (" + p + " of " + n +
           ") \u2014 who it is made for, privacy, or a true proof point";
  }
  return "a feature (" + p + " of " + n + ") \u2014 one feature, the benefit it brings";
}

}  // namespace vells::text
