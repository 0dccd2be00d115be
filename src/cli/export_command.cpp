#include "cli/export_command.h"

#include <algorithm>
#include <iostream>

#include "backend/images.h"
#include "backend/local_backend.h"
#include "backend/sets.h"
#include "cli/request_command.h"
#include "rendering/store_size.h"
#include "rendering/upload_layout.h"

namespace vells::cli {

namespace fs = std::filesystem;
using backend::LocalBackend;

const char* const kExportHelp =
    "Usage: vellora-cli export [options] -o FILE.zip\n"
    "       vellora-cli export --layout upload [options] -o DIR\n"
    "\n"
    "Renders the store images of a set that are not in the render cache yet, then\n"
    "writes the set's archive: one folder per locale with NN-<page>.png files in the\n"
    "page order of that locale, or the files of one locale alone with --locale.\n"
    "\n"
    "With --layout upload it writes the folders the stores' upload tools read\n"
    "instead, with each store's locale codes: DIR/screenshots/<locale>/NN_<page>.png\n"
    "for the App Store and DIR/metadata/android/<locale>/images/phoneScreenshots/\n"
    "NN_<page>.png for Google Play. A language a store doesn't offer is reported and\n"
    "left out. Locale folders already in DIR are replaced; nothing else there is.\n"
    "\n"
    "Options:\n"
    "  --set ID          the set (default: default)\n"
    "  --os ios|android  the platform (default: ios; with --layout upload, both)\n"
    "  --theme dark|light\n"
    "                    the appearance (default: light)\n"
    "  --locale CODE     one locale only, such as de or pt-BR\n"
    "  --size WxH        the image size (default: what the store requires today,\n"
    "                    1320x2868 for iOS and 1284x2778 for Android). iOS:\n"
    "                    1320x2868, 1290x2796 (6.9\"), 1284x2778, 1242x2688 (6.5\"),\n"
    "                    1206x2622 (6.3\"); Android: 1284x2778, 1080x2340, and\n"
    "                    1080x1920 (9:16, which Google Play can feature). A size of\n"
    "                    another shape extends the background; nothing is stretched.\n"
    "  --layout zip|upload\n"
    "                    an archive (default) or the upload tools' folders\n"
    "  -o, --output PATH the archive or folder to write (required)\n"
    "\n"
    "Progress goes to standard error. Exit status: 0 when everything is written,\n"
    "1 when the export fails, 2 for a usage error.\n";

rendering::ExportService::Progress progressLines(const rendering::ExportRequest& job,
                                                 std::ostream& progress) {
  return [&job, &progress](const rendering::ExportProgress& p) {
    progress << "[" << p.done << "/" << p.total << "] " << p.locale << " " << p.page << " "
             << job.os << " " << job.theme << ": ";
    if (p.outcome == rendering::ExportProgress::Outcome::added) {
      progress << p.took.count() << " ms\n";
    } else {
      progress << "left out (nothing to draw)\n";
    }
    progress.flush();
  };
}

void requireSet(LocalBackend& backend, const std::string& set) {
  const auto sets = backend.db().loadSets();
  if (std::none_of(sets.begin(), sets.end(), [&](const auto& row) { return row.id == set; }))
    throw ExportError("There is no set '" + set +
                      "'. 'vellora-cli request GET /api/sets' lists the sets.");
}

int exportUploadLayout(LocalBackend& backend, rendering::HTMLRenderer& renderer,
                       rendering::ExportRequest job, const std::vector<std::string>& platforms,
                       const std::optional<std::string>& size, const fs::path& dir,
                       std::ostream& progress) {
  requireSet(backend, job.set);
  std::vector<rendering::ExportRequest> jobs;
  for (const std::string& os : platforms) {
    rendering::ExportRequest one = job;
    one.os = os;
    one.size = size ? rendering::parseStoreSize(os, *size) : rendering::requiredStoreSize(os);
    for (const std::string& locale : backend::localesOf(backend, job.set)) {
      if (!job.locale.empty() && locale != job.locale) continue;
      if (rendering::UploadLayout::storeLocale(os, locale).empty()) {
        progress << (os == "android" ? "Google Play" : "The App Store") << " has no language '"
                 << locale << "'; its " << os << " images are left out.\n";
        one.skipLocales.push_back(locale);
      }
    }
    jobs.push_back(std::move(one));
  }
  rendering::UploadLayout layout(dir);
  for (const auto& one : jobs) {
    rendering::ExportService(backend, renderer)
        .write(
            one,
            [&](const rendering::ExportImage& image) {
              layout.add(one.os, image.locale, image.place, image.page, image.bytes);
            },
            progressLines(one, progress));
  }
  layout.commit();
  return static_cast<int>(layout.count());
}

int exportArchive(LocalBackend& backend, rendering::HTMLRenderer& renderer,
                  const rendering::ExportRequest& job, const fs::path& file,
                  std::ostream& progress) {
  requireSet(backend, job.set);
  const rendering::ExportArchive archive =
      rendering::ExportService(backend, renderer).run(job, progressLines(job, progress));
  backend::writeFileAtomically(file, archive.bytes);
  return static_cast<int>(archive.entries);
}

int exportCommand(const std::vector<std::string>& args, LocalBackend& backend,
                  rendering::HTMLRenderer& renderer, std::ostream& out, std::ostream& err) {
  rendering::ExportRequest job;
  std::optional<fs::path> file;
  std::optional<std::string> os, size;
  std::string layout = "zip";
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (a == "--help" || a == "-h") {
      out << kExportHelp;
      return kExitOK;
    }
    const bool takesValue = a == "--set" || a == "--os" || a == "--theme" || a == "--locale" ||
                            a == "--size" || a == "--layout" || a == "-o" || a == "--output";
    if (!takesValue || i + 1 == args.size()) {
      err << "vellora-cli export: " << (takesValue ? "missing value for " : "unknown option ") << a
          << "\n\n"
          << kExportHelp;
      return kExitUsage;
    }
    const std::string& v = args[++i];
    if (a == "--set") job.set = v;
    if (a == "--os") os = v;
    if (a == "--size") size = v;
    if (a == "--layout") layout = v;
    if (a == "--theme") job.theme = v;
    if (a == "--locale") job.locale = v;
    if (a == "-o" || a == "--output") file = v;
  }
  if (os && *os != "ios" && *os != "android") {
    err << "vellora-cli export: --os must be ios or android, not '" << *os << "'.\n";
    return kExitUsage;
  }
  if (layout != "zip" && layout != "upload") {
    err << "vellora-cli export: there is no layout '" << layout
        << "'. The layouts are: zip (an archive) and upload (the upload tools' folders).\n";
    return kExitUsage;
  }
  const std::vector<std::string> platforms =
      os ? std::vector<std::string>{*os}
         : (layout == "upload" ? std::vector<std::string>{"ios", "android"}
                               : std::vector<std::string>{"ios"});
  job.os = platforms.front();
  try {
    for (const std::string& platform : platforms)
      if (size) rendering::parseStoreSize(platform, *size);
  } catch (const rendering::StoreSizeError& e) {
    err << "vellora-cli export: " << e.what() << "\n";
    return kExitUsage;
  }
  job.size = size ? rendering::parseStoreSize(job.os, *size) : rendering::requiredStoreSize(job.os);
  if (job.theme != "dark" && job.theme != "light") {
    err << "vellora-cli export: --theme must be dark or light, not '" << job.theme << "'.\n";
    return kExitUsage;
  }
  if (!file) {
    err << "vellora-cli export: name the " << (layout == "upload" ? "folder" : "archive")
        << " to write with -o " << (layout == "upload" ? "DIR" : "FILE.zip") << ".\n";
    return kExitUsage;
  }
  try {
    if (layout == "upload") {
      const int count = exportUploadLayout(backend, renderer, job, platforms, size, *file, err);
      err << "Wrote " << count << " images to " << file->string() << "\n";
      return kExitOK;
    }
    const int count = exportArchive(backend, renderer, job, *file, err);
    err << "Wrote " << count << " images to " << file->string() << "\n";
    return kExitOK;
  } catch (const std::exception& e) {
    err << "vellora-cli export: " << e.what() << "\n";
    return kExitStatus;
  }
}

}  // namespace vells::cli
