#include "cli/check_command.h"

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <optional>

#include "backend/file_io.h"
#include "backend/local_backend.h"
#include "backend/sets.h"
#include "backend/url_request.h"
#include "cli/export_command.h"
#include "cli/request_command.h"
#include "rendering/composite.h"
#include "rendering/export_service.h"
#include "rendering/store_check.h"
#include "rendering/store_size.h"
#include "text/readability.h"

namespace vells::cli {

namespace fs = std::filesystem;
using backend::LocalBackend;
using rendering::StoreCheck;

const char* const kCheckHelp =
    "Usage: vellora-cli check --set ID [--os ios|android] [--theme dark|light] [--size WxH]\n"
    "       vellora-cli check DIR\n"
    "\n"
    "Checks store images against the App Store's and Google Play's rules before an\n"
    "upload: each image's size class, exact size, alpha channel, aspect ratio and\n"
    "bytes; how many there are per locale (App Store 1 to 10 per size, Google Play\n"
    "2 to 8); titles with claims the stores dislike; and on Google Play a caption\n"
    "that covers more than 20 % of the image.\n"
    "\n"
    "With --set it renders the set's images as 'vellora-cli export' would (both\n"
    "platforms unless --os names one). With DIR it checks a folder written by\n"
    "'vellora-cli export --layout upload'.\n"
    "\n"
    "Exit status: 0 when nothing would be rejected (advice may still be printed),\n"
    "1 when something would be, 2 for a usage error.\n";

namespace {

std::vector<fs::path> picturesIn(const fs::path& folder) {
  std::vector<fs::path> files;
  std::error_code ec;
  for (const auto& entry : fs::directory_iterator(folder, ec)) {
    const std::string name = entry.path().filename().string();
    if (name.empty() || name[0] == '.' || !entry.is_regular_file()) continue;
    files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

std::vector<fs::path> foldersIn(const fs::path& folder) {
  std::vector<fs::path> folders;
  std::error_code ec;
  for (const auto& entry : fs::directory_iterator(folder, ec)) {
    if (entry.is_directory() && entry.path().filename().string()[0] != '.')
      folders.push_back(entry.path());
  }
  std::sort(folders.begin(), folders.end());
  return folders;
}

// A page's name from an upload file name: NN_<page>.png → <page>.
std::string pageOfFile(const fs::path& file) {
  std::string stem = file.stem().string();
  const auto underscore = stem.find('_');
  return underscore == std::string::npos ? stem : stem.substr(underscore + 1);
}

void checkFolder(const fs::path& dir, StoreCheck& check) {
  const fs::path ios = dir / "screenshots";
  const fs::path android = dir / "metadata" / "android";
  if (!fs::is_directory(ios) && !fs::is_directory(android))
    throw ExportError(dir.string() +
                      " holds no screenshots/ or metadata/android/ folder. Write one with "
                      "'vellora-cli export --layout upload -o " +
                      dir.string() + "'.");
  for (const fs::path& locale : foldersIn(ios)) {
    for (const fs::path& file : picturesIn(locale))
      check.addImage("ios", locale.filename().string(), pageOfFile(file),
                     backend::readFile(file).value_or(""));
  }
  for (const fs::path& locale : foldersIn(android)) {
    for (const fs::path& file : picturesIn(locale / "images" / "phoneScreenshots"))
      check.addImage("android", locale.filename().string(), pageOfFile(file),
                     backend::readFile(file).value_or(""));
  }
}

// The page's title as the composite draws it, and the share of the canvas its
// measured ink covers.
struct Copy {
  std::optional<std::string> title;
  std::optional<double> share;
};

Copy copyOf(LocalBackend& backend, rendering::HTMLRenderer& renderer, const std::string& set,
            const std::string& os, const std::string& theme, const std::string& locale,
            const std::string& page) {
  Copy copy;
  rendering::Compositor compositor(backend, renderer);
  const auto row = backend::pageOf(backend, set, page);
  const JSONValue common =
      JSONValue::Object{{"set", set},
                        {"page", page},
                        {"os", os},
                        {"theme", theme},
                        {"locale", locale},
                        {"isUploaded", row && row->source == "upload"},
                        {"builtin", rendering::Compositor::builtinOf(row, page)}};
  copy.title =
      rendering::Plan::of(
          backend.core().callWithDocs("pagePlan", compositor.documents(set), common), set, page)
          .title;
  const backend::Response answer = backend.handle(backend::requestFromURL(
      "/api/text-fit?set=" + backend::percentEncode(set) + "&page=" + backend::percentEncode(page) +
      "&os=" + os + "&theme=" + theme + "&locale=" + backend::percentEncode(locale)));
  const auto report = answer.status == 200 ? JSONValue::tryParse(answer.body) : std::nullopt;
  const JSONValue* title = report ? report->find("title") : nullptr;
  const JSONValue* box = title ? title->find("box") : nullptr;
  // The measured ink: [x, y, width, height] in canvas pixels.
  if (box && box->isArray() && box->asArray()->size() == 4) {
    const rendering::CSSSize canvas = compositor.canvasSize(os);
    const double* w = (*box->asArray())[2].asNumber();
    const double* h = (*box->asArray())[3].asNumber();
    if (w && h && canvas.width > 0 && canvas.height > 0)
      copy.share = (*w * *h) / (canvas.width * canvas.height);
  }
  return copy;
}

void checkSet(LocalBackend& backend, rendering::HTMLRenderer& renderer,
              const rendering::ExportRequest& base, const std::vector<std::string>& platforms,
              const std::optional<std::string>& size, StoreCheck& check, std::ostream& progress) {
  const auto sets = backend.db().loadSets();
  if (std::none_of(sets.begin(), sets.end(), [&](const auto& row) { return row.id == base.set; }))
    throw ExportError("There is no set '" + base.set +
                      "'. 'vellora-cli request GET /api/sets' lists the sets.");
  std::vector<std::pair<std::string, std::string>> pages;  // (locale, page), once each
  for (const std::string& os : platforms) {
    rendering::ExportRequest job = base;
    job.os = os;
    job.size = size ? rendering::parseStoreSize(os, *size) : rendering::requiredStoreSize(os);
    progress << "Rendering the " << os << " " << job.theme << " images at " << job.size->name()
             << "\n";
    rendering::ExportService(backend, renderer)
        .write(job, [&](const rendering::ExportImage& image) {
          check.addImage(os, image.locale, image.page, image.bytes);
          const std::pair key{image.locale, image.page};
          if (std::find(pages.begin(), pages.end(), key) == pages.end()) pages.push_back(key);
        });
  }
  progress << "Measuring the titles\n";
  for (const auto& [locale, page] : pages) {
    const Copy ios =
        copyOf(backend, renderer, base.set, platforms.front(), base.theme, locale, page);
    check.addCopy(locale, page, ios.title, text::Readability::copyIssues(ios.title, locale));
    if (std::find(platforms.begin(), platforms.end(), "android") == platforms.end()) continue;
    const Copy android =
        platforms.front() == "android"
            ? ios
            : copyOf(backend, renderer, base.set, "android", base.theme, locale, page);
    if (android.share) check.addCaption(locale, page, *android.share);
  }
}

}  // namespace

int checkCommand(const std::vector<std::string>& args, LocalBackend& backend,
                 rendering::HTMLRenderer& renderer, std::ostream& out, std::ostream& err) {
  rendering::ExportRequest job;
  std::optional<std::string> os, size, set;
  std::optional<fs::path> dir;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (a == "--help" || a == "-h") {
      out << kCheckHelp;
      return kExitOK;
    }
    const bool takesValue = a == "--set" || a == "--os" || a == "--theme" || a == "--size";
    if (!takesValue && !a.empty() && a[0] != '-' && !dir) {
      dir = a;
      continue;
    }
    if (!takesValue || i + 1 == args.size()) {
      err << "vellora-cli check: " << (takesValue ? "missing value for " : "unknown option ") << a
          << "\n\n"
          << kCheckHelp;
      return kExitUsage;
    }
    const std::string& v = args[++i];
    if (a == "--set") set = v;
    if (a == "--os") os = v;
    if (a == "--theme") job.theme = v;
    if (a == "--size") size = v;
  }
  if (set.has_value() == dir.has_value()) {
    err << "vellora-cli check: name a set with --set ID or an upload folder, not "
        << (set ? "both" : "neither") << ".\n\n"
        << kCheckHelp;
    return kExitUsage;
  }
  if (os && *os != "ios" && *os != "android") {
    err << "vellora-cli check: --os must be ios or android, not '" << *os << "'.\n";
    return kExitUsage;
  }
  if (job.theme != "dark" && job.theme != "light") {
    err << "vellora-cli check: --theme must be dark or light, not '" << job.theme << "'.\n";
    return kExitUsage;
  }
  const std::vector<std::string> platforms =
      os ? std::vector<std::string>{*os} : std::vector<std::string>{"ios", "android"};
  StoreCheck check;
  try {
    for (const std::string& platform : platforms)
      if (size) rendering::parseStoreSize(platform, *size);
  } catch (const rendering::StoreSizeError& e) {
    err << "vellora-cli check: " << e.what() << "\n";
    return kExitUsage;
  }
  try {
    if (dir) {
      checkFolder(*dir, check);
    } else {
      job.set = *set;
      checkSet(backend, renderer, job, platforms, size, check, err);
    }
  } catch (const std::exception& e) {
    err << "vellora-cli check: " << e.what() << "\n";
    return kExitStatus;
  }
  std::size_t rejected = 0, advice = 0;
  for (const auto& finding : check.findings()) {
    out << (finding.rejected ? "Rejected: " : "Advice: ") << finding.sentence << "\n";
    ++(finding.rejected ? rejected : advice);
  }
  out << "Checked " << check.images() << (check.images() == 1 ? " image: " : " images: ")
      << (rejected == 0 ? std::string("nothing would be rejected")
                        : std::to_string(rejected) + " would be rejected")
      << (advice == 0
              ? ""
              : ", " + std::to_string(advice) + " piece" + (advice == 1 ? "" : "s") + " of advice")
      << ".\n";
  return rejected == 0 ? kExitOK : kExitStatus;
}

}  // namespace vells::cli
