#pragma once

#include <cstddef>
#include <string_view>

namespace vells::platform {

// One step of UTF-8 decoding.
struct UTF8Step {
  char32_t value = 0;      // U+FFFD when the bytes form no character
  std::size_t length = 0;  // bytes taken; at least one unless at the end
  bool valid = false;
};

// The character that starts at byte `at`, by the strict rules: no overlong
// forms, no UTF-16 surrogates, nothing past U+10FFFF. An invalid step covers
// the longest start of a sequence that could still have been valid (at least
// one byte), so a truncated character becomes one replacement, as WHATWG
// decoders do; callers that want one replacement per byte take one byte.
// At or past the end: length 0.
UTF8Step decodeUTF8(std::string_view s, std::size_t at);

}  // namespace vells::platform
