#include "cli/export_command.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <iostream>
#include <mutex>
#include <thread>

#include "backend/images.h"
#include "backend/local_backend.h"
#include "backend/sets.h"
#include "cli/request_command.h"
#include "rendering/zip_writer.h"

namespace vells::cli {

namespace fs = std::filesystem;
using backend::LocalBackend;
using backend::Request;
using backend::Response;

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

namespace {

Request get(std::string path, std::map<std::string, std::string, std::less<>> query) {
  Request r;
  r.method = "GET";
  r.path = std::move(path);
  r.query = std::move(query);
  return r;
}

struct Combination {
  std::string locale, page;
};

// Renders the combinations on `workers` threads. The backend is safe to call
// from many threads and hands each render a slot of its own. A failed render
// would fail the archive anyway, so the first one stops the work and is
// thrown; a page with nothing to draw is only reported, as the archive leaves
// it out.
void renderAll(LocalBackend& backend, const ExportJob& job, const std::vector<Combination>& all,
               int workers, std::ostream& progress) {
  std::atomic<std::size_t> next{0};
  std::atomic<bool> stop{false};
  std::size_t finished = 0;
  std::optional<std::string> failure;
  std::mutex printing;
  auto work = [&] {
    for (std::size_t i = next++; i < all.size() && !stop; i = next++) {
      const auto started = std::chrono::steady_clock::now();
      Response answer = backend.handle(get("/composite", {{"set", job.set},
                                                          {"page", all[i].page},
                                                          {"os", job.os},
                                                          {"theme", job.theme},
                                                          {"locale", all[i].locale}}));
      const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(
                          std::chrono::steady_clock::now() - started)
                          .count();
      const std::string what = all[i].locale + " " + all[i].page + " " + job.os + " " + job.theme;
      std::lock_guard<std::mutex> guard(printing);
      progress << "[" << ++finished << "/" << all.size() << "] " << what << ": ";
      if (answer.status == 200) {
        progress << ms << " ms\n";
      } else if (answer.status < 500) {
        progress << "left out (" << answer.status << " " << answer.body.substr(0, 200) << ")\n";
      } else {
        progress << "failed\n";
        if (!failure) failure = what + " could not be rendered: " + answer.body;
        stop = true;
      }
      progress.flush();
    }
  };
  std::vector<std::thread> threads;
  for (int i = 1; i < workers; ++i)
    threads.emplace_back(work);
  work();
  for (auto& t : threads)
    t.join();
  if (failure) throw ExportError(*failure);
}

}  // namespace

int exportArchive(LocalBackend& backend, const ExportJob& job, int workers, const fs::path& file,
                  std::ostream& progress) {
  const auto sets = backend.db().loadSets();
  if (std::none_of(sets.begin(), sets.end(), [&](const auto& row) { return row.id == job.set; }))
    throw ExportError("There is no set '" + job.set +
                      "'. 'vellora-cli request GET /api/sets' lists the sets.");
  std::vector<std::string> locales = backend::localesOf(backend, job.set);
  if (!job.locale.empty()) {
    if (std::find(locales.begin(), locales.end(), job.locale) == locales.end())
      throw ExportError("Unknown locale for this set: " + job.locale);
    locales = {job.locale};
  }
  std::vector<Combination> all;
  const auto pages = backend::pagesOf(backend, job.set);
  for (const auto& locale : locales) {
    for (const auto& page : pages)
      all.push_back({locale, page.id});
  }
  renderAll(backend, job, all, workers, progress);

  std::map<std::string, std::string, std::less<>> query{
      {"set", job.set}, {"os", job.os}, {"theme", job.theme}};
  if (!job.locale.empty()) query["locale"] = job.locale;
  Response zip = backend.handle(get("/api/download-all", std::move(query)));
  if (zip.status != 200) throw ExportError("The archive could not be made: " + zip.body);
  backend::writeFileAtomically(file, zip.body);
  return rendering::ZipWriter::entriesOf(zip.body);
}

int exportCommand(const std::vector<std::string>& args, LocalBackend& backend, int workers,
                  std::ostream& out, std::ostream& err) {
  ExportJob job;
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
    const int count = exportArchive(backend, job, workers, *file, err);
    err << "Wrote " << count << " images to " << file->string() << "\n";
    return kExitOK;
  } catch (const std::exception& e) {
    err << "vellora-cli export: " << e.what() << "\n";
    return kExitStatus;
  }
}

}  // namespace vells::cli
