#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace vells::backend {
class LocalBackend;
}

namespace vells::cli {

extern const char* const kGenerateHelp;

// `generate --folder DIR [--app ID] [--set NAME] [--tool T] [--screens a,b]
// [--locales en,de]` reads an app's code with an AI tool, draws its screens
// and saves them into a set; `generate --update --set ID` redraws a set's
// screens from the code as it is now. One progress line per step and per
// screen; SIGINT or SIGTERM stops the job and changes nothing. Needs a
// QCoreApplication.
int generateCommand(const std::vector<std::string>& args, backend::LocalBackend& backend,
                    std::ostream& out, std::ostream& err);

}  // namespace vells::cli
