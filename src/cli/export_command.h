#pragma once

#include <filesystem>
#include <iosfwd>
#include <string>
#include <vector>
#include "platform/error.h"

namespace vells::backend {
class LocalBackend;
}

namespace vells::cli {

extern const char* const kExportHelp;

// What one archive holds: a set in one os and theme, one locale or all.
struct ExportJob {
  std::string set = "default";
  std::string os = "ios";
  std::string theme = "light";
  std::string locale;  // empty: every locale of the set, one folder each
};

// A refused export; what() is the sentence for the user.
class ExportError : public Error {
 public:
  using Error::Error;
};

// Renders every store image of `job` the cache lacks, on as many render slots
// as the engine has, with one progress line per image on `progress`; then
// writes the set's archive to `file` (whole or not at all). Answers the
// number of images in it.
int exportArchive(backend::LocalBackend& backend, const ExportJob& job, int workers,
                  const std::filesystem::path& file, std::ostream& progress);

// `export [--set ID] [--os ios|android] [--theme dark|light] [--locale CODE] -o FILE.zip`.
int exportCommand(const std::vector<std::string>& args, backend::LocalBackend& backend, int workers,
                  std::ostream& out, std::ostream& err);

}  // namespace vells::cli
