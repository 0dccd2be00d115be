#pragma once

#include <ostream>
#include <stdexcept>

#include "document/json_value.h"

namespace vells {

// Lets GoogleTest show a JSONValue as its text when an expectation fails.
inline void PrintTo(const JSONValue& value, std::ostream* os) {
  try {
    *os << value.dump();
  } catch (const std::domain_error&) {
    *os << "<non-finite number>";
  }
}

}  // namespace vells
