#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace vells::platform {

// The raw 32-byte SHA-256 digest of `bytes`.
std::array<std::uint8_t, 32> sha256(std::string_view bytes);

// The whole digest as 64 lower-case hexadecimal digits.
std::string sha256Hex(std::string_view bytes);

}  // namespace vells::platform
