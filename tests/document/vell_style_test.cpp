#include "document/vell_style.h"

#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "document/json_fields.h"
#include "document/print_json.h"

namespace vells {
namespace {

VellStyle style(std::string_view text) {
  return VellStyle::decode(JSONValue::parse(text));
}

TEST(StyleFieldTest, NamesAreDistinctAndReadBack) {
  std::set<std::string_view> names;
  for (StyleField f : allStyleFields()) {
    names.insert(rawValue(f));
    EXPECT_EQ(styleFieldFromRaw(rawValue(f)), f) << rawValue(f);
  }
  EXPECT_EQ(names.size(), allStyleFields().size());
  EXPECT_FALSE(styleFieldFromRaw("futureField"));
  EXPECT_FALSE(styleFieldFromRaw("TitleSize"));
}

TEST(ResolvedStyleTest, LocaleWinsFieldByField) {
  EXPECT_EQ(ResolvedStyle::resolve(nullptr, nullptr), ResolvedStyle{});
  VellStyle page = style(R"({"titleSize":80,"gradFrom":"#111111","layers":[{"id":"a"}]})");
  VellStyle locale = style(R"({"titleSize":60,"layers":[]})");
  ResolvedStyle both = ResolvedStyle::resolve(&page, &locale);
  EXPECT_EQ(both.titleSize, 60);
  EXPECT_EQ(both.gradFrom, "#111111");
  // A language's layers replace the page's list, they don't merge with it.
  EXPECT_EQ(both.layers, JSONValue::array());
  EXPECT_EQ(ResolvedStyle::resolve(&page, nullptr).layers, JSONValue::parse(R"([{"id":"a"}])"));
  EXPECT_EQ(ResolvedStyle::resolve(nullptr, &locale).gradFrom, ResolvedStyle{}.gradFrom);
}

TEST(ResolvedStyleTest, ResolvesFromTheStylesDocument) {
  const JSONValue text = JSONValue::parse(R"({
    "p1":{"titleSize":80,"textPos":"bottom"},"p1@de":{"titleSize":60},"p2@de":{"titleSize":40}
  })");
  StylesDocument doc = decodeStylesDocument(text);
  ResolvedStyle de = resolveStyle(doc, "p1", "de");
  EXPECT_EQ(de.titleSize, 60);
  EXPECT_EQ(de.textPos, "bottom");
  EXPECT_EQ(resolveStyle(doc, "p1", "fr").titleSize, 80);
  EXPECT_EQ(resolveStyle(doc, "p2", "de").titleSize, 40);
  EXPECT_EQ(resolveStyle(doc, "p2", "fr"), ResolvedStyle{});
  EXPECT_EQ(encodeStylesDocument(doc), text);
  EXPECT_TRUE(decodeStylesDocument(JSONValue()).empty());
  // One broken entry makes the whole document unreadable rather than silently dropping it.
  EXPECT_THROW(decodeStylesDocument(JSONValue::parse(R"({"p1":{},"p2":{"titleSize":"big"}})")),
               JSONDecodeError);
}

TEST(VellStyleTest, WrongKindFailsTheWholeStyle) {
  for (const char* text :
       {R"({"titleSize":"big"})", R"({"titleColor":5})", R"({"phoneScale":true})",
        R"({"titleSize":66,"decor":["none"]})", "[]", "null"}) {
    EXPECT_THROW(style(text), JSONDecodeError) << text;
  }
  EXPECT_THAT([] { style(R"({"titleSize":"big"})"); },
              ::testing::ThrowsMessage<JSONDecodeError>(::testing::HasSubstr("titleSize")));
}

TEST(VellStyleTest, RoundTripKeepsEverythingIncludingUnknownKeys) {
  JSONValue text = JSONValue::parse(R"({
    "titleSize":72.5, "accentColor":"#ff0000", "decor":"none",
    "layers":[{"id":"a","kind":"text","x":1,"y":2,"w":3,"glow":true}],
    "futureField":{"nested":[1,"two",null]}, "alsoNew":null
  })");
  VellStyle s = VellStyle::decode(text);
  EXPECT_EQ(s.titleSize, 72.5);
  EXPECT_EQ(s.encode(), text);
  // A modelled field set to null is absent.
  EXPECT_EQ(style(R"({"titleSize":null,"layers":null,"titleColor":null})"), VellStyle{});

