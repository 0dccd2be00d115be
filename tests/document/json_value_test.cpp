#include "document/json_value.h"

#include <cmath>
#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "document/print_json.h"

namespace vells {
namespace {

JSONValue parsed(std::string_view text) {
  return JSONValue::parse(text);
}

TEST(JSONValueTest, NumbersCompareAsDoublesWhateverTheirSpelling) {
  JSONValue a = parsed(R"({"a":1})");
  JSONValue b = parsed(R"({"a":1.0})");
  EXPECT_EQ(a, b);
  EXPECT_EQ(a.hash(), b.hash());
  EXPECT_EQ(parsed("1e2"), JSONValue(100));
  // 0 and -0 are equal doubles, so they must also hash alike.
  EXPECT_EQ(parsed("-0.0"), parsed("0"));
  EXPECT_EQ(parsed("-0.0").hash(), parsed("0").hash());
  EXPECT_NE(parsed("1"), parsed("1.5"));
}

TEST(JSONValueTest, KindsStayApart) {
  JSONValue t = parsed("true");
  ASSERT_TRUE(t.isBool());
  EXPECT_TRUE(*t.asBool());
  EXPECT_EQ(t.asNumber(), nullptr);
  EXPECT_NE(t, JSONValue(1));
  EXPECT_NE(parsed("false"), JSONValue(0));
  EXPECT_NE(parsed(R"("1")"), JSONValue(1));

  JSONValue emptyArray = parsed("[]");
  JSONValue emptyObject = parsed("{}");
  JSONValue null = parsed("null");
  EXPECT_TRUE(emptyArray.isArray());
  EXPECT_TRUE(emptyObject.isObject());
  EXPECT_TRUE(null.isNull());
  EXPECT_NE(emptyArray, emptyObject);
  EXPECT_NE(emptyArray, null);
  EXPECT_NE(emptyObject, null);
  EXPECT_EQ(emptyArray.dump(), "[]");
  EXPECT_EQ(emptyObject.dump(), "{}");
  EXPECT_EQ(null.dump(), "null");
}

TEST(JSONValueTest, NullInsideContainersIsKept) {
  JSONValue array = parsed("[null]");
  ASSERT_TRUE(array.isArray());
  ASSERT_EQ(array.asArray()->size(), 1u);
  EXPECT_TRUE((*array.asArray())[0].isNull());
  EXPECT_EQ(array.dump(), "[null]");

  JSONValue object = parsed(R"({"gone":null})");
  ASSERT_NE(object.find("gone"), nullptr);
  EXPECT_TRUE(object.find("gone")->isNull());
  EXPECT_EQ(object.find("missing"), nullptr);
  EXPECT_NE(object, parsed("{}"));
}

TEST(JSONValueTest, KeyOrderNeverMatters) {
  JSONValue a = parsed(R"({"a":1,"b":{"x":[1,2],"y":"z"}})");
  JSONValue b = parsed(R"({"b":{"y":"z","x":[1,2]},"a":1})");
  EXPECT_EQ(a, b);
  EXPECT_EQ(a.hash(), b.hash());
  EXPECT_EQ(a.dump(), b.dump());
  // Array order does matter.
  EXPECT_NE(parsed("[1,2]"), parsed("[2,1]"));
}

TEST(JSONValueTest, DumpedNumbersReadBackExactly) {
  const double samples[] = {0,         1,
                            -3,        160,
                            66,        0.1,
                            1.12,      -0.03,
                            0.085,     1e21,
                            1e-7,      0.1 + 0.2,
                            1.0 / 3.0, 9007199254740992.0,
                            -1e300,    std::numeric_limits<double>::min()};
  for (double d : samples) {
    std::string text = JSONValue(d).dump();
    JSONValue back = JSONValue::parse(text);
    ASSERT_TRUE(back.isNumber()) << text;
    EXPECT_EQ(*back.asNumber(), d) << text;
  }
  // Integral values go out without a fraction, so stored coordinates stay whole.
  EXPECT_EQ(JSONValue(160.0).dump(), "160");
  EXPECT_EQ(JSONValue(-3.0).dump(), "-3");
  EXPECT_EQ(JSONValue(9007199254740992.0).dump(), "9007199254740992");
  EXPECT_EQ(JSONValue(-0.0).dump(), "0");
  EXPECT_THROW(JSONValue(std::nan("")).dump(), std::domain_error);
  EXPECT_THROW(JSONValue(std::numeric_limits<double>::infinity()).dump(), std::domain_error);
}

TEST(JSONValueTest, MalformedTextFailsToParse) {
  const char* bad[] = {"",    "{",          "[1,]", "{'a':1}",       "nul",
                       "1 2", R"({"a" 1})", "[1,2", "\"unterminated"};
  for (const char* text : bad) {
    EXPECT_THROW(JSONValue::parse(text), JSONParseError) << text;
    EXPECT_FALSE(JSONValue::tryParse(text).has_value()) << text;
  }
  // Any top-level value is fine.
  EXPECT_EQ(JSONValue::tryParse(" 42 "), JSONValue(42));
  EXPECT_EQ(JSONValue::tryParse(R"("s")"), JSONValue("s"));
}

TEST(JSONValueTest, TextThatIsNotUTF8FailsToParse) {
  const std::string bad[] = {
      "\"\xff\"",          // never valid
      "\"\xc0\xaf\"",      // overlong "/"
      "\"\xed\xa0\x80\"",  // a UTF-16 surrogate
      "\"\xe2\x82\"",      // cut short
  };
  for (const auto& text : bad) {
    EXPECT_THROW(JSONValue::parse(text), JSONParseError);
    EXPECT_FALSE(isValidUTF8(text));
  }
  EXPECT_TRUE(isValidUTF8("plain, é, 日本, 🙂"));
}

TEST(JSONValueTest, RepairReplacesOnlyTheBrokenBytes) {
  EXPECT_EQ(repairUTF8("a\xff"
                       "b"),
            "a\xEF\xBF\xBD"
            "b");
  EXPECT_EQ(repairUTF8("é 日本 🙂"), "é 日本 🙂");
  EXPECT_EQ(repairUTF8(""), "");
  const std::string broken[] = {"\xc0\xaf", "x\xed\xa0\x80y", "end\xe2\x82", "\x80\x80"};
  for (const auto& bytes : broken) {
    std::string repaired = repairUTF8(bytes);
    EXPECT_TRUE(isValidUTF8(repaired));
    EXPECT_NE(repaired.find("\xEF\xBF\xBD"), std::string::npos);
  }
  // A truncated character is one replacement, a stray byte one each.
  EXPECT_EQ(repairUTF8("end\xe2\x82!"), "end\xEF\xBF\xBD!");
  EXPECT_EQ(repairUTF8("\xf0\x9f\x99"), "\xEF\xBF\xBD");
  EXPECT_EQ(repairUTF8("\x80\x80"), "\xEF\xBF\xBD\xEF\xBF\xBD");
  EXPECT_EQ(repairUTF8("\xed\xa0\x80"), "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD");
  // Dumping repairs too, so the writer never emits text a reader would refuse.
  JSONValue back = JSONValue::parse(JSONValue(std::string("a\xff")).dump());
  EXPECT_EQ(back, JSONValue("a\xEF\xBF\xBD"));
}

}  // namespace
}  // namespace vells
