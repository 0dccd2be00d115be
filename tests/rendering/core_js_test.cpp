// The shipped core.js, loaded through the real script host: its catalogue,
// its style resolution measured against the native ResolvedStyle, and the
// cache names on which the whole render cache relies.

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "backend/test_support.h"
#include "document/vell_style.h"
#include "rendering/core_js.h"

namespace vells::testing {
namespace {

using backend::CoreError;
using rendering::CoreJS;
using rendering::Documents;

const fs::path kResources = fs::path(VELLS_SOURCE_RESOURCES);

CoreJS& shippedCore() {
  static CoreJS core(kResources);
  return core;
}

std::string readText(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  std::stringstream out;
  out << in.rdbuf();
  return out.str();
}

JSONValue parse(std::string_view text) {
  return JSONValue::parse(text);
}

const JSONValue::Array& arrayAt(const JSONValue::Object& object, const std::string& key) {
  auto it = object.find(key);
  if (it == object.end() || !it->second.isArray()) {
    static const JSONValue::Array empty;
    ADD_FAILURE() << key << " is not an array";
    return empty;
  }
  return *it->second.asArray();
}

// The arguments the composite pipeline passes for one page.
JSONValue pageArgs(const std::string& set = "default", const std::string& page = "home",
                   const std::string& os = "ios", const std::string& theme = "dark",
                   const std::string& locale = "en") {
  return JSONValue::Object{{"set", set},     {"page", page},     {"os", os},
                           {"theme", theme}, {"locale", locale}, {"isUploaded", false}};
}

JSONValue compositeArgs(JSONValue args = pageArgs()) {
  args["hasBackground"] = false;
  args["overlayMtimeMs"] = nullptr;
  args["screenMtimeMs"] = nullptr;
  args["calloutAspect"] = nullptr;
  return args;
}

JSONValue plan(CoreJS& core, const Documents& docs, const JSONValue& args = pageArgs()) {
  auto value = core.callWithDocs("pagePlan", docs, args);
  if (!value || !value->isObject()) {
    ADD_FAILURE() << "pagePlan gave no object";
    return JSONValue::Object{};
  }
  return *value;
}

std::string compositeName(CoreJS& core, const Documents& docs,
                          const JSONValue& args = compositeArgs()) {
  auto name = core.stringWithDocs("compositeName", docs, args);
  if (!name) {
    ADD_FAILURE() << "compositeName gave no string";
    return {};
  }
  return *name;
}

// The native reading of one stored level: an entry that fails to decode is no entry.
std::optional<VellStyle> decodedLevel(const JSONValue& styles, const std::string& key) {
  const JSONValue* entry = styles.find(key);
  if (!entry) return std::nullopt;
  try {
    return VellStyle::decode(*entry);
  } catch (const std::exception&) {
    return std::nullopt;
  }
}

JSONValue nativeResolved(const JSONValue& styles, const std::string& page,
                         const std::string& locale) {
  auto pageLevel = decodedLevel(styles, styleKey(page));
  auto localeLevel = decodedLevel(styles, styleKey(page, locale));
  return JSONValue(ResolvedStyle::resolve(pageLevel ? &*pageLevel : nullptr,
                                          localeLevel ? &*localeLevel : nullptr)
                       .asJSON());
}

// A value of the field's kind that differs from its default by `step`.
JSONValue otherValue(StyleField field, int step) {
  const JSONValue fallback = ResolvedStyle{}[field];
  switch (styleFieldType(field)) {
    case StyleFieldType::number:
      return *fallback.asNumber() + 0.5 * step + 1;
    case StyleFieldType::string:
      return *fallback.asString() + "-" + std::to_string(step);
    case StyleFieldType::json:
      return JSONValue::Array{JSONValue::Object{
          {"id", "layer-" + std::to_string(step)}, {"kind", "text"}, {"text", "Hello"}}};
  }
  return nullptr;
}

// ---------------------------------------------------------------------------

TEST(CoreScriptCatalogue, DescribesTheSampleAppAndTheStore) {
  auto catalog = shippedCore().catalog();
  ASSERT_FALSE(catalog->empty());
  const JSONValue root(*catalog);

  const auto& pages = arrayAt(*catalog, "pages");
  EXPECT_GE(pages.size(), 5u);
  std::set<std::string> pageIds;
  for (const auto& page : pages) {
    auto id = page.stringAt("id");
    ASSERT_TRUE(id);
    EXPECT_FALSE(id->empty());
    EXPECT_TRUE(page.stringAt("label").has_value()) << *id;
    EXPECT_TRUE(pageIds.insert(*id).second) << "duplicate page " << *id;
  }
  EXPECT_TRUE(root.stringAt("pagesAppId").has_value());
  EXPECT_TRUE(root.stringAt("pagesAppName").has_value());

  const auto& store = arrayAt(*catalog, "storeLocales");
  const auto& codes = arrayAt(*catalog, "storeLocaleCodes");
  EXPECT_GE(store.size(), 39u);
  ASSERT_EQ(store.size(), codes.size());
  std::set<std::string> storeCodes;
  for (std::size_t i = 0; i < store.size(); ++i) {
    for (const char* key : {"code", "nativeName", "flag", "englishName"}) {
      EXPECT_TRUE(store[i].stringAt(key).has_value()) << i << " " << key;
    }
    ASSERT_TRUE(codes[i].isString());
    EXPECT_EQ(store[i].stringAt("code"), *codes[i].asString());
    EXPECT_TRUE(storeCodes.insert(store[i].stringAt("code").value_or("")).second);
  }

  std::set<std::string> offered;
  for (const auto& locale : arrayAt(*catalog, "locales")) {
    for (const char* key : {"code", "nativeName", "flag", "englishName", "label"}) {
      EXPECT_TRUE(locale.stringAt(key).has_value()) << key;
    }
    const std::string code = locale.stringAt("code").value_or("");
    EXPECT_TRUE(storeCodes.count(code)) << code << " is offered but isn't a store locale";
    offered.insert(code);
  }
  for (const char* code :
       {"en", "de", "fr", "es", "it", "ja", "ko", "zh-Hans", "pt-BR", "ar", "fa"}) {
    EXPECT_TRUE(offered.count(code)) << code;
  }

  EXPECT_EQ(*root.find("devices"), parse(R"({"ios":{"width":393,"height":852,"radius":52},
                      "android":{"width":412,"height":915,"radius":34}})"));
  EXPECT_EQ(*root.find("compositeDims"),
            parse(R"({"ios":{"w":621,"h":1344},"android":{"w":642,"h":1389}})"));
  EXPECT_EQ(root.numberAt("phoneScale"), 3.0);
  EXPECT_EQ(root.numberAt("compositeScale"), 2.0);
  EXPECT_EQ(root.numberAt("thumbWidth"), 400.0);
  EXPECT_EQ(root.stringAt("heroSelector"), "[data-vell=\"hero\"]");
  EXPECT_EQ(root.stringAt("heroHideSelector"), "[data-vell=\"hero\"],[data-vell-with-hero]");
}

TEST(CoreScriptCatalogue, PatternsAndFontsNameRealFiles) {
  auto catalog = shippedCore().catalog();
  EXPECT_EQ(JSONValue(arrayAt(*catalog, "patterns")), parse(R"([
    {"id":"wiggle","label":"Wiggle","file":"wiggle.svg","tileW":52,"tileH":26},
    {"id":"links","label":"Links","file":"links.svg","tileW":60,"tileH":96},
    {"id":"hexagons","label":"Hexagons","file":"hexagons.svg","tileW":28,"tileH":49},
    {"id":"tic-tac-toe","label":"Tic-tac-toe","file":"tic-tac-toe.svg","tileW":64,"tileH":64}])"));
  // Each tile is drawn at its table size, or the pattern's scale would be off.
  for (const auto& pattern : arrayAt(*catalog, "patterns")) {
    const std::string svg = readText(kResources / "assets" / "pattern" / *pattern.stringAt("file"));
    std::smatch m;
    ASSERT_TRUE(std::regex_search(
        svg, m, std::regex(R"re(<svg[^>]*width="([0-9.]+)"[^>]*height="([0-9.]+)")re")))
        << *pattern.stringAt("file");
    EXPECT_EQ(std::stod(m[1]), *pattern.numberAt("tileW"));
    EXPECT_EQ(std::stod(m[2]), *pattern.numberAt("tileH"));
  }

  const auto& fonts = arrayAt(*catalog, "fontFiles");
  ASSERT_FALSE(fonts.empty());
  std::set<std::string> families;
  std::uintmax_t total = 0;
  for (const auto& font : fonts) {
    const auto file = font.stringAt("file");
    ASSERT_TRUE(file);
    const fs::path path = kResources / "assets" / "fonts" / *file;
    ASSERT_TRUE(fs::is_regular_file(path)) << *file;
    EXPECT_EQ(readText(path).substr(0, 4), "wOF2") << *file;
    total += fs::file_size(path);
    for (const char* key : {"family", "weight", "unicodeRange"}) {
      EXPECT_TRUE(font.stringAt(key).has_value()) << *file << " " << key;
    }
    families.insert(font.stringAt("family").value_or(""));
  }
  // The title faces the style values name, and the right-to-left face.
  EXPECT_EQ(families, (std::set<std::string>{"Nunito", "OpenRunde", "Estedad"}));
  EXPECT_LT(total, 2u * 1024 * 1024);
}

// ---------------------------------------------------------------------------

TEST(CoreScriptStyles, DefaultsMatchTheNativeResolvedStyle) {
  const Documents empty("{}", "{}");
  const JSONValue style = *plan(shippedCore(), empty).find("style");
  EXPECT_EQ(style, JSONValue(ResolvedStyle{}.asJSON()));
  EXPECT_EQ(style.asObject()->size(), styleFieldCount);
}

// Stored styles of every awkward shape, resolved by the script and by the
// native code for each page and language.
TEST(CoreScriptStyles, ResolvesLikeTheNativeCodeForEveryShapeOfEntry) {
  const std::string stylesText = R"({
    "home": {"titleSize": 80, "gradFrom": "#111111", "titleAlign": null, "futureField": 3,
             "layers": [{"id": "a", "kind": "text", "text": "New"}]},
    "home@de": {"titleSize": 60, "layers": []},
    "home@fr": {"titleSize": "big", "gradTo": "#222222"},
    "home@ja": {"phoneScale": true, "gradTo": "#333333"},
    "home@es": ["not", "an", "object"],
    "habits": 5,
    "habits@de": {"decor": "none", "bgPattern": "links", "bgPatternOpacity": 0.2},
    "habits@fr": {"titleColor": 12},
    "detail": {"titleWeight": 800, "titleLetterSpacing": 0.01, "layers": null, "titleFont": "openrunde"},
    "detail@ja": {"layers": {"odd": true}, "titleWeight": null},
    "detail@en": {"layers": "text"},
    "constructor": {"titleSize": 99},
    "insights@de": {"gradAngle": 1e-7, "phoneRotateY": -12.5}
  })";
  const JSONValue styles = parse(stylesText);
  const Documents docs(R"({"home":{"en":{"title":"Hi"}}})", stylesText);
  for (const std::string page :
       {"home", "habits", "detail", "insights", "constructor", "toString"}) {
    for (const std::string locale : {"en", "de", "fr", "ja", "es"}) {
      const JSONValue got =
          *plan(shippedCore(), docs, pageArgs("default", page, "ios", "dark", locale))
               .find("style");
      EXPECT_EQ(got, nativeResolved(styles, page, locale)) << page << "@" << locale;
    }
  }
}

