#include "document/records.h"

#include <filesystem>
#include <fstream>
#include <sstream>
#include <unordered_set>

#include <gtest/gtest.h>

#include "document/json_fields.h"
#include "document/print_json.h"

namespace vells {
namespace {

JSONValue parsed(std::string_view text) {
  return JSONValue::parse(text);
}

std::vector<std::string> codes(const std::vector<LocaleRef>& locales) {
  std::vector<std::string> out;
  for (const auto& l : locales)
    out.push_back(l.code);
  return out;
}

TEST(AppConfigTest, OptionalKeysMayBeNullOrMissing) {
  AppConfig config = AppConfig::decode(parsed(R"({
    "pages":[{"id":"home","label":"Home"}],
    "pagesAppId":null,
    "locales":[{"code":"en","nativeName":"English","flag":"🇬🇧"}],
    "sets":[{"id":"s1","name":"Launch","appId":null,"locales":null}],
    "somethingNew":true
  })"));
  EXPECT_FALSE(config.pagesAppId);
  EXPECT_FALSE(config.apps);
  EXPECT_FALSE(config.storeLocales);
  ASSERT_EQ(config.sets.size(), 1u);
  EXPECT_FALSE(config.sets[0].appId);
  EXPECT_FALSE(config.sets[0].locales);
  EXPECT_FALSE(config.locales[0].englishName);
  // Absent optionals are left out rather than written as null.
  EXPECT_EQ(config.sets[0].encode(), parsed(R"({"id":"s1","name":"Launch"})"));
  EXPECT_EQ(config.encode().find("pagesAppId"), nullptr);
  EXPECT_EQ(AppConfig::decode(config.encode()), config);
}

TEST(AppConfigTest, MissingOrMistypedRequiredKeysFail) {
  const char* bad[] = {
      R"({"pages":[],"locales":[]})",              // no sets
      R"({"pages":[],"locales":[],"sets":null})",  // null is not a list
      R"({"pages":{},"locales":[],"sets":[]})",    // pages not a list
      R"({"pages":[],"locales":[{"code":"en","nativeName":"English"}],"sets":[]})",  // no flag
      R"({"pages":[],"locales":[],"sets":[{"id":"s1"}]})",  // set without name
      R"({"pages":[],"locales":[],"sets":[{"id":"s1","name":"n","locales":[1]}]})",
      R"({"pages":[],"locales":[],"sets":[],"apps":[{"appId":"a","name":"n","icon":"",
          "developer":"d"}]})",  // app without screenshots
      R"({"pages":[],"locales":[],"sets":[],"pagesAppId":7})",
  };
  for (const char* text : bad) {
    EXPECT_THROW(AppConfig::decode(parsed(text)), JSONDecodeError) << text;
  }
  EXPECT_NO_THROW(AppConfig::decode(parsed(R"({"pages":[],"locales":[],"sets":[]})")));
}

TEST(AppConfigTest, LocalesForASet) {
  auto locale = [](const char* code) { return LocaleRef{code, code, "", std::nullopt}; };
  AppConfig config;
  config.locales = {locale("en"), locale("de"), locale("fr")};
  config.storeLocales = {locale("en-US"), locale("de-DE"), locale("ja"), locale("fr-FR")};
  config.sets = {
      {"plain", "Plain", std::nullopt, std::nullopt},
      {"empty", "Empty", std::nullopt, std::vector<std::string>{}},
      {"chosen", "Chosen", std::nullopt, std::vector<std::string>{"fr-FR", "ja", "xx"}},
      {"stale", "Stale", std::nullopt, std::vector<std::string>{"xx"}},
      {"old", "Old", std::nullopt, std::vector<std::string>{"de", "en"}},
  };
  const std::vector<std::string> all{"en", "de", "fr"};
  EXPECT_EQ(codes(config.localesForSet("missing")), all);
  EXPECT_EQ(codes(config.localesForSet("plain")), all);
  EXPECT_EQ(codes(config.localesForSet("empty")), all);
  // The store list's order, not the set's.
  EXPECT_EQ(codes(config.localesForSet("chosen")), (std::vector<std::string>{"ja", "fr-FR"}));
  EXPECT_EQ(codes(config.localesForSet("stale")), all);
  // Codes that are only in `locales` don't match while a store list exists.
  EXPECT_EQ(codes(config.localesForSet("old")), all);

  config.storeLocales = std::vector<LocaleRef>{};
  EXPECT_EQ(codes(config.localesForSet("old")), (std::vector<std::string>{"en", "de"}));
  config.storeLocales.reset();
  EXPECT_EQ(codes(config.localesForSet("old")), (std::vector<std::string>{"en", "de"}));
  EXPECT_EQ(codes(config.localesForSet("chosen")), all);
}

