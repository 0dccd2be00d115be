#include <algorithm>
#include <array>

#include "platform/ascii.h"
#include "text/readability.h"
#include "text/unicode.h"

namespace vells::text {

namespace {

// Words that say nothing about what an app does, in the order they are named.
constexpr std::array<std::string_view, 18> kFiller{
    "seamless",        "seamlessly", "powerful",    "revolutionary", "all-in-one",
    "next-generation", "next-gen",   "leverage",    "cutting-edge",  "game-changing",
    "game changer",    "innovative", "world-class", "best-in-class", "robust",
    "effortless",      "unleash",    "supercharge",
};

constexpr std::array<char32_t, 5> kCurrency{U'$', U'\u20AC', U'\u00A3', U'\u00A5', U'\u20B9'};

bool contains(std::string_view s, std::string_view part) {
  return s.find(part) != std::string_view::npos;
}

// `word` between two word bounds, as "\b" + word + "\b" matches it.
bool containsWord(std::string_view text, std::string_view word) {
  for (std::size_t at = text.find(word); at != std::string_view::npos;
       at = text.find(word, at + 1)) {
    const std::size_t end = at + word.size();
    const bool wordBefore = at > 0 && isWordCharacter(codePointBefore(text, at).value);
    const bool wordAfter = end < text.size() && isWordCharacter(codePointAt(text, end).value);
    const bool startsWord = isWordCharacter(static_cast<unsigned char>(word.front()));
    const bool endsWord = isWordCharacter(static_cast<unsigned char>(word.back()));
    // A bound lies between a word character and anything else.
    if (wordBefore != startsWord && wordAfter != endsWord) return true;
  }
  return false;
}

bool isCurrency(char32_t c) {
  return std::find(kCurrency.begin(), kCurrency.end(), c) != kCurrency.end();
}

// "[$€£¥₹]\s?\d|\d\s?[$€£¥₹]": a price, with at most one blank between sign and number.
bool showsPrice(std::string_view text) {
  std::vector<char32_t> cps;
  for (std::size_t at = 0; at < text.size();) {
    const CodePoint cp = codePointAt(text, at);
    cps.push_back(cp.value);
    at += cp.length;
  }
  const auto pairAt = [&cps](std::size_t i, auto first, auto second) {
    if (!first(cps[i])) return false;
    if (i + 1 < cps.size() && second(cps[i + 1])) return true;
    return i + 2 < cps.size() && isSpace(cps[i + 1]) && second(cps[i + 2]);
  };
  for (std::size_t i = 0; i < cps.size(); ++i) {
    if (pairAt(i, isCurrency, isDecimalDigit) || pairAt(i, isDecimalDigit, isCurrency)) {
      return true;
    }
  }
  return false;
}

}  // namespace

std::vector<std::string> Readability::copyIssues(const std::optional<std::string>& title,
                                                 std::string_view /*locale*/) {
  std::vector<std::string> issues;
  if (!title) return issues;
  std::string plain = *title;
  std::erase(plain, '*');
  if (plain.empty()) return issues;
  const std::string lower = platform::asciiLower(plain);

  std::string filler;
  for (std::string_view word : kFiller) {
    if (!containsWord(lower, word)) continue;
    if (!filler.empty()) filler += ", ";
    filler += word;
  }
  if (!filler.empty()) {
    issues.push_back("The title uses filler (" + filler +
                     ") \u2014 say what the app does for the person in plain words instead.");
  }
  if (contains(plain, "!") || contains(plain, "\u00A1")) {
    issues.push_back(
        "The title has an exclamation mark \u2014 store captions read stronger without one.");
  }
  if (contains(plain, "?") || contains(plain, "\u061F")) {
    issues.push_back("The title is a question \u2014 state the benefit instead.");
  }
  if (contains(lower, "download") || contains(lower, "install now") ||
      contains(lower, "get it now")) {
    issues.push_back(
        "The title asks people to download \u2014 never put a call to download on a "
        "screenshot.");
  }
  if (showsPrice(plain)) {
    issues.push_back(
        "The title shows a price \u2014 prices change and do not belong on a screenshot.");
  }
  return issues;
}

}  // namespace vells::text