// ---------------------------------------------------------------------------

const char* kTexts = R"({
  "home": {
    "en": {"title": "Build habits\nthat *stick*", "subtitle": "Six minutes a day",
           "description": "Store text", "screen": {"greeting": "Hi Sam"}},
    "de": {"title": "Gewohnheiten, die *bleiben*"}
  },
  "habits": {"en": {"title": 42}}
})";

const char* kStyles = R"({
  "home": {"gradFrom": "#101820", "bgPattern": "hexagons",
           "layers": [{"id": "badge", "kind": "image", "asset": "badge.png", "x": 20, "y": 30}]},
  "home@de": {"titleSize": 58}
})";

TEST(CoreScriptPlan, TitleHeroAndCaptureNames) {
  const Documents docs(kTexts, kStyles);
  CoreJS& core = shippedCore();

  const JSONValue home = plan(core, docs);
  EXPECT_EQ(home.stringAt("title"), "Build habits\nthat *stick*");
  EXPECT_EQ(home.boolAt("withHero"), true);
  EXPECT_EQ(*home.find("heroCaptures"), *home.find("captures"));
  EXPECT_EQ(plan(core, docs, pageArgs("default", "home", "ios", "dark", "de")).stringAt("title"),
            "Gewohnheiten, die *bleiben*");
  EXPECT_FALSE(plan(core, docs, pageArgs("default", "home", "ios", "dark", "fr")).find("title"));
  EXPECT_FALSE(plan(core, docs, pageArgs("default", "habits")).find("title"));

  // Only built-in screens that have a hero element get one cut out.
  std::set<bool> heroes;
  for (const auto& page : arrayAt(*core.catalog(), "pages")) {
    heroes.insert(*plan(core, docs, pageArgs("default", *page.stringAt("id"))).boolAt("withHero"));
  }
  EXPECT_EQ(heroes, (std::set<bool>{false, true}));
  JSONValue uploaded = pageArgs();
  uploaded["isUploaded"] = true;
  EXPECT_EQ(plan(core, docs, uploaded).boolAt("withHero"), false);
  EXPECT_EQ(plan(core, docs, pageArgs("default", "my-upload")).boolAt("withHero"), false);

  // Every name is a distinct file name in the flat cache.
  const JSONValue& captures = *home.find("captures");
  std::set<std::string> names{*home.stringAt("vell")};
  for (const char* key : {"hero", "heroRect", "phone"})
    names.insert(*captures.stringAt(key));
  EXPECT_EQ(names.size(), 4u);
  for (const auto& name : names) {
    EXPECT_EQ(name.find('/'), std::string::npos) << name;
    EXPECT_FALSE(name.empty());
  }
}

