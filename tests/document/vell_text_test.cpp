#include "document/vell_text.h"

#include <gtest/gtest.h>

#include "document/json_fields.h"
#include "document/print_json.h"

namespace vells {
namespace {

JSONValue parsed(std::string_view text) {
  return JSONValue::parse(text);
}

TEST(VellTextTest, OnlyWhatIsSetIsWritten) {
  VellText text;
  text.title = "Plan *faster*\nthan ever";
  EXPECT_EQ(text.encode(), parsed(R"({"title":"Plan *faster*\nthan ever"})"));
  EXPECT_EQ(VellText{}.encode(), JSONValue::object());
}

TEST(VellTextTest, ReadsAllFieldsAndRoundTrips) {
  JSONValue json = parsed(
      R"({"title":"T","subtitle":"S","description":"D","screen":{"greeting":"Hallo"},"extra":1})");
  VellText text = VellText::decode(json);
  EXPECT_EQ(text.title, "T");
  EXPECT_EQ(text.subtitle, "S");
  EXPECT_EQ(text.description, "D");
  ASSERT_TRUE(text.screen);
  EXPECT_EQ(text.screen->at("greeting"), "Hallo");
  // Keys the record doesn't list are not kept.
  EXPECT_EQ(VellText::decode(text.encode()), text);
  EXPECT_EQ(text.encode().find("extra"), nullptr);
}

TEST(VellTextTest, NullIsAbsentAndWrongKindsFail) {
  VellText text = VellText::decode(parsed(R"({"title":null,"screen":null})"));
  EXPECT_EQ(text, VellText{});
  EXPECT_THROW(VellText::decode(parsed(R"({"title":5})")), JSONDecodeError);
  EXPECT_THROW(VellText::decode(parsed(R"({"screen":{"a":1}})")), JSONDecodeError);
  EXPECT_THROW(VellText::decode(parsed(R"({"screen":["a"]})")), JSONDecodeError);
  EXPECT_THROW(VellText::decode(parsed(R"("title")")), JSONDecodeError);
  EXPECT_FALSE(tryDecode<VellText>(parsed(R"({"subtitle":false})")));
}

TEST(TextsDocumentTest, PagesThenLocales) {
  JSONValue json = parsed(R"({
    "p1":{"en":{"title":"Hello"},"de":{"title":"Hallo","subtitle":"Welt"}},
    "p2":{}
  })");
  TextsDocument doc = decodeTextsDocument(json);
  ASSERT_EQ(doc.size(), 2u);
  EXPECT_EQ(doc.at("p1").at("de").subtitle, "Welt");
  EXPECT_TRUE(doc.at("p2").empty());
  EXPECT_EQ(encodeTextsDocument(doc), json);

  EXPECT_TRUE(decodeTextsDocument(JSONValue()).empty());
  EXPECT_THROW(decodeTextsDocument(parsed(R"({"p1":[]})")), JSONDecodeError);
  EXPECT_THROW(decodeTextsDocument(parsed(R"({"p1":{"en":{"title":1}}})")), JSONDecodeError);
}

}  // namespace
}  // namespace vells
