#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "capture/screen_importer.h"

namespace vells::cli {

extern const char* const kImportHelp;

// `import DIR|FILE... --set ID [--os ios|android] [--theme dark|light]`: files
// a folder of screenshots under the set's uploaded pages and languages by
// their names, and prints the line the app shows after a drop.
int importCommand(const std::vector<std::string>& args, const capture::BackendCall& call,
                  std::ostream& out, std::ostream& err);

}  // namespace vells::cli