TEST(CoreScriptPlan, PhoneCapturesFollowOnlyWhatTheScreenShows) {
  CoreJS& core = shippedCore();
  auto capturesFor = [&](const std::string& texts, const std::string& styles,
                         const JSONValue& args = pageArgs()) {
    JSONValue p = plan(core, Documents(texts, styles), args);
    return JSONValue(JSONValue::Array{*p.find("captures"), *p.find("vell")});
  };
  const JSONValue base = capturesFor(kTexts, kStyles);

  // Title, subtitle, description and style leave the phone picture as it is.
  JSONValue texts = parse(kTexts);
  texts["home"]["en"]["title"] = "Another title";
  texts["home"]["en"]["subtitle"] = "Another subtitle";
  texts["home"]["en"]["description"] = "Other store text";
  texts["home"]["de"]["title"] = "Ein anderer Titel";
  EXPECT_EQ(capturesFor(texts.dump(), kStyles), base);
  EXPECT_EQ(capturesFor(kTexts, R"({"home":{"titleSize":90,"gradTo":"#000000"}})"), base);

  // The words inside the phone, the page, its screen, os, theme and language don't.
  std::map<std::string, JSONValue> changed;
  JSONValue overridden = parse(kTexts);
  overridden["home"]["en"]["screen"]["greeting"] = "Hello Sam";
  changed["screen override"] = capturesFor(overridden.dump(), kStyles);
  overridden["home"]["en"]["screen"]["date"] = "Monday, May 13";
  changed["second override"] = capturesFor(overridden.dump(), kStyles);
  changed["page"] = capturesFor(kTexts, kStyles, pageArgs("default", "habits"));
  changed["set"] = capturesFor(kTexts, kStyles, pageArgs("summer-2"));
  changed["os"] = capturesFor(kTexts, kStyles, pageArgs("default", "home", "android"));
  changed["theme"] = capturesFor(kTexts, kStyles, pageArgs("default", "home", "ios", "light"));
  changed["locale"] =
      capturesFor(kTexts, kStyles, pageArgs("default", "home", "ios", "dark", "de"));
  JSONValue otherScreen = pageArgs();
  otherScreen["builtin"] = "detail";
  changed["builtin"] = capturesFor(kTexts, kStyles, otherScreen);
  std::set<std::string> seen{base.dump()};
  for (const auto& [what, value] : changed) {
    EXPECT_TRUE(seen.insert(value.dump()).second) << what << " didn't change the capture names";
  }
}

// ---------------------------------------------------------------------------

TEST(CoreScriptCompositeName, StableForEqualInputs) {
  const std::string first = compositeName(shippedCore(), Documents(kTexts, kStyles));
  EXPECT_EQ(compositeName(shippedCore(), Documents(kTexts, kStyles)), first);
  // Another process: a fresh context on the same files.
  CoreJS fresh(kResources);
  EXPECT_EQ(compositeName(fresh, Documents(kTexts, kStyles)), first);
  // The same documents written with other key order and spacing.
  const std::string reordered = R"({ "home@de": {"titleSize": 58},
    "home": {"layers": [{"y": 30, "x": 20, "asset": "badge.png", "kind": "image", "id": "badge"}],
             "bgPattern": "hexagons", "gradFrom": "#101820"} })";
  EXPECT_EQ(compositeName(shippedCore(), Documents(parse(kTexts).dump(), reordered)), first);
  EXPECT_TRUE(first.ends_with(".png"));
  EXPECT_EQ(first.find(".png"), first.size() - 4) << "the thumbnail name replaces every .png";

  // What no picture shows leaves the name alone.
  JSONValue texts = parse(kTexts);
  texts["home"]["en"]["description"] = "Changed store text";
  texts["home"]["fr"] = JSONValue::Object{{"title", "Autre langue"}};
  texts["habits"]["en"]["title"] = "Another page";
  JSONValue styles = parse(kStyles);
  styles["home"]["futureField"] = "from a newer version";
  styles["home@fr"] = JSONValue::Object{{"titleSize", 40}};
  styles["habits"] = JSONValue::Object{{"titleSize", 40}};
  EXPECT_EQ(compositeName(shippedCore(), Documents(texts.dump(), styles.dump())), first);
}

