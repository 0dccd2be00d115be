#include "cli/import_command.h"

#include <filesystem>
#include <iostream>
#include <optional>

#include "cli/request_command.h"
#include "platform/error.h"

namespace vells::cli {

namespace fs = std::filesystem;

const char* const kImportHelp =
    "Usage: vellora-cli import DIR|FILE... --set ID [options]\n"
    "\n"
    "Brings a folder of screenshots into a set, as a drop on the app's gallery does.\n"
    "Each picture goes to an uploaded page by its name (home.png to the page Home),\n"
    "the others in natural name order (1, 2, 10) to the pages left. A folder named\n"
    "after a language (de/home.png), or a name ending in one (home_de.png,\n"
    "home@de.png), stores the picture for that language only. Folders are read two\n"
    "levels deep; hidden files are left out. PNG, JPEG and WebP are imported.\n"
    "\n"
    "Options:\n"
    "  --set ID            the set (required)\n"
    "  --os ios|android    the platform the screens are for (default: ios)\n"
    "  --theme dark|light  the appearance they show (default: light)\n"
    "\n"
    "Prints one line, 'Added N screens for iOS — F failed — U not used', then a\n"
    "sentence for each picture that failed. Exit status: 0 when every picture was\n"
    "stored, 1 when any failed or none was, 2 for a usage error.\n";

int importCommand(const std::vector<std::string>& args, const capture::BackendCall& call,
                  std::ostream& out, std::ostream& err) {
  std::vector<fs::path> dropped;
  std::optional<std::string> set;
  std::string os = "ios";
  std::string theme = "light";
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (a == "--help" || a == "-h") {
      out << kImportHelp;
      return kExitOK;
    }
    if (a.rfind('-', 0) != 0) {
      dropped.emplace_back(a);
      continue;
    }
    const bool takesValue = a == "--set" || a == "--os" || a == "--theme";
    if (!takesValue || i + 1 == args.size()) {
      err << "vellora-cli import: " << (takesValue ? "missing value for " : "unknown option ") << a
          << "\n\n"
          << kImportHelp;
      return kExitUsage;
    }
    const std::string& v = args[++i];
    if (a == "--set") set = v;
    if (a == "--os") os = v;
    if (a == "--theme") theme = v;
  }
  const auto deviceOS = deviceOSFromRaw(os);
  const auto themeName = themeNameFromRaw(theme);
  if (!deviceOS) {
    err << "vellora-cli import: --os must be ios or android, not '" << os << "'.\n";
    return kExitUsage;
  }
  if (!themeName) {
    err << "vellora-cli import: --theme must be dark or light, not '" << theme << "'.\n";
    return kExitUsage;
  }
  if (!set || dropped.empty()) {
    err << "vellora-cli import: name the folder or files to import and the set with --set ID.\n";
    return kExitUsage;
  }
  for (const fs::path& item : dropped) {
    std::error_code ec;
    if (!fs::exists(item, ec)) {
      err << "vellora-cli import: there’s no file or folder " << item.string() << ".\n";
      return kExitStatus;
    }
  }
  try {
    const auto target = capture::ImportTarget::load(call, *set, *deviceOS, *themeName);
    const capture::ImportReport report = capture::ScreenImporter(call).run(dropped, target);
    out << report.text() << "\n";
    return report.failed == 0 && report.added > 0 ? kExitOK : kExitStatus;
  } catch (const Error& e) {
    err << "vellora-cli import: " << e.what() << "\n";
    return kExitStatus;
  }
}

}  // namespace vells::cli
