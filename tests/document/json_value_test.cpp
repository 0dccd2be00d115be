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

TEST(JSONValueTest, EqualityAndHashIgnoreSpellingAndKeyOrder) {
  const std::pair<const char*, const char*> same[] = {
      {R"({"a":1})", R"({"a":1.0})"},
      {"1e2", "100"},
      {"-0.0", "0"},  // equal doubles must also hash alike
      {R"({"a":1,"b":{"x":[1,2],"y":"z"}})", R"({"b":{"y":"z","x":[1,2]},"a":1})"}};
  for (auto [a, b] : same) {
    EXPECT_EQ(parsed(a), parsed(b)) << a;
    EXPECT_EQ(parsed(a).hash(), parsed(b).hash()) << a;
    EXPECT_EQ(parsed(a).dump(), parsed(b).dump()) << a;
  }
  // Kinds stay apart, null inside a container is kept, and array order matters.
  const std::pair<const char*, const char*> different[] = {
      {"1", "1.5"},      {"true", "1"},  {"false", "0"}, {R"("1")", "1"},
      {"[]", "{}"},      {"[]", "null"}, {"{}", "null"}, {R"({"gone":null})", "{}"},
      {"[1,2]", "[2,1]"}};
  for (auto [a, b] : different)
    EXPECT_NE(parsed(a), parsed(b)) << a << " vs " << b;
  EXPECT_EQ(parsed("true").asNumber(), nullptr);
  EXPECT_EQ(parsed("[null]").dump(), "[null]");
  EXPECT_TRUE(parsed(R"({"gone":null})").find("gone")->isNull());
}

TEST(JSONValueTest, DumpedNumbersReadBackExactly) {
  for (double d : {0.0, -3.0, 0.1, 1.12, -0.03, 1e21, 1e-7, 0.1 + 0.2, 1.0 / 3.0,
                   9007199254740992.0, -1e300, std::numeric_limits<double>::min()}) {
    const std::string text = JSONValue(d).dump();
    EXPECT_EQ(JSONValue::parse(text), JSONValue(d)) << text;
  }
  // Integral values go out without a fraction, so stored coordinates stay whole.
  EXPECT_EQ(JSONValue(160.0).dump(), "160");
  EXPECT_EQ(JSONValue(9007199254740992.0).dump(), "9007199254740992");
  EXPECT_EQ(JSONValue(-0.0).dump(), "0");
  EXPECT_THROW(JSONValue(std::nan("")).dump(), std::domain_error);
  EXPECT_THROW(JSONValue(std::numeric_limits<double>::infinity()).dump(), std::domain_error);
}

TEST(JSONValueTest, MalformedTextFailsToParse) {
  for (const std::string text :
       {"", "{", "[1,]", "{'a':1}", "nul", "1 2", R"({"a" 1})", "[1,2", "\"unterminated",
        "\"\xff\"", "\"\xc0\xaf\"", "\"\xed\xa0\x80\"", "\"\xe2\x82\""}) {
    EXPECT_THROW(JSONValue::parse(text), JSONParseError) << text;
    EXPECT_FALSE(JSONValue::tryParse(text).has_value()) << text;
  }
  // Any top-level value is fine.
  EXPECT_EQ(JSONValue::tryParse(" 42 "), JSONValue(42));
  EXPECT_EQ(JSONValue::tryParse(R"("s")"), JSONValue("s"));
}

TEST(JSONValueTest, NestingIsBoundedBeforeAnythingRecurses) {
  const auto nested = [](std::size_t depth, char open, char close) {
    return std::string(depth, open) + std::string(depth, close);
  };
  EXPECT_NO_THROW(JSONValue::parse(nested(JSONValue::maxDepth, '[', ']')));
  EXPECT_THROW(JSONValue::parse(nested(JSONValue::maxDepth + 1, '[', ']')), JSONDepthError);
  // Deep enough to exhaust the stack of any recursive reader.
  EXPECT_THROW(JSONValue::parse(nested(1000000, '[', ']')), JSONDepthError);
  EXPECT_THROW(JSONValue::parse(std::string(1000000, '{')), JSONDepthError);
  std::string objects;
  for (std::size_t i = 0; i <= JSONValue::maxDepth; ++i)
    objects += "{\"a\":";
  EXPECT_THROW(JSONValue::parse(objects + "1" + std::string(JSONValue::maxDepth + 1, '}')),
               JSONDepthError);
  // Brackets in strings, escaped quotes included, are text.
  const JSONValue text = JSONValue::parse("[\"\\\"" + std::string(5000, '[') + "\"]");
  EXPECT_EQ(text.asArray()->at(0).asString()->size(), 5001u);
  EXPECT_FALSE(JSONValue::tryParse(nested(300, '[', ']')));
}

TEST(JSONValueTest, RepairReplacesOnlyTheBrokenBytes) {
  const std::string bad = "\xEF\xBF\xBD";  // U+FFFD
  EXPECT_TRUE(isValidUTF8("plain, é, 日本, 🙂"));
  EXPECT_EQ(repairUTF8("é 日本 🙂"), "é 日本 🙂");
  // Never valid, overlong "/", a UTF-16 surrogate, cut short.
  for (const std::string broken : {"\xff", "\xc0\xaf", "\xed\xa0\x80", "\xe2\x82"}) {
    EXPECT_FALSE(isValidUTF8(broken));
    EXPECT_TRUE(isValidUTF8(repairUTF8("x" + broken + "y")));
  }
  // A truncated character is one replacement, a stray byte one each.
  EXPECT_EQ(repairUTF8("a\xff"
                       "b"),
            "a" + bad + "b");
  EXPECT_EQ(repairUTF8("end\xe2\x82!"), "end" + bad + "!");
  EXPECT_EQ(repairUTF8("\xf0\x9f\x99"), bad);
  EXPECT_EQ(repairUTF8("\x80\x80"), bad + bad);
  EXPECT_EQ(repairUTF8("\xed\xa0\x80"), bad + bad + bad);
  // Dumping repairs too, so the writer never emits text a reader would refuse.
  EXPECT_EQ(JSONValue::parse(JSONValue(std::string("a\xff")).dump()), JSONValue("a" + bad));
}

}  // namespace
}  // namespace vells
