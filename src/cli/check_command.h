#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace vells::backend {
class LocalBackend;
}
namespace vells::rendering {
class HTMLRenderer;
}

namespace vells::cli {

extern const char* const kCheckHelp;

// `check --set ID [--os ios|android] [--theme dark|light] [--size WxH]` renders
// a set's store images as an export would and checks them against the
// stores' rules; `check DIR` checks an upload folder written by
// `export --layout upload`. One line per finding on `out`; exit 1 when
// anything would be rejected.
int checkCommand(const std::vector<std::string>& args, backend::LocalBackend& backend,
                 rendering::HTMLRenderer& renderer, std::ostream& out, std::ostream& err);

}  // namespace vells::cli
