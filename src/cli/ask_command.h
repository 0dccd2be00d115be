#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace vells::backend {
class LocalBackend;
}

namespace vells::cli {

extern const char* const kAskHelp;

// `ask --set ID --page ID [--locale CODE] [--os ios|android] [--theme
// dark|light] [--tool claude|codex|gemini] "REQUEST"`: one chat turn without
// a window. The page's changes are applied and saved as in the editor; the
// answer, each applied line and the text check's result are printed. Needs a
// Qt application object and its event loop.
int askCommand(const std::vector<std::string>& args, backend::LocalBackend& backend,
               std::ostream& out, std::ostream& err);

}  // namespace vells::cli
