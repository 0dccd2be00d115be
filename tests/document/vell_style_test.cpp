#include "document/vell_style.h"

#include <set>

#include <gtest/gtest.h>

#include "document/json_fields.h"
#include "document/print_json.h"

namespace vells {
namespace {

JSONValue parsed(std::string_view text) {
  return JSONValue::parse(text);
}
VellStyle style(std::string_view text) {
  return VellStyle::decode(parsed(text));
}

TEST(StyleFieldTest, FieldsAreTheJSONKeysInResolutionOrder) {
  const auto& fields = allStyleFields();
  ASSERT_EQ(fields.size(), 34u);
  std::set<std::string_view> names;
  for (std::size_t i = 0; i < fields.size(); ++i) {
    EXPECT_EQ(static_cast<std::size_t>(fields[i]), i);
    std::string_view raw = rawValue(fields[i]);
    names.insert(raw);
    EXPECT_EQ(styleFieldFromRaw(raw), fields[i]) << raw;
  }
  EXPECT_EQ(names.size(), 34u);
  EXPECT_EQ(rawValue(fields.front()), "titleSize");
  EXPECT_EQ(rawValue(fields.back()), "titleAlign");
  EXPECT_EQ(rawValue(fields[7]), "phoneOffsetY");
  EXPECT_EQ(rawValue(fields[8]), "decor");
  EXPECT_EQ(rawValue(fields[9]), "gradFrom");
  EXPECT_FALSE(styleFieldFromRaw("futureField"));
  EXPECT_FALSE(styleFieldFromRaw("TitleSize"));
  EXPECT_EQ(styleFieldType(StyleField::titleSize), StyleFieldType::number);
  EXPECT_EQ(styleFieldType(StyleField::decor), StyleFieldType::string);
  EXPECT_EQ(styleFieldType(StyleField::layers), StyleFieldType::json);
}

TEST(ResolvedStyleTest, NothingStoredGivesTheDefaults) {
  ResolvedStyle resolved = ResolvedStyle::resolve(nullptr, nullptr);
  EXPECT_EQ(resolved, ResolvedStyle{});
  VellStyle empty;
  EXPECT_EQ(ResolvedStyle::resolve(&empty, &empty), resolved);

  // The default of each field, as the core script expects it.
  JSONValue expected = parsed(R"json({
    "titleSize":66, "titleColor":"#ffffff", "accentColor":"#ffd54a", "subtitleSize":32,
    "subtitleColor":"rgba(255,255,255,0.85)", "textPos":"top", "phoneScale":1,
    "phoneOffsetY":0, "gradFrom":"#07184a", "gradVia":"#0052cc", "gradTo":"#0093fd",
    "gradAngle":160, "strokeOpacity":0.25, "decor":"playful", "titleStroke":0,
    "titleStrokeColor":"#000000", "phoneRotateX":0, "phoneRotateY":0, "phoneRotateZ":0,
    "phonePerspective":1800, "bgPattern":"none", "bgPatternOpacity":0.08,
    "bgPatternScale":1, "bgPatternColor":"#000000", "titleLineHeight":1.12,
    "phoneOffsetX":0, "titleOffsetX":0, "titleOffsetY":0, "titleWidth":0, "layers":[],
    "titleFont":"nunito", "titleWeight":0, "titleLetterSpacing":-0.03, "titleAlign":"center"
})json");
  EXPECT_EQ(JSONValue(resolved.asJSON()), expected);
  for (StyleField f : allStyleFields()) {
    EXPECT_EQ(resolved[f], *expected.find(rawValue(f))) << rawValue(f);
  }
}

TEST(ResolvedStyleTest, LocaleWinsFieldByField) {
  VellStyle page = style(R"({"titleSize":80,"gradFrom":"#111111","layers":[{"id":"a"}]})");
  VellStyle locale = style(R"({"titleSize":60,"layers":[]})");

  ResolvedStyle both = ResolvedStyle::resolve(&page, &locale);
  EXPECT_EQ(both.titleSize, 60);
  EXPECT_EQ(both.gradFrom, "#111111");
  // A language's layers replace the page's list, they don't merge with it.
  EXPECT_EQ(both.layers, JSONValue::array());
  EXPECT_EQ(both.titleColor, ResolvedStyle{}.titleColor);

  ResolvedStyle pageOnly = ResolvedStyle::resolve(&page, nullptr);
  EXPECT_EQ(pageOnly.titleSize, 80);
  EXPECT_EQ(pageOnly.layers, parsed(R"([{"id":"a"}])"));

  ResolvedStyle localeOnly = ResolvedStyle::resolve(nullptr, &locale);
  EXPECT_EQ(localeOnly.titleSize, 60);
  EXPECT_EQ(localeOnly.gradFrom, "#07184a");
}

TEST(ResolvedStyleTest, ResolvesFromTheStylesDocument) {
  StylesDocument doc = decodeStylesDocument(parsed(R"({
    "p1":{"titleSize":80,"textPos":"bottom"},
    "p1@de":{"titleSize":60},
    "p2@de":{"titleSize":40}
  })"));
  EXPECT_EQ(styleKey("p1"), "p1");
  EXPECT_EQ(styleKey("p1", "de"), "p1@de");

  ResolvedStyle de = resolveStyle(doc, "p1", "de");
  EXPECT_EQ(de.titleSize, 60);
  EXPECT_EQ(de.textPos, "bottom");
  EXPECT_EQ(resolveStyle(doc, "p1", "fr").titleSize, 80);
  EXPECT_EQ(resolveStyle(doc, "p2", "de").titleSize, 40);
  EXPECT_EQ(resolveStyle(doc, "p2", "fr"), ResolvedStyle{});
  EXPECT_EQ(resolveStyle(doc, "p3", "de"), ResolvedStyle{});

  EXPECT_TRUE(decodeStylesDocument(JSONValue()).empty());
  EXPECT_EQ(encodeStylesDocument(doc), parsed(R"({
    "p1":{"titleSize":80,"textPos":"bottom"},"p1@de":{"titleSize":60},"p2@de":{"titleSize":40}
  })"));
  // One broken entry makes the whole document unreadable rather than silently dropping it.
  EXPECT_THROW(decodeStylesDocument(parsed(R"({"p1":{},"p2":{"titleSize":"big"}})")),
               JSONDecodeError);
}

TEST(VellStyleTest, WrongKindFailsTheWholeStyle) {
  EXPECT_THROW(style(R"({"titleSize":"big"})"), JSONDecodeError);
  EXPECT_THROW(style(R"({"titleColor":5})"), JSONDecodeError);
  EXPECT_THROW(style(R"({"phoneScale":true})"), JSONDecodeError);
  EXPECT_THROW(style(R"({"titleSize":66,"decor":["none"]})"), JSONDecodeError);
  EXPECT_THROW(style("[]"), JSONDecodeError);
  EXPECT_THROW(style("null"), JSONDecodeError);
  try {
    style(R"({"titleSize":"big"})");
  } catch (const JSONDecodeError& e) {
    EXPECT_NE(std::string(e.what()).find("titleSize"), std::string::npos) << e.what();
  }
}

TEST(VellStyleTest, NullMeansAbsent) {
  VellStyle s = style(R"({"titleSize":null,"layers":null,"titleColor":null})");
  EXPECT_EQ(s, VellStyle{});
  EXPECT_EQ(s.encode(), JSONValue::object());
  for (StyleField f : allStyleFields())
    EXPECT_FALSE(s[f]) << rawValue(f);
}

TEST(VellStyleTest, RoundTripKeepsEverythingIncludingUnknownKeys) {
  JSONValue text = parsed(R"({
    "titleSize":72.5, "accentColor":"#ff0000", "decor":"none",
    "layers":[{"id":"a","kind":"text","x":1,"y":2,"w":3,"glow":true}],
    "futureField":{"nested":[1,"two",null]}, "alsoNew":null
  })");
  VellStyle s = VellStyle::decode(text);
  EXPECT_EQ(s.titleSize, 72.5);
  EXPECT_EQ(s.accentColor, "#ff0000");
  ASSERT_TRUE(s.layers);
  EXPECT_TRUE(s.layers->isArray());
  ASSERT_EQ(s.unknown.size(), 2u);
  EXPECT_EQ(s.unknown.at("futureField"), parsed(R"({"nested":[1,"two",null]})"));
  EXPECT_TRUE(s.unknown.at("alsoNew").isNull());
  EXPECT_EQ(s.encode(), text);

  s.set(StyleField::titleSize, JSONValue(90));
  JSONValue after = s.encode();
  ASSERT_NE(after.find("futureField"), nullptr);
  EXPECT_EQ(*after.find("futureField"), *text.find("futureField"));
  EXPECT_EQ(after.numberAt("titleSize"), 90.0);
  EXPECT_EQ(VellStyle::decode(after), s);
}

TEST(VellStyleTest, SubscriptWriteFollowsTheFieldsKind) {
  VellStyle s;
  s.set(StyleField::titleWeight, JSONValue(true));
  EXPECT_EQ(s.titleWeight, 1.0);
  s.set(StyleField::titleWeight, JSONValue(false));
  EXPECT_EQ(s.titleWeight, 0.0);
  s.set(StyleField::titleWeight, JSONValue(700));
  EXPECT_EQ(s.titleWeight, 700.0);
  for (const JSONValue& other : {JSONValue("700"), JSONValue(), JSONValue::array()}) {
    s.titleWeight = 700;
    s.set(StyleField::titleWeight, other);
    EXPECT_FALSE(s.titleWeight) << other.dump();
  }
  s.titleWeight = 700;
  s.set(StyleField::titleWeight, std::nullopt);
  EXPECT_FALSE(s.titleWeight);

  s.set(StyleField::titleColor, JSONValue("#123456"));
  EXPECT_EQ(s.titleColor, "#123456");
  s.set(StyleField::titleColor, JSONValue(1));
  EXPECT_FALSE(s.titleColor);
  s.titleColor = "#123456";
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
  r.set(StyleField::titleSize, JSONValue("x"));
  EXPECT_EQ(r.titleSize, 0);
  r.set(StyleField::titleSize, JSONValue(true));
  EXPECT_EQ(r.titleSize, 1);
  r.set(StyleField::titleSize, JSONValue(42.5));
  EXPECT_EQ(r.titleSize, 42.5);
  r.set(StyleField::titleSize, JSONValue());
  EXPECT_EQ(r.titleSize, 0);

  r.set(StyleField::titleColor, JSONValue(1));
  EXPECT_EQ(r.titleColor, "");
  r.set(StyleField::titleColor, JSONValue("#abcdef"));
  EXPECT_EQ(r.titleColor, "#abcdef");
  EXPECT_EQ(r[StyleField::titleColor], JSONValue("#abcdef"));

  r.set(StyleField::layers, JSONValue());
  EXPECT_TRUE(r.layers.isNull());
  EXPECT_TRUE(r[StyleField::layers].isNull());
}

TEST(ResolvedStyleTest, EveryFieldWrittenThroughTheSubscriptReadsBack) {
  // Both sides of each field go through one table; this catches a row that
  // points one name at another member.
  VellStyle s;
  ResolvedStyle r;
  double n = 1;
  for (StyleField f : allStyleFields()) {
    JSONValue v;
    switch (styleFieldType(f)) {
      case StyleFieldType::number:
        v = JSONValue(n++);
        break;
      case StyleFieldType::string:
        v = JSONValue(std::string(rawValue(f)));
        break;
      case StyleFieldType::json:
        v = JSONValue::array({JSONValue(n++)});
        break;
    }
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
