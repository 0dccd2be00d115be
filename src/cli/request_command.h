#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace vells::backend {
class LocalBackend;
}

namespace vells::cli {

// Exit codes scripts rely on.
inline constexpr int kExitOK = 0;
inline constexpr int kExitStatus = 1;  // the route answered with a non-2xx status
inline constexpr int kExitUsage = 2;

extern const char* const kRequestHelp;

// `request METHOD PATH [--body FILE|-] [--content-type T] [--if-none-match TAG] [-o FILE]`:
// one route call. The status line and headers go to `err`, the body bytes to
// `out` or the -o file.
int requestCommand(const std::vector<std::string>& args, backend::LocalBackend& backend,
                   std::istream& in, std::ostream& out, std::ostream& err);

}  // namespace vells::cli
