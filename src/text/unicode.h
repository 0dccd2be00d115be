#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// The few Unicode rules the text checks need, without a Unicode library: the
// sentences quote the user's own words, which may be in any script.
namespace vells::text {

struct CodePoint {
  char32_t value = 0;
  std::size_t length = 0;  // bytes it takes in the text
};

// The code point that starts at byte `at`; a broken sequence reads as one
// U+FFFD per byte, so scanning always moves on.
CodePoint codePointAt(std::string_view s, std::size_t at);
// The code point that ends just before byte `at`.
CodePoint codePointBefore(std::string_view s, std::size_t at);

// The first `count` code points of `s`.
std::string prefixCodePoints(std::string_view s, std::size_t count);

// Letters, marks, digits and connectors, as a regular expression's \w sees
// them in every script; punctuation, symbols, blanks and emoji are not.
bool isWordCharacter(char32_t c);
// A regular expression's \s: Unicode white space.
bool isSpace(char32_t c);
// A regular expression's \d: a decimal digit of any of the common scripts.
bool isDecimalDigit(char32_t c);

}  // namespace vells::text
