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

const auto parse = &JSONValue::parse;

// Fails the test by throwing or crashing when the catalogue lacks the array.
const JSONValue::Array& arrayAt(const JSONValue::Object& object, const std::string& key) {
  return *object.at(key).asArray();
}

// The arguments the composite pipeline passes for one page.
JSONValue pageArgs(const std::string& page = "home", const std::string& locale = "en") {
  return JSONValue::Object{{"set", "default"}, {"page", page},     {"os", "ios"},
                           {"theme", "dark"},  {"locale", locale}, {"isUploaded", false}};
}

JSONValue compositeArgs() {
  JSONValue args = pageArgs();
  for (const char* key : {"overlayMtimeMs", "screenMtimeMs", "calloutAspect"})
    args[key] = nullptr;
  args["hasBackground"] = false;
  return args;
}

JSONValue plan(CoreJS& core, const Documents& docs, const JSONValue& args = pageArgs()) {
  return core.callWithDocs("pagePlan", docs, args).value_or(JSONValue::Object{});
}

std::string compositeName(CoreJS& core, const Documents& docs, const JSONValue& args) {
  return core.stringWithDocs("compositeName", docs, args).value_or("");
}

// `doc` with the value at `path` replaced.
JSONValue with(JSONValue doc, const std::vector<std::string>& path, JSONValue value) {
  JSONValue* at = &doc;
  for (const auto& key : path)
    at = &(*at)[key];
  *at = std::move(value);
  return doc;
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

// Store languages with their names match the code list; every offered
// language is a store language, and the main ones are offered.
TEST(CoreScriptCatalogue, OfferedLanguagesAreStoreLanguages) {
  auto catalog = shippedCore().catalog();
  const auto& store = arrayAt(*catalog, "storeLocales");
  const auto& codes = arrayAt(*catalog, "storeLocaleCodes");
  EXPECT_GE(store.size(), 39u);
  ASSERT_EQ(store.size(), codes.size());
  std::set<std::string> storeCodes, offered;
  for (std::size_t i = 0; i < store.size(); ++i) {
    const std::string code = store[i].stringAt("code").value_or("");
    EXPECT_EQ(JSONValue(code), codes[i]);
    EXPECT_TRUE(storeCodes.insert(code).second) << "duplicate " << code;
    EXPECT_TRUE(store[i].stringAt("nativeName") && store[i].stringAt("englishName")) << code;
  }
  for (const auto& locale : arrayAt(*catalog, "locales")) {
    const std::string code = locale.stringAt("code").value_or("");
    EXPECT_TRUE(storeCodes.count(code)) << code << " is offered but isn't a store locale";
    EXPECT_TRUE(locale.stringAt("label") && locale.stringAt("nativeName")) << code;
    offered.insert(code);
  }
  for (const char* code :
       {"en", "de", "fr", "es", "it", "ja", "ko", "zh-Hans", "pt-BR", "ar", "fa"})
    EXPECT_TRUE(offered.count(code)) << code;
}

// Pattern tiles are drawn at their table size, or the pattern's scale would be
// off; fonts are real WOFF2 files of the title faces and the right-to-left face.
TEST(CoreScriptCatalogue, PatternsAndFontsNameRealFiles) {
  auto catalog = shippedCore().catalog();
  std::set<std::string> patterns;
  for (const auto& pattern : arrayAt(*catalog, "patterns")) {
    const std::string file = pattern.stringAt("file").value_or("");
    patterns.insert(pattern.stringAt("id").value_or(""));
    const std::string svg = readText(kResources / "assets" / "pattern" / file);
    std::smatch m;
    ASSERT_TRUE(std::regex_search(
        svg, m, std::regex(R"re(<svg[^>]*width="([0-9.]+)"[^>]*height="([0-9.]+)")re")))
        << file;
    EXPECT_EQ(std::stod(m[1]), pattern.numberAt("tileW")) << file;
    EXPECT_EQ(std::stod(m[2]), pattern.numberAt("tileH")) << file;
  }
  EXPECT_EQ(patterns, (std::set<std::string>{"wiggle", "links", "hexagons", "tic-tac-toe"}));

  std::set<std::string> families;
  std::uintmax_t total = 0;
  for (const auto& font : arrayAt(*catalog, "fontFiles")) {
    const fs::path path = kResources / "assets" / "fonts" / font.stringAt("file").value_or("");
    ASSERT_TRUE(fs::is_regular_file(path)) << path;
    EXPECT_EQ(readText(path).substr(0, 4), "wOF2") << path;
    total += fs::file_size(path);
    EXPECT_TRUE(font.stringAt("weight") && font.stringAt("unicodeRange")) << path;
    families.insert(font.stringAt("family").value_or(""));
  }
  EXPECT_EQ(families, (std::set<std::string>{"Nunito", "OpenRunde", "Estedad"}));
  EXPECT_LT(total, 2u * 1024 * 1024);
}

// No stored style gives the native defaults; stored styles of every awkward
// shape resolve as the native code resolves them, for each page and language.
TEST(CoreScriptStyles, ResolvesLikeTheNativeCode) {
  const JSONValue defaults = *plan(shippedCore(), Documents("{}", "{}")).find("style");
  EXPECT_EQ(defaults, JSONValue(ResolvedStyle{}.asJSON()));
  EXPECT_EQ(defaults.asObject()->size(), styleFieldCount);

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
      EXPECT_EQ(*plan(shippedCore(), docs, pageArgs(page, locale)).find("style"),
                nativeResolved(styles, page, locale))
          << page << "@" << locale;
    }
  }
}

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
  EXPECT_EQ(plan(core, docs, pageArgs("home", "de")).stringAt("title"),
            "Gewohnheiten, die *bleiben*");
  EXPECT_FALSE(plan(core, docs, pageArgs("home", "fr")).find("title"));
  EXPECT_FALSE(plan(core, docs, pageArgs("habits")).find("title")) << "a title that isn't text";
  EXPECT_EQ(home.boolAt("withHero"), true);
  EXPECT_EQ(*home.find("heroCaptures"), *home.find("captures"));

  // Only built-in screens that have a hero element get one cut out.
  std::set<bool> heroes;
  for (const auto& page : arrayAt(*core.catalog(), "pages"))
    heroes.insert(*plan(core, docs, pageArgs(*page.stringAt("id"))).boolAt("withHero"));
  EXPECT_EQ(heroes, (std::set<bool>{false, true}));
  EXPECT_EQ(plan(core, docs, with(pageArgs(), {"isUploaded"}, true)).boolAt("withHero"), false);
  EXPECT_EQ(plan(core, docs, pageArgs("my-upload")).boolAt("withHero"), false);

  // Every name is a distinct file name in the flat cache.
  std::set<std::string> names{*home.stringAt("vell")};
  for (const char* key : {"hero", "heroRect", "phone"})
    names.insert(*home.find("captures")->stringAt(key));
  EXPECT_EQ(names.size(), 4u);
  for (const auto& name : names)
    EXPECT_TRUE(!name.empty() && name.find('/') == std::string::npos) << name;
}

