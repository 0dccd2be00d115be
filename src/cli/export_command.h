#pragma once

#include <filesystem>
#include <iosfwd>
#include <string>
#include <vector>
#include "platform/error.h"

#include "rendering/export_service.h"

namespace vells::backend {
class LocalBackend;
}

namespace vells::cli {

extern const char* const kExportHelp;

// A refused export; what() is the sentence for the user.
class ExportError : public Error {
 public:
  using Error::Error;
};

// Makes the archive of `job` through the export service, rendering what the
// cache lacks on every slot of `renderer`, with one progress line per image
// on `progress`; then writes it to `file` (whole or not at all). Answers the
// number of images in it. Blocks until the file is written or the export failed.
int exportArchive(backend::LocalBackend& backend, rendering::HTMLRenderer& renderer,
                  const rendering::ExportRequest& job, const std::filesystem::path& file,
                  std::ostream& progress);

// `export [--set ID] [--os ios|android] [--theme dark|light] [--locale CODE] -o FILE.zip`.
int exportCommand(const std::vector<std::string>& args, backend::LocalBackend& backend,
                  rendering::HTMLRenderer& renderer, std::ostream& out, std::ostream& err);

}  // namespace vells::cli