TEST(CoreScriptCompositeName, EverySingleInputChangesTheName) {
  CoreJS& core = shippedCore();
  const JSONValue texts = parse(kTexts);
  const JSONValue styles = parse(kStyles);
  std::map<std::string, std::string> names;  // what changed -> name
  auto with = [&](const std::string& what, const JSONValue& t, const JSONValue& s,
                  const JSONValue& args) {
    names[what] = compositeName(core, Documents(t.dump(), s.dump()), args);
  };
  with("nothing", texts, styles, compositeArgs());

  for (StyleField field : allStyleFields()) {
    const std::string name(rawValue(field));
    JSONValue s = styles;
    s["home"][name] = otherValue(field, 3);
    with("page style " + name, texts, s, compositeArgs());
    s = styles;
    s["home@en"][name] = otherValue(field, 4);
    with("language style " + name, texts, s, compositeArgs());
  }
  JSONValue s = styles;
  s["home"]["layers"] = JSONValue::Array{};
  with("layers removed", texts, s, compositeArgs());
  s = styles;
  (*s["home"]["layers"].asArray())[0]["x"] = 21;
  with("layer moved", texts, s, compositeArgs());

  JSONValue t = texts;
  t["home"]["en"]["title"] = "Build habits\nthat *last*";
  with("title", t, styles, compositeArgs());
  t = texts;
  t["home"]["en"].asObject()->erase("title");
  with("title removed", t, styles, compositeArgs());
  t = texts;
  t["home"]["en"]["subtitle"] = "Five minutes a day";
  with("subtitle", t, styles, compositeArgs());
  t = texts;
  t["home"]["en"]["screen"]["greeting"] = "Hi Alex";
  with("screen override", t, styles, compositeArgs());

  const std::vector<std::pair<std::string, JSONValue>> argChanges = {
      {"set", "summer-2"},
      {"page", "habits"},
      {"os", "android"},
      {"theme", "light"},
      {"locale", "de"},
      {"isUploaded", true},
      {"hasBackground", true},
      {"overlayMtimeMs", 1715673600000.0},
      {"screenMtimeMs", 1715673600000.0},
      {"calloutAspect", 1.37},
      {"builtin", "detail"}};
  for (const auto& [key, value] : argChanges) {
    JSONValue args = compositeArgs();
    args[key] = value;
    with("argument " + key, texts, styles, args);
  }
  // A millisecond of a newer file is a newer picture.
  JSONValue args = compositeArgs();
  args["overlayMtimeMs"] = 1715673600001.0;
  with("overlay a millisecond later", texts, styles, args);
  args = compositeArgs();
  args["calloutAspect"] = 1.38;
  with("another hero aspect", texts, styles, args);

  std::map<std::string, std::string> byName;
  for (const auto& [what, name] : names) {
    auto [it, fresh] = byName.emplace(name, what);
    EXPECT_TRUE(fresh) << "\"" << what << "\" and \"" << it->second << "\" share " << name;
  }
  // nothing, two per field, two layer edits, four text edits, the arguments, two fine steps
  EXPECT_EQ(names.size(), 1 + 2 * styleFieldCount + 2 + 4 + argChanges.size() + 2);
}

