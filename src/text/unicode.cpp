#include "text/unicode.h"

#include <algorithm>
#include <array>
#include <utility>

#include "platform/utf8.h"

namespace vells::text {

namespace {

constexpr char32_t kReplacement = 0xFFFD;

using Range = std::pair<char32_t, char32_t>;

template <std::size_t N>
bool inRanges(char32_t c, const std::array<Range, N>& ranges) {
  return std::any_of(ranges.begin(), ranges.end(),
                     [c](const Range& r) { return c >= r.first && c <= r.second; });
}

// Non-ASCII code points that are no part of a word: Latin-1 signs, general and
// supplemental punctuation, currency, arrows and other symbols, the script's own
// punctuation marks (Arabic, Devanagari, CJK, full-width forms), emoji and
// the replacement sign that stands for broken bytes.
constexpr std::array<Range, 31> kNonWord{{
    {0x80, 0xA9},       {0xAB, 0xB4},     {0xB6, 0xB9},     {0xBB, 0xBF},     {0xD7, 0xD7},
    {0xF7, 0xF7},       {0x037E, 0x037E}, {0x0387, 0x0387}, {0x055A, 0x055F}, {0x0589, 0x058A},
    {0x060C, 0x060D},   {0x061B, 0x061F}, {0x066A, 0x066D}, {0x06D4, 0x06D4}, {0x0964, 0x0965},
    {0x2000, 0x200B},   {0x200E, 0x203E}, {0x2041, 0x2053}, {0x2055, 0x209F}, {0x20A0, 0x20CF},
    {0x2190, 0x2BFF},   {0x2E00, 0x2E7F}, {0x3000, 0x3004}, {0x3008, 0x3020}, {0x3030, 0x3030},
    {0x303D, 0x303F},   {0xFE30, 0xFE6F}, {0xFF00, 0xFF0F}, {0xFF1A, 0xFF20}, {0xFFF9, 0xFFFD},
    {0x1F000, 0x1FAFF},
}};

constexpr std::array<Range, 10> kSpace{{
    {0x09, 0x0D},
    {0x20, 0x20},
    {0x85, 0x85},
    {0xA0, 0xA0},
    {0x1680, 0x1680},
    {0x2000, 0x200A},
    {0x2028, 0x2029},
    {0x202F, 0x202F},
    {0x205F, 0x205F},
    {0x3000, 0x3000},
}};

constexpr std::array<Range, 22> kDigits{{
    {0x30, 0x39},     {0x0660, 0x0669}, {0x06F0, 0x06F9}, {0x07C0, 0x07C9}, {0x0966, 0x096F},
    {0x09E6, 0x09EF}, {0x0A66, 0x0A6F}, {0x0AE6, 0x0AEF}, {0x0B66, 0x0B6F}, {0x0BE6, 0x0BEF},
    {0x0C66, 0x0C6F}, {0x0CE6, 0x0CEF}, {0x0D66, 0x0D6F}, {0x0DE6, 0x0DEF}, {0x0E50, 0x0E59},
    {0x0ED0, 0x0ED9}, {0x0F20, 0x0F29}, {0x1040, 0x1049}, {0x1090, 0x1099}, {0x17E0, 0x17E9},
    {0x1810, 0x1819}, {0xFF10, 0xFF19},
}};

bool continuation(std::string_view s, std::size_t at) {
  return at < s.size() && (static_cast<unsigned char>(s[at]) & 0xC0) == 0x80;
}

}  // namespace

CodePoint codePointAt(std::string_view s, std::size_t at) {
  if (at >= s.size()) return {0, 0};
  const platform::UTF8Step step = platform::decodeUTF8(s, at);
  // One replacement per broken byte, so that scanning backwards agrees.
  if (!step.valid) return {kReplacement, 1};
  return {step.value, step.length};
}

CodePoint codePointBefore(std::string_view s, std::size_t at) {
  if (at == 0 || at > s.size()) return {0, 0};
  std::size_t start = at - 1;
  while (start > 0 && at - start < 4 && continuation(s, start))
    --start;
  const CodePoint cp = codePointAt(s, start);
  if (start + cp.length == at) return cp;
  return {kReplacement, 1};
}

std::string prefixCodePoints(std::string_view s, std::size_t count) {
  std::size_t at = 0;
  for (std::size_t n = 0; n < count && at < s.size(); ++n)
    at += codePointAt(s, at).length;
  return std::string(s.substr(0, at));
}

bool isWordCharacter(char32_t c) {
  if (c < 0x80) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
  }
  return !isSpace(c) && !inRanges(c, kNonWord);
}

bool isSpace(char32_t c) {
  return inRanges(c, kSpace);
}

bool isDecimalDigit(char32_t c) {
  return inRanges(c, kDigits);
}

}  // namespace vells::text
