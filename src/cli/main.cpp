#include <iostream>
#include <string>
#include <vector>

#include "cli/check_command.h"
#include "cli/demo_command.h"
#include "cli/export_command.h"
#include "cli/request_command.h"
#include "routes/local_service.h"

#ifdef VELLS_WITH_CAPTURE
#include <QCoreApplication>

#include "capture/device_capture.h"
#include "cli/capture_command.h"
#include "cli/import_command.h"
#endif

namespace {

const char* const kHelp =
    "Usage: vellora-cli COMMAND [options]\n"
    "\n"
    "Drives Vellora's library from the command line, with the same backend as the app.\n"
    "\n"
    "Commands:\n"
    "  request METHOD PATH   call one route and print its answer\n"
    "  export -o FILE.zip    render a set's missing store images and write its archive\n"
    "  demo [-o DIR]         build a sample set of the built-in app and export it\n"
    "  check --set ID        check a set's store images against the stores' rules\n"
#ifdef VELLS_WITH_CAPTURE
    "  capture --list        list Android devices and iOS simulators\n"
    "  capture --device ID --set ID --page ID\n"
    "                        store a device's screen, with a clean status bar\n"
    "  import DIR --set ID   file a folder of screenshots under the set's pages\n"
#endif
    "\n"
    "Run 'vellora-cli COMMAND --help' for a command's options.\n"
    "\n"
    "Environment:\n"
    "  VELLS_LIBRARY     the library folder (default: $XDG_DATA_HOME/Vells, else\n"
    "                    ~/.local/share/Vells)\n"
    "  VELLS_RESOURCES   the folder holding the core script (core.parts and its\n"
    "                    parts, or core.js) and assets/\n"
    "  VELLS_CHROMIUM    the headless Chromium to render with (default:\n"
    "                    /usr/lib/chromium/chromium-headless-shell)\n"
    "  VELLS_LOOKUP_URL  base of the App Store lookup endpoint\n";

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> args(argv + 1, argv + argc);
  if (args.empty() || args[0] == "--help" || args[0] == "-h" || args[0] == "help") {
    (args.empty() ? std::cerr : std::cout) << kHelp;
    return args.empty() ? vells::cli::kExitUsage : vells::cli::kExitOK;
  }
  const std::string command = args[0];
  args.erase(args.begin());
  const bool known = command == "request" || command == "export" || command == "demo" ||
                     command == "check"
#ifdef VELLS_WITH_CAPTURE
                     || command == "capture" || command == "import"
#endif
      ;
  if (!known) {
    std::cerr << "vellora-cli: unknown command '" << command << "'.\n\n" << kHelp;
    return vells::cli::kExitUsage;
  }
  vells::routes::LocalService service = vells::routes::makeLocalService();
  auto& backend = *service.backend;
#ifdef VELLS_WITH_CAPTURE
  if (command == "capture" || command == "import") {
    // The device tools run as child processes, which Qt wants an application object for.
    QCoreApplication app(argc, argv);
    const vells::capture::BackendCall call = [&](const vells::backend::Request& request) {
      return backend.handle(request);
    };
    if (command == "import") return vells::cli::importCommand(args, call, std::cout, std::cerr);
    vells::capture::DeviceCapture devices(vells::capture::DeviceTools::forThisComputer());
    return vells::cli::captureCommand(args, devices, call, std::cout, std::cerr);
  }
#endif
  if (command == "request") {
    return vells::cli::requestCommand(args, backend, std::cin, std::cout, std::cerr);
  }
  auto& renderer = *service.renderer;
  if (command == "check")
    return vells::cli::checkCommand(args, backend, renderer, std::cout, std::cerr);
  return command == "export"
             ? vells::cli::exportCommand(args, backend, renderer, std::cout, std::cerr)
             : vells::cli::demoCommand(args, backend, renderer, std::cout, std::cerr);
}