  s.set(StyleField::titleSize, JSONValue(90));
  JSONValue after = s.encode();
  EXPECT_EQ(*after.find("futureField"), *text.find("futureField"));
  EXPECT_EQ(after.numberAt("titleSize"), 90.0);
  EXPECT_EQ(VellStyle::decode(after), s);
}

TEST(VellStyleTest, SubscriptWriteFollowsTheFieldsKind) {
  // A number field takes numbers and booleans; anything else clears it.
  for (auto [value, want] : std::vector<std::pair<JSONValue, std::optional<double>>>{
           {JSONValue(true), 1.0},
           {JSONValue(false), 0.0},
           {JSONValue(700), 700.0},
           {JSONValue("700"), std::nullopt},
           {JSONValue(), std::nullopt},
           {JSONValue::array(), std::nullopt}}) {
    VellStyle s;
    s.titleWeight = 5;
    s.set(StyleField::titleWeight, value);
    EXPECT_EQ(s.titleWeight, want) << value.dump();
  }
  // A text field takes only text; a json field anything.
  VellStyle s;
  s.set(StyleField::titleColor, JSONValue("#123456"));
  EXPECT_EQ(s.titleColor, "#123456");
  s.set(StyleField::titleColor, JSONValue(true));
  EXPECT_FALSE(s.titleColor);
  s.set(StyleField::layers, JSONValue("not a list"));
  EXPECT_EQ(s.layers, JSONValue("not a list"));
  s.set(StyleField::layers, std::nullopt);
  EXPECT_FALSE(s.layers);
  EXPECT_TRUE(s.unknown.empty());
}

TEST(ResolvedStyleTest, SubscriptWriteNeverLeavesAFieldEmpty) {
  ResolvedStyle r;
  for (auto [value, want] : std::vector<std::pair<JSONValue, double>>{
           {JSONValue("x"), 0}, {JSONValue(true), 1}, {JSONValue(42.5), 42.5}, {JSONValue(), 0}}) {
    r.set(StyleField::titleSize, value);
    EXPECT_EQ(r.titleSize, want) << value.dump();
  }
  r.set(StyleField::titleColor, JSONValue(1));
  EXPECT_EQ(r.titleColor, "");
  r.set(StyleField::layers, JSONValue());
  EXPECT_TRUE(r[StyleField::layers].isNull());
}

TEST(ResolvedStyleTest, EveryFieldWrittenThroughTheSubscriptReadsBack) {
  // Both sides of each field go through one table; this catches a row that
  // points one name at another member.
  VellStyle s;
  ResolvedStyle r;
  double n = 1;
  for (StyleField f : allStyleFields()) {
    const StyleFieldType type = styleFieldType(f);
    const JSONValue v = type == StyleFieldType::string   ? JSONValue(std::string(rawValue(f)))
                        : type == StyleFieldType::number ? JSONValue(n++)
                                                         : JSONValue::array({JSONValue(n++)});
    s.set(f, v);
    r.set(f, v);
  }
  JSONValue encoded = s.encode();
  for (StyleField f : allStyleFields()) {
    ASSERT_TRUE(s[f]) << rawValue(f);
    EXPECT_EQ(*s[f], r[f]) << rawValue(f);
    EXPECT_EQ(*encoded.find(rawValue(f)), r[f]) << rawValue(f);
  }
  EXPECT_EQ(ResolvedStyle::resolve(&s, nullptr), r);
  EXPECT_EQ(JSONValue(r.asJSON()), encoded);
}

}  // namespace
}  // namespace vells
