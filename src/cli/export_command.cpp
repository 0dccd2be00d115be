#include "cli/export_command.h"

#include <algorithm>
#include <iostream>

#include "backend/images.h"
#include "backend/local_backend.h"
#include "cli/request_command.h"

namespace vells::cli {

namespace fs = std::filesystem;
using backend::LocalBackend;

const char* const kExportHelp =
    "Usage: vellora-cli export [options] -o FILE.zip\n"
    "\n"
    "Renders the store images of a set that are not in the render cache yet, then\n"
    "writes the set's archive: one folder per locale with NN-<page>.png files in the\n"
    "page order of that locale, or the files of one locale alone with --locale.\n"
    "\n"
    "Options:\n"
    "  --set ID          the set (default: default)\n"
    "  --os ios|android  the platform (default: ios)\n"
    "  --theme dark|light\n"
    "                    the appearance (default: light)\n"
    "  --locale CODE     one locale only, such as de or pt-BR\n"
    "  -o, --output FILE the archive to write (required)\n"
    "\n"
    "Progress goes to standard error. Exit status: 0 when the archive is written,\n"
    "1 when the export fails, 2 for a usage error.\n";

int exportArchive(LocalBackend& backend, rendering::HTMLRenderer& renderer,
                  const rendering::ExportRequest& job, const fs::path& file,
                  std::ostream& progress) {
  const auto sets = backend.db().loadSets();
  if (std::none_of(sets.begin(), sets.end(), [&](const auto& row) { return row.id == job.set; }))
    throw ExportError("There is no set '" + job.set +
                      "'. 'vellora-cli request GET /api/sets' lists the sets.");
  auto tell = [&](const rendering::ExportProgress& p) {
    progress << "[" << p.done << "/" << p.total << "] " << p.locale << " " << p.page << " "
             << job.os << " " << job.theme << ": ";
    if (p.outcome == rendering::ExportProgress::Outcome::added) {
      progress << p.took.count() << " ms\n";
    } else {
      progress << "left out (nothing to draw)\n";
    }
    progress.flush();
  };
  const rendering::ExportArchive archive =
      rendering::ExportService(backend, renderer).run(job, tell);
  backend::writeFileAtomically(file, archive.bytes);
  return static_cast<int>(archive.entries);
}

int exportCommand(const std::vector<std::string>& args, LocalBackend& backend,
                  rendering::HTMLRenderer& renderer, std::ostream& out, std::ostream& err) {
  rendering::ExportRequest job;
  std::optional<fs::path> file;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (a == "--help" || a == "-h") {
      out << kExportHelp;
      return kExitOK;
    }
    const bool takesValue = a == "--set" || a == "--os" || a == "--theme" || a == "--locale" ||
                            a == "-o" || a == "--output";
    if (!takesValue || i + 1 == args.size()) {
      err << "vellora-cli export: " << (takesValue ? "missing value for " : "unknown option ") << a
          << "\n\n"
          << kExportHelp;
      return kExitUsage;
    }
    const std::string& v = args[++i];
    if (a == "--set") job.set = v;
    if (a == "--os") job.os = v;
    if (a == "--theme") job.theme = v;
    if (a == "--locale") job.locale = v;
    if (a == "-o" || a == "--output") file = v;
  }
  if (job.os != "ios" && job.os != "android") {
    err << "vellora-cli export: --os must be ios or android, not '" << job.os << "'.\n";
    return kExitUsage;
  }
  if (job.theme != "dark" && job.theme != "light") {
    err << "vellora-cli export: --theme must be dark or light, not '" << job.theme << "'.\n";
    return kExitUsage;
  }
  if (!file) {
    err << "vellora-cli export: name the archive to write with -o FILE.zip.\n";
    return kExitUsage;
  }
  try {
    const int count = exportArchive(backend, renderer, job, *file, err);
    err << "Wrote " << count << " images to " << file->string() << "\n";
    return kExitOK;
  } catch (const std::exception& e) {
    err << "vellora-cli export: " << e.what() << "\n";
    return kExitStatus;
  }
}

}  // namespace vells::cli
