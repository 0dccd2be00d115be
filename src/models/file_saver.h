#pragma once

#include <functional>
#include <stdexcept>
#include <string>

namespace vells::models {

// Where a downloaded picture goes: the app asks the person for a destination
// and writes the bytes there; tests keep them. Throws SaveCancelled when the
// person closes the chooser, any other exception when the write fails.
using FileSaver = std::function<void(const std::string& bytes, const std::string& suggestedName)>;

// The person closed the save chooser: nothing to report.
class SaveCancelled : public std::runtime_error {
 public:
  SaveCancelled() : std::runtime_error("The save was cancelled.") {}
};

}  // namespace vells::models
