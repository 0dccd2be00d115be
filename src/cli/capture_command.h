#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "capture/device_capture.h"
#include "capture/screen_importer.h"

namespace vells::cli {

extern const char* const kCaptureHelp;

// `capture --list`, or `capture --device ID --set ID --page ID [--locale CODE]
// [--os ios|android] [--theme dark|light]`: lists the devices, or takes one's
// screen with a clean status bar and stores it as the page's screen, filed
// under the appearance the device shows unless --theme says otherwise.
int captureCommand(const std::vector<std::string>& args, capture::DeviceCapture& devices,
                   const capture::BackendCall& call, std::ostream& out, std::ostream& err);

}  // namespace vells::cli