// Every input a picture shows renames the store image, and only what the
// screen shows renames the phone captures; what no picture shows renames
// nothing, and equal inputs give equal names in any process.
TEST(CoreScriptNames, FollowExactlyWhatThePicturesShow) {
  CoreJS& core = shippedCore();
  struct Names {
    std::string composite, phone;
  };
  auto namesOf = [&](const JSONValue& texts, const JSONValue& styles, const JSONValue& args) {
    const Documents docs(texts.dump(), styles.dump());
    const JSONValue p = plan(core, docs, args);
    return Names{compositeName(core, docs, args),
                 JSONValue(JSONValue::Array{*p.find("captures"), *p.find("vell")}).dump()};
  };
  const JSONValue t = parse(kTexts), s = parse(kStyles), a = compositeArgs();
  const Names base = namesOf(t, s, a);
  EXPECT_TRUE(base.composite.ends_with(".png"));
  EXPECT_EQ(base.composite.find(".png"), base.composite.size() - 4)
      << "the thumbnail name replaces every .png";
  CoreJS fresh(kResources);
  const std::string reordered = R"({ "home@de": {"titleSize": 58},
    "home": {"layers": [{"y": 30, "x": 20, "asset": "badge.png", "kind": "image", "id": "badge"}],
             "bgPattern": "hexagons", "gradFrom": "#101820"} })";
  EXPECT_EQ(compositeName(fresh, Documents(kTexts, reordered), a), base.composite);

  struct Case {
    std::string what;
    JSONValue texts, styles, args;
    bool phone;  // whether the phone captures change too
  };
  std::vector<Case> changes = {
      {"title", with(t, {"home", "en", "title"}, "Build habits\nthat *last*"), s, a, false},
      {"title removed", with(t, {"home", "en", "title"}, nullptr), s, a, false},
      {"subtitle", with(t, {"home", "en", "subtitle"}, "Five minutes a day"), s, a, false},
      {"screen override", with(t, {"home", "en", "screen", "greeting"}, "Hi Alex"), s, a, true},
      {"second override", with(t, {"home", "en", "screen", "date"}, "Monday"), s, a, true},
      {"layers removed", t, with(s, {"home", "layers"}, JSONValue::Array{}), a, false},
      {"layer moved", t,
       with(s, {"home", "layers"},
            parse(R"([{"id": "badge", "kind": "image", "asset": "badge.png", "x": 21, "y": 30}])")),
       a, false}};
  for (StyleField field : allStyleFields()) {
    const std::string name(rawValue(field));
    changes.push_back(
        {"page style " + name, t, with(s, {"home", name}, otherValue(field, 3)), a, false});
    changes.push_back(
        {"language style " + name, t, with(s, {"home@en", name}, otherValue(field, 4)), a, false});
  }
  // Arguments the screen shows, then ones only the store image shows; a
  // millisecond newer overlay is a newer picture.
  for (const auto& [changed, phone] :
       {std::pair{
            R"([["set", "summer-2"], ["page", "habits"], ["os", "android"], ["theme", "light"],
                     ["locale", "de"], ["builtin", "detail"]])",
            true},
        std::pair{
            R"([["isUploaded", true], ["hasBackground", true], ["screenMtimeMs", 1715673600000],
                     ["overlayMtimeMs", 1715673600000], ["overlayMtimeMs", 1715673600001],
                     ["calloutAspect", 1.37], ["calloutAspect", 1.38]])",
            false}}) {
    const JSONValue pairs = parse(changed);
    for (const auto& pair : *pairs.asArray()) {
      const std::string key = *(*pair.asArray())[0].asString();
      const JSONValue& value = (*pair.asArray())[1];
      changes.push_back({key + "=" + value.dump(), t, s, with(a, {key}, value), phone});
    }
  }

  std::map<std::string, std::string> byName{{base.composite, "nothing"}};
  std::set<std::string> phones{base.phone};
  for (const auto& c : changes) {
    const Names n = namesOf(c.texts, c.styles, c.args);
    auto [it, isNew] = byName.emplace(n.composite, c.what);
    EXPECT_TRUE(isNew) << "\"" << c.what << "\" and \"" << it->second << "\" share a name";
    if (c.phone) {
      EXPECT_TRUE(phones.insert(n.phone).second) << c.what << " kept the phone captures";
    } else {
      EXPECT_EQ(n.phone, base.phone) << c.what << " renamed the phone captures";
    }
  }

  const std::vector<Case> unseen = {
      {"description", with(t, {"home", "en", "description"}, "Other"), s, a, false},
      {"German title", with(t, {"home", "de", "title"}, "Ein anderer Titel"), s, a, false},
      {"French title", with(t, {"home", "fr", "title"}, "Autre langue"), s, a, false},
      {"another page's title", with(t, {"habits", "en", "title"}, "Other"), s, a, false},
      {"a newer version's field", t, with(s, {"home", "futureField"}, "new"), a, false},
      {"French style", t, with(s, {"home@fr", "titleSize"}, 40), a, false},
      {"another page's style", t, with(s, {"habits", "titleSize"}, 40), a, false}};
  for (const auto& c : unseen) {
    const Names n = namesOf(c.texts, c.styles, c.args);
    EXPECT_EQ(n.composite, base.composite) << c.what;
    EXPECT_EQ(n.phone, base.phone) << c.what;
  }
}

