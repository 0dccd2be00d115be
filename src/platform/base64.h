#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vells::platform {

// Standard Base64 with padding and no line breaks.
std::string base64Encode(std::string_view bytes);

}  // namespace vells::platform

namespace vells::platform {

// Decodes standard Base64, ignoring white space; absent on any other stray character.
std::optional<std::string> base64Decode(std::string_view text);

}  // namespace vells::platform
