#include "document/records.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "document/json_fields.h"
#include "document/print_json.h"

namespace vells {
namespace {

using Codes = std::vector<std::string>;

TEST(AppConfigTest, OptionalKeysMayBeNullOrMissing) {
  AppConfig config = AppConfig::decode(JSONValue::parse(R"({
    "pages":[{"id":"home","label":"Home"}], "pagesAppId":null, "somethingNew":true,
    "locales":[{"code":"en","nativeName":"English","flag":"🇬🇧"}],
    "sets":[{"id":"s1","name":"Launch","appId":null,"locales":null}]
  })"));
  EXPECT_FALSE(config.pagesAppId || config.apps || config.storeLocales);
  EXPECT_FALSE(config.sets.at(0).appId || config.sets[0].locales || config.locales[0].englishName);
  // Absent optionals are left out rather than written as null.
  EXPECT_EQ(config.sets[0].encode(), JSONValue::parse(R"({"id":"s1","name":"Launch"})"));
  EXPECT_EQ(AppConfig::decode(config.encode()), config);
}

TEST(AppConfigTest, MissingOrMistypedRequiredKeysFail) {
  for (const char* text :
       {R"({"pages":[],"locales":[]})",              // no sets
        R"({"pages":[],"locales":[],"sets":null})",  // null is not a list
        R"({"pages":{},"locales":[],"sets":[]})",    // pages not a list
        R"({"pages":[],"locales":[{"code":"en","nativeName":"English"}],"sets":[]})",  // no flag
        R"({"pages":[],"locales":[],"sets":[{"id":"s1"}]})",  // set without name
        R"({"pages":[],"locales":[],"sets":[{"id":"s1","name":"n","locales":[1]}]})",
        R"({"pages":[],"locales":[],"sets":[],"pagesAppId":7})"})
    EXPECT_THROW(AppConfig::decode(JSONValue::parse(text)), JSONDecodeError) << text;
  EXPECT_NO_THROW(AppConfig::decode(JSONValue::parse(R"({"pages":[],"locales":[],"sets":[]})")));
}

TEST(AppConfigTest, LocalesForASet) {
  auto locale = [](const char* code) { return LocaleRef{code, code, "", std::nullopt}; };
  AppConfig config;
  config.locales = {locale("en"), locale("de"), locale("fr")};
  config.storeLocales = {locale("en-US"), locale("de-DE"), locale("ja"), locale("fr-FR")};
  config.sets = {{"plain", "", {}, {}},
                 {"chosen", "", {}, Codes{"fr-FR", "ja", "xx"}},
                 {"stale", "", {}, Codes{"xx"}},
                 {"old", "", {}, Codes{"de", "en"}}};
  auto forSet = [&](const char* id) {
    Codes out;
    std::ranges::transform(config.localesForSet(id), std::back_inserter(out), &LocaleRef::code);
    return out;
  };
  const Codes all{"en", "de", "fr"}, old{"en", "de"};
  for (const char* id : {"missing", "plain", "stale"})
    EXPECT_EQ(forSet(id), all) << id;
  // The store list's order, not the set's.
  EXPECT_EQ(forSet("chosen"), (Codes{"ja", "fr-FR"}));
  // Codes that are only in `locales` don't match while a store list exists.
  EXPECT_EQ(forSet("old"), all);
  config.storeLocales.reset();
  EXPECT_EQ(forSet("old"), old);
  EXPECT_EQ(forSet("chosen"), all);
}

TEST(RecordsTest, PagesAndOrder) {
  const JSONValue builtin =
      JSONValue::parse(R"({"id":"p1","label":"Home","source":"builtin","builtinId":"home"})");
  EXPECT_EQ(SetPage::decode(builtin).encode(), builtin);
  for (const char* bad :
       {R"({"id":"p","label":"l","source":"video"})", R"({"id":"p","label":"l"})"})
    EXPECT_THROW(SetPage::decode(JSONValue::parse(bad)), JSONDecodeError) << bad;

  // An order document keeps pages it doesn't know.
  JSONValue order = JSONValue::parse(R"({"en":["p2","p1","deleted"],"de":[]})");
  EXPECT_EQ(encodeOrderDocument(decodeOrderDocument(order)), order);
  EXPECT_TRUE(decodeOrderDocument(JSONValue()).empty());
  EXPECT_THROW(decodeOrderDocument(JSONValue::parse(R"({"en":"p1"})")), JSONDecodeError);
}

// The tile files are drawn at the size the table gives, so the two must agree.
TEST(PatternDefTest, TableMatchesTheTileFiles) {
  std::filesystem::path folder = std::filesystem::path(VELLS_TEST_RESOURCES) / "assets/pattern";
  ASSERT_TRUE(std::filesystem::is_directory(folder)) << "no pattern folder at " << folder;
  for (const PatternDef& p : PatternDef::all()) {
    std::stringstream svg;
    svg << std::ifstream(folder / p.file).rdbuf();
    auto attribute = [tag = svg.str().substr(0, svg.str().find('>'))](const std::string& name) {
      const auto at = tag.find(" " + name + "=\"");
      return at == std::string::npos ? -1.0 : std::stod(tag.substr(at + name.size() + 3));
    };
    EXPECT_EQ(attribute("width"), p.tileW) << p.file;
    EXPECT_EQ(attribute("height"), p.tileH) << p.file;
  }
}

}  // namespace
}  // namespace vells
