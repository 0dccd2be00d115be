#include "cli/capture_command.h"

#include <algorithm>
#include <iostream>
#include <optional>

#include "cli/request_command.h"
#include "platform/error.h"

namespace vells::cli {

const char* const kCaptureHelp =
    "Usage: vellora-cli capture --list\n"
    "       vellora-cli capture --device ID --set ID --page ID [options]\n"
    "\n"
    "Takes the screen of a running Android device or emulator (through adb) or iOS\n"
    "Simulator (through xcrun, on macOS) with a clean status bar — 9:41, full\n"
    "battery, no notifications — and stores it as an uploaded page's screen.\n"
    "The screen is filed under the appearance the device shows (dark or light).\n"
    "\n"
    "Options:\n"
    "  --list              list the devices, with those that can't be captured now\n"
    "  --device ID         the adb serial or the simulator's UDID, as --list shows\n"
    "  --set ID            the set\n"
    "  --page ID           the uploaded page whose screen it becomes\n"
    "  --locale CODE       store it for this language only (default: all languages)\n"
    "  --os ios|android    file it for this platform (default: the device's)\n"
    "  --theme dark|light  file it for this appearance (default: the device's)\n"
    "\n"
    "adb is looked for in ~/Android/Sdk/platform-tools, /usr/lib/android-sdk/\n"
    "platform-tools, /usr/bin and /usr/local/bin, then on the login shell's PATH.\n"
    "Exit status: 0 when the screen is stored, 1 when it isn't, 2 for a usage error.\n";

namespace {

std::string stateWord(const capture::Device& device) {
  return device.ready() ? "ready" : device.stateText;
}

int list(capture::DeviceCapture& devices, std::ostream& out, std::ostream& err) {
  const capture::DeviceList found = devices.devices();
  for (const capture::Device& device : found.devices) {
    out << device.id << "\t" << device.name << "\t" << rawValue(device.os) << "\t"
        << stateWord(device) << "\n";
  }
  for (const std::string& note : found.notes)
    err << note << "\n";
  if (found.devices.empty()) {
    err << "Start your app in an Android emulator (with adb installed) to capture its real "
           "screen.\n";
  }
  return kExitOK;
}

struct CaptureJob {
  std::string device, set, page;
  std::optional<std::string> locale;
  std::optional<DeviceOS> os;
  std::optional<ThemeName> theme;
};

// The stored screen's file, told the way a person looks for it in the app.
std::string storedAs(const CaptureJob& job, DeviceOS os, ThemeName theme) {
  return std::string("the ") + std::string(rawValue(theme)) + " " +
         (os == DeviceOS::ios ? "iOS" : "Android") + " screen of page " + job.page + " in set " +
         job.set + (job.locale ? ", for " + *job.locale + " only" : ", for every language");
}

int captureOne(const CaptureJob& job, capture::DeviceCapture& devices,
               const capture::BackendCall& call, std::ostream& out) {
  const capture::DeviceList found = devices.devices();
  const auto device = std::find_if(found.devices.begin(), found.devices.end(),
                                   [&](const capture::Device& d) { return d.id == job.device; });
  if (device == found.devices.end()) {
    std::string why;
    for (const std::string& note : found.notes)
      why += " " + note;
    throw Error("No device “" + job.device + "” is connected." + why +
                " 'vellora-cli capture --list' shows the devices.");
  }
  const DeviceOS os = job.os.value_or(device->os);
  // The set and page are checked before the device is touched.
  const auto target = capture::ImportTarget::load(call, job.set, os, ThemeName::light);
  const auto page = std::find_if(target.pages.begin(), target.pages.end(),
                                 [&](const SetPage& p) { return p.id == job.page; });
  if (page == target.pages.end()) {
    throw Error("The set " + job.set + " has no page “" + job.page +
                "”. 'vellora-cli request GET \"/api/pages?set=" + job.set + "\"' lists its pages.");
  }
  if (page->source != PageSource::upload) {
    throw Error("The page " + job.page +
                " is drawn by Vellora, so it has no screen to replace. Capture to an uploaded "
                "page.");
  }
  if (job.locale && std::find(target.localeCodes.begin(), target.localeCodes.end(), *job.locale) ==
                        target.localeCodes.end()) {
    throw Error("The set " + job.set + " isn’t in the language “" + *job.locale + "”.");
  }
  capture::DeviceShot shot = devices.capture(*device);
  const ThemeName theme = job.theme.value_or(shot.appearance);
  const std::string refused = capture::uploadScreen(call, job.set, job.page, os, job.locale, theme,
                                                    shot.png.toStdString(), "image/png");
  if (!refused.empty()) throw Error("The screen wasn’t stored: " + refused);
  out << "Captured " << device->name << " — stored as " << storedAs(job, os, theme) << ".\n";
  return kExitOK;
}

}  // namespace

int captureCommand(const std::vector<std::string>& args, capture::DeviceCapture& devices,
                   const capture::BackendCall& call, std::ostream& out, std::ostream& err) {
  CaptureJob job;
  bool listOnly = false;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (a == "--help" || a == "-h") {
      out << kCaptureHelp;
      return kExitOK;
    }
    if (a == "--list") {
      listOnly = true;
      continue;
    }
    const bool takesValue = a == "--device" || a == "--set" || a == "--page" || a == "--locale" ||
                            a == "--os" || a == "--theme";
    if (!takesValue || i + 1 == args.size()) {
      err << "vellora-cli capture: " << (takesValue ? "missing value for " : "unknown option ") << a
          << "\n\n"
          << kCaptureHelp;
      return kExitUsage;
    }
    const std::string& v = args[++i];
    if (a == "--device") job.device = v;
    if (a == "--set") job.set = v;
    if (a == "--page") job.page = v;
    if (a == "--locale") job.locale = v;
    if (a == "--os" && !(job.os = deviceOSFromRaw(v))) {
      err << "vellora-cli capture: --os must be ios or android, not '" << v << "'.\n";
      return kExitUsage;
    }
    if (a == "--theme" && !(job.theme = themeNameFromRaw(v))) {
      err << "vellora-cli capture: --theme must be dark or light, not '" << v << "'.\n";
      return kExitUsage;
    }
  }
  if (listOnly) return list(devices, out, err);
  if (job.device.empty() || job.set.empty() || job.page.empty()) {
    err << "vellora-cli capture: name the device, the set and the page (--device, --set, "
           "--page), or list the devices with --list.\n";
    return kExitUsage;
  }
  try {
    return captureOne(job, devices, call, out);
  } catch (const Error& e) {
    err << "vellora-cli capture: " << e.what() << "\n";
    return kExitStatus;
  }
}

}  // namespace vells::cli
