#include "platform/utf8.h"

#include <gtest/gtest.h>

namespace vells::platform {
namespace {

struct Case {
  std::string_view bytes;
  char32_t value;
  std::size_t length;
  bool valid;
};

TEST(UTF8, DecodesByTheStrictRules) {
  for (const Case& c : {
           Case{"A", U'A', 1, true},
           Case{"\xC3\xA9", U'\u00E9', 2, true},
           Case{"\xE2\x82\xAC", U'\u20AC', 3, true},
           Case{"\xF0\x9F\x98\x80", U'\U0001F600', 4, true},
           Case{"\xF4\x8F\xBF\xBF", U'\U0010FFFF', 4, true},
           // Broken: one replacement for the longest start that could have been valid.
           Case{"\x80", 0xFFFD, 1, false},              // a lone continuation byte
           Case{"\xC0\xAF", 0xFFFD, 1, false},          // overlong lead
           Case{"\xE0\x80\x80", 0xFFFD, 1, false},      // overlong three-byte form
           Case{"\xED\xA0\x80", 0xFFFD, 1, false},      // a UTF-16 surrogate
           Case{"\xF4\x90\x80\x80", 0xFFFD, 1, false},  // past U+10FFFF
           Case{"\xE2\x82", 0xFFFD, 2, false},          // cut short at the end
           Case{"\xF0\x9F\x98"
                "A",
                0xFFFD, 3, false},  // cut short by another character
           Case{"\xFF", 0xFFFD, 1, false},
       }) {
    const UTF8Step step = decodeUTF8(c.bytes, 0);
    EXPECT_EQ(step.value, c.value) << c.bytes;
    EXPECT_EQ(step.length, c.length) << c.bytes;
    EXPECT_EQ(step.valid, c.valid) << c.bytes;
  }
  EXPECT_EQ(decodeUTF8("ab", 2).length, 0u);
  EXPECT_EQ(decodeUTF8("a\xC3\xA9", 1).value, U'\u00E9');
}

}  // namespace
}  // namespace vells::platform
