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

extern const char* const kDemoHelp;

// `demo [-o DIR]`: files the sample app, fills one set with every built-in
// page, titles in four languages and a few looks, and exports one archive per
// platform and appearance into DIR.
int demoCommand(const std::vector<std::string>& args, backend::LocalBackend& backend,
                rendering::HTMLRenderer& renderer, std::ostream& out, std::ostream& err);

}  // namespace vells::cli