// ---------------------------------------------------------------------------

TEST(CoreScriptOrder, StoredOrderFirstThenTheRest) {
  CoreJS& core = shippedCore();
  auto order = [&](const char* all, const char* stored) {
    return *core.callJSON("orderedPages",
                          JSONValue::Object{{"all", parse(all)}, {"stored", parse(stored)}});
  };
  EXPECT_EQ(order(R"(["a","b","c","d"])", R"(["c","a"])"), parse(R"(["c","a","b","d"])"));
  // Stale ids, repeats and non-strings drop out.
  EXPECT_EQ(order(R"(["a","b","c"])", R"(["gone","b",1,"b",null,"a","a"])"),
            parse(R"(["b","a","c"])"));
  EXPECT_EQ(order(R"(["a","b"])", "[]"), parse(R"(["a","b"])"));
  for (const char* notAnArray : {"null", R"({"0":"b"})", R"("b,a")", "3"}) {
    EXPECT_EQ(order(R"(["a","b"])", notAnArray), parse(R"(["a","b"])")) << notAnArray;
  }
}

TEST(CoreScriptScreenTexts, EveryPageHasItsWordsInEachLanguage) {
  CoreJS& core = shippedCore();
  auto entries = [&](const std::string& page, const std::string& locale,
                     const std::string& os = "ios") {
    auto value = core.callJSON(
        "screenTexts",
        JSONValue::Object{{"page", page}, {"locale", locale}, {"os", os}, {"theme", "dark"}});
    std::vector<std::pair<std::string, std::string>> out;
    if (!value || !value->isArray()) {
      ADD_FAILURE() << page << " " << locale << ": not an array";
      return out;
    }
    for (const auto& entry : *value->asArray()) {
      out.emplace_back(entry.stringAt("key").value_or(""), entry.stringAt("value").value_or(""));
    }
    return out;
  };

  EXPECT_TRUE(entries("no-such-page", "en").empty());
  for (const auto& page : arrayAt(*core.catalog(), "pages")) {
    const std::string id = *page.stringAt("id");
    const auto english = entries(id, "en");
    ASSERT_GE(english.size(), 8u) << id;
    std::set<std::string> keys;
    for (const auto& [key, value] : english) {
      EXPECT_FALSE(key.empty()) << id;
      EXPECT_FALSE(value.empty()) << id << " " << key;
      EXPECT_TRUE(keys.insert(key).second) << id << " repeats " << key;
    }
    for (const std::string locale : {"de", "fr", "es", "ja"}) {
      const auto translated = entries(id, locale);
      ASSERT_EQ(translated.size(), english.size()) << id << " " << locale;
      std::size_t different = 0;
      for (std::size_t i = 0; i < english.size(); ++i) {
        EXPECT_EQ(translated[i].first, english[i].first);
        if (translated[i].second != english[i].second) ++different;
      }
      EXPECT_GT(different * 2, english.size()) << id << " in " << locale << " is mostly English";
    }
    // Languages without words of their own read English; regional ones their language's.
    EXPECT_EQ(entries(id, "ko"), english) << id;
    EXPECT_EQ(entries(id, "en-GB"), english) << id;
    EXPECT_EQ(entries(id, "fr-CA"), entries(id, "fr")) << id;
  }
  // Android names some things its own way.
  EXPECT_NE(entries("settings", "en", "android"), entries("settings", "en", "ios"));
  EXPECT_EQ(entries("home", "en", "android"), entries("home", "en", "ios"));
}

// ---------------------------------------------------------------------------

TEST(CoreScriptCalls, UnknownFunctionFails) {
  try {
    shippedCore().callJSON("noSuchFunction", JSONValue::Object{});
    FAIL();
  } catch (const CoreError& e) {
    EXPECT_EQ(std::string(e.what()),
              "Renderer script failed: Error: Unknown function: noSuchFunction");
  }
  // The context is still usable after a failed call.
  EXPECT_TRUE(
      shippedCore().callJSON("orderedPages", JSONValue::Object{{"all", JSONValue::Array{}}}));
}

}  // namespace
}  // namespace vells::testing
