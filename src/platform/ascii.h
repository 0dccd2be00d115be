#pragma once

#include <string>
#include <string_view>

namespace vells::platform {

// Only ASCII letters change: every word and extension the rules compare is
// ASCII, and no other letter's case can turn into one of them.
std::string asciiLower(std::string_view s);

}  // namespace vells::platform
