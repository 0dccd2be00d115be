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

TEST(AppConfigTest, FullConfigRoundTrips) {
  JSONValue json = parsed(R"({
    "pages":[{"id":"home","label":"Home"},{"id":"stats","label":"Stats"}],
    "pagesAppId":"app1",
    "locales":[{"code":"en","nativeName":"English","flag":"🇬🇧","englishName":"English"}],
    "storeLocales":[{"code":"de","nativeName":"Deutsch","flag":"🇩🇪","englishName":"German"}],
    "sets":[{"id":"s1","name":"Launch","appId":"app1","locales":["de"]}],
    "apps":[{"appId":"app1","name":"Orvo","icon":"/api/orvo/app-icon/a.png","developer":"Me",
             "screenshots":["https://x/1.png"],"platforms":["ios"],"about":"A","audience":"B",
             "category":"C","unlisted":false,"storeUrl":"https://store/app1"}]
  })");
  AppConfig config = AppConfig::decode(json);
  EXPECT_EQ(config.encode(), json);
  ASSERT_TRUE(config.apps);
  EXPECT_EQ((*config.apps)[0].unlisted, false);
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

TEST(RecordsTest, WholeNumbersWhereTheRouteSaysInteger) {
  GalleryStatus status =
      GalleryStatus::decode(parsed(R"({"ready":["a","b"],"total":12,"rendering":true})"));
  EXPECT_EQ(status.total, 12);
  EXPECT_EQ(status.ready.size(), 2u);
  EXPECT_EQ(GalleryStatus::decode(status.encode()), status);
  EXPECT_THROW(GalleryStatus::decode(parsed(R"({"ready":[],"total":2.5,"rendering":true})")),
               JSONDecodeError);
  EXPECT_THROW(GalleryStatus::decode(parsed(R"({"ready":[],"total":1e30,"rendering":true})")),
               JSONDecodeError);
  EXPECT_THROW(GalleryStatus::decode(parsed(R"({"ready":[],"total":3})")), JSONDecodeError);

  EXPECT_EQ(RemovedResponse::decode(parsed(R"({"removed":4.0})")).removed, 4);
  EXPECT_THROW(RemovedResponse::decode(parsed(R"({"removed":"4"})")), JSONDecodeError);
  EXPECT_EQ(StickerPack::decode(parsed(R"({"id":"cats","name":"Cats","count":9})")).count, 9);
  EXPECT_THROW(StickerPack::decode(parsed(R"({"id":"cats","name":"Cats","count":-0.5})")),
               JSONDecodeError);
}

TEST(RecordsTest, SmallAnswersRoundTrip) {
  const char* screenTexts = R"({"entries":[{"key":"greeting","value":"Hi"}],
                                 "overrides":{"greeting":"Hallo"}})";
  EXPECT_EQ(ScreenTextsResponse::decode(parsed(screenTexts)).encode(), parsed(screenTexts));
  EXPECT_THROW(ScreenTextsResponse::decode(parsed(R"({"entries":[]})")), JSONDecodeError);
  EXPECT_THROW(ScreenTextsResponse::decode(parsed(R"({"entries":[],"overrides":{"a":1}})")),
               JSONDecodeError);

  const char* slot = R"({"page":"home","os":"ios","locale":"de","appearance":"dark"})";
  EXPECT_EQ(ScreenSlot::decode(parsed(slot)).encode(), parsed(slot));
  ScreenSlot bare = ScreenSlot::decode(parsed(R"({"page":"home","os":"android","locale":null})"));
  EXPECT_FALSE(bare.locale);
  EXPECT_EQ(bare.encode(), parsed(R"({"page":"home","os":"android"})"));

  const char* item = R"({"name":"Cat","file":"cat.png"})";
  EXPECT_EQ(StickerItem::decode(parsed(item)).encode(), parsed(item));
  EXPECT_EQ(ExistsResponse::decode(parsed(R"({"exists":true})")).exists, true);
  EXPECT_THROW(ExistsResponse::decode(parsed("{}")), JSONDecodeError);
  EXPECT_FALSE(tryDecode<ExistsResponse>(parsed("[]")));
}

TEST(RecordsTest, EqualRecordsHashAlike) {
  VellSet a = VellSet::decode(parsed(R"({"id":"s","name":"n","appId":null})"));
  VellSet b = VellSet::decode(parsed(R"({"name":"n","id":"s"})"));
  VellSet c = VellSet::decode(parsed(R"({"id":"s","name":"n","locales":[]})"));
  EXPECT_EQ(a, b);
  EXPECT_EQ(std::hash<VellSet>{}(a), std::hash<VellSet>{}(b));
  // An empty choice is not the same as no choice.
  EXPECT_NE(a, c);
  std::unordered_set<VellSet> sets{a, b, c};
  EXPECT_EQ(sets.size(), 2u);

  std::unordered_set<PatternDef> patterns(PatternDef::all().begin(), PatternDef::all().end());
  EXPECT_EQ(patterns.size(), 4u);
  std::unordered_set<LocaleRef> locales{{"en", "English", "", std::nullopt},
                                        {"en", "English", "", "English"}};
  EXPECT_EQ(locales.size(), 2u);
}

TEST(RecordsTest, DevicesAndThemes) {
  EXPECT_EQ(compositeSize(DeviceOS::ios), (CanvasSize{621, 1344}));
  EXPECT_EQ(compositeSize(DeviceOS::android), (CanvasSize{642, 1389}));
  for (DeviceOS os : allDeviceOS)
    EXPECT_EQ(deviceOSFromRaw(rawValue(os)), os);
  for (ThemeName t : allThemeNames)
    EXPECT_EQ(themeNameFromRaw(rawValue(t)), t);
  EXPECT_EQ(rawValue(allDeviceOS[0]), "ios");
  EXPECT_EQ(rawValue(allThemeNames[0]), "dark");
  EXPECT_FALSE(deviceOSFromRaw("iOS"));
  EXPECT_FALSE(themeNameFromRaw(""));
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