TEST(RecordsTest, PagesAndTheirSource) {
  SetPage page = SetPage::decode(
      parsed(R"({"id":"p1","label":"Home","source":"builtin","builtinId":"home"})"));
  EXPECT_EQ(page.source, PageSource::builtin);
  EXPECT_EQ(page.builtinId, "home");
  EXPECT_EQ(SetPage::decode(page.encode()), page);

  SetPage upload = SetPage::decode(parsed(R"({"id":"p2","label":"Shot","source":"upload"})"));
  EXPECT_EQ(upload.source, PageSource::upload);
  EXPECT_EQ(upload.encode(), parsed(R"({"id":"p2","label":"Shot","source":"upload"})"));
  EXPECT_EQ(SetPage::decode(parsed(R"({"id":"p","label":"l","source":"html"})")).source,
            PageSource::html);
  EXPECT_THROW(SetPage::decode(parsed(R"({"id":"p","label":"l","source":"video"})")),
               JSONDecodeError);
  EXPECT_THROW(SetPage::decode(parsed(R"({"id":"p","label":"l"})")), JSONDecodeError);
}

TEST(RecordsTest, OKResponseTakesFailureAnswersToo) {
  OKResponse failed = OKResponse::decode(parsed(R"({"ok":false,"error":"Unknown set"})"));
  EXPECT_EQ(failed.ok, false);
  EXPECT_EQ(OKResponse::decode(parsed(R"({"ok":true})")).ok, true);
  EXPECT_FALSE(OKResponse::decode(parsed("{}")).ok);
  EXPECT_EQ(OKResponse{}.encode(), JSONValue::object());
  EXPECT_THROW(OKResponse::decode(parsed(R"({"ok":"yes"})")), JSONDecodeError);
}

TEST(RecordsTest, OrderDocumentKeepsUnknownPages) {
  JSONValue json = parsed(R"({"en":["p2","p1","deleted"],"de":[]})");
  OrderDocument order = decodeOrderDocument(json);
  EXPECT_EQ(order.at("en"), (std::vector<std::string>{"p2", "p1", "deleted"}));
  EXPECT_EQ(encodeOrderDocument(order), json);
  EXPECT_TRUE(decodeOrderDocument(JSONValue()).empty());
  EXPECT_THROW(decodeOrderDocument(parsed(R"({"en":"p1"})")), JSONDecodeError);
}

// A number attribute of the first tag of an SVG file.
std::optional<double> svgAttribute(const std::string& svg, const std::string& name) {
  std::string tag = svg.substr(0, svg.find('>'));
  auto at = tag.find(" " + name + "=\"");
  if (at == std::string::npos) return std::nullopt;
  return std::stod(tag.substr(at + name.size() + 3));
}

// The tile files are drawn at the size the table gives, so the two must agree.
TEST(PatternDefTest, TableMatchesTheTileFiles) {
  std::filesystem::path folder = std::filesystem::path(VELLS_TEST_RESOURCES) / "assets/pattern";
  ASSERT_TRUE(std::filesystem::is_directory(folder)) << "no pattern folder at " << folder;
  ASSERT_EQ(PatternDef::all().size(), 4u);
  for (const PatternDef& p : PatternDef::all()) {
    EXPECT_EQ(PatternDef::decode(p.encode()), p);
    std::ifstream in(folder / p.file);
    ASSERT_TRUE(in) << p.file;
    std::stringstream svg;
    svg << in.rdbuf();
    EXPECT_EQ(svgAttribute(svg.str(), "width"), p.tileW) << p.file;
    EXPECT_EQ(svgAttribute(svg.str(), "height"), p.tileH) << p.file;
  }
}

}  // namespace
}  // namespace vells
