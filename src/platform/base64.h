#pragma once

#include <string>
#include <string_view>

namespace vells::platform {

// Standard Base64 with padding and no line breaks.
std::string base64Encode(std::string_view bytes);

}  // namespace vells::platform
