#pragma once

#include <stdexcept>

namespace vells {

// The base of every error this system throws on purpose. `what()` is the
// sentence a person reads, so one catch can show any of them as it is; an
// exception of another type is a fault of ours or of a library below us.
class Error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace vells
