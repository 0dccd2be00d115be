#pragma once

#include <string>
#include <string_view>

namespace vells::backend {

// The first 32 hex digits of SHA-256: the name of every content-named file.
std::string sha(std::string_view bytes);

}  // namespace vells::backend