// Stored order first, then the rest; stale ids, repeats and non-strings drop out.
TEST(CoreScriptCalls, OrderedPagesAndUnknownFunctions) {
  auto order = [](const char* all, const char* stored) {
    return *shippedCore().callJSON(
        "orderedPages", JSONValue::Object{{"all", parse(all)}, {"stored", parse(stored)}});
  };
  EXPECT_EQ(order(R"(["a","b","c","d"])", R"(["c","a"])"), parse(R"(["c","a","b","d"])"));
  EXPECT_EQ(order(R"(["a","b","c"])", R"(["gone","b",1,"b",null,"a","a"])"),
            parse(R"(["b","a","c"])"));
  for (const char* notAnArray : {"[]", "null", R"({"0":"b"})", R"("b,a")", "3"})
    EXPECT_EQ(order(R"(["a","b"])", notAnArray), parse(R"(["a","b"])")) << notAnArray;
  // An unknown function fails, and the context stays usable.
  try {
    shippedCore().callJSON("noSuchFunction", JSONValue::Object{});
    FAIL() << "no error";
  } catch (const CoreError& e) {
    EXPECT_STREQ(e.what(), "Renderer script failed: Error: Unknown function: noSuchFunction");
    // The shipped parts load under their own names: the failure is placed in the entry part.
    EXPECT_NE(e.where().find("/core/entry.js:"), std::string::npos) << e.where();
  }
  EXPECT_TRUE(
      shippedCore().callJSON("orderedPages", JSONValue::Object{{"all", JSONValue::Array{}}}));
}

TEST(CoreScriptScreenTexts, EveryPageHasItsWordsInEachLanguage) {
  auto entries = [](const std::string& page, const std::string& locale,
                    const std::string& os = "ios") {
    std::vector<std::pair<std::string, std::string>> out;
    const auto value = shippedCore().callJSON(
        "screenTexts", JSONValue::Object{{"page", page}, {"locale", locale}, {"os", os}});
    for (const auto& entry : *value->asArray())
      out.emplace_back(entry.stringAt("key").value_or(""), entry.stringAt("value").value_or(""));
    return out;
  };
  for (const auto& page : arrayAt(*shippedCore().catalog(), "pages")) {
    const std::string id = *page.stringAt("id");
    const auto english = entries(id, "en");
    ASSERT_GE(english.size(), 8u) << id;
    std::set<std::string> keys;
    for (const auto& [key, value] : english)
      EXPECT_TRUE(!value.empty() && keys.insert(key).second) << id << " " << key;
    for (const std::string locale : {"de", "fr", "es", "ja"}) {
      const auto translated = entries(id, locale);
      ASSERT_EQ(translated.size(), english.size()) << id << " " << locale;
      std::size_t different = 0;
      for (std::size_t i = 0; i < english.size(); ++i) {
        EXPECT_EQ(translated[i].first, english[i].first);
        different += translated[i].second != english[i].second;
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

}  // namespace
}  // namespace vells::testing
