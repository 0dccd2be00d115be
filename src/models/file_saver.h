#pragma once

#include <functional>
#include <string>

namespace vells::models {

// Asks the user where to put a file and writes it there (a save dialog in the
// app, a folder in tests). Cancelling is not a failure.
class FileSaver {
 public:
  struct Outcome {
    enum class Kind { saved, cancelled, failed };
    Kind kind = Kind::saved;
    // Why it failed, in words; only for `failed`.
    std::string message;
    // Where the file went, for `saved`, when the saver knows.
    std::string path;
  };

  virtual ~FileSaver() = default;
  // `done` runs on the main thread once the file is written or given up.
  virtual void save(std::string bytes, std::string suggestedName,
                    std::function<void(Outcome)> done) = 0;
};

}  // namespace vells::models
