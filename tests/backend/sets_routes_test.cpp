#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "backend/test_support.h"

namespace vells::testing {
namespace {

using backend::LocalBackend;
using backend::LocalLibrary;

// "<slug>-" followed by thirteen digits: a set id made now.
bool isSetId(const std::string& id, const std::string& slug) {
  if (id.size() != slug.size() + 14 || id.compare(0, slug.size() + 1, slug + "-") != 0)
    return false;
  return std::all_of(id.begin() + static_cast<long>(slug.size()) + 1, id.end(),
                     [](char c) { return c >= '0' && c <= '9'; });
}

class SetsRoutes : public ::testing::Test {
 protected:
  SetsRoutes() : core(std::make_shared<FakeCore>()), b(LocalLibrary(dir.path() / "lib"), core) {}

  // Creates a set through the route and answers its id.
  std::string createSet(const std::string& body) {
    auto r = call(b, "POST", "/api/sets", body);
    EXPECT_EQ(r.status, 200) << r.body;
    return *bodyJSON(r).stringAt("id");
  }

  std::vector<std::string> pageIds(const std::string& set) {
    std::vector<std::string> ids;
    const JSONValue answer = bodyJSON(call(b, "GET", "/api/pages?set=" + set));
    for (const auto& p : *answer.find("pages")->asArray()) {
      ids.push_back(*p.stringAt("id"));
    }
    return ids;
  }

  TempDir dir;
  std::shared_ptr<FakeCore> core;
  LocalBackend b;
};

TEST_F(SetsRoutes, CreateSetNamesAndIds) {
  auto untitled = bodyJSON(call(b, "POST", "/api/sets"));
  EXPECT_EQ(*untitled.stringAt("name"), "Untitled");
  EXPECT_TRUE(isSetId(*untitled.stringAt("id"), "untitled"));
  EXPECT_TRUE(untitled.find("appId")->isNull());
  EXPECT_TRUE(untitled.find("locales")->isNull());

  EXPECT_TRUE(isSetId(createSet(R"({"name":"Summer"})"), "summer"));
  EXPECT_TRUE(isSetId(createSet(R"({"name":"!!! ???"})"), "set"));
  EXPECT_TRUE(isSetId(createSet(R"({"name":"  Spring   Sale! "})"), "spring-sale"));
  // A name of the wrong type counts as missing.
  EXPECT_EQ(*bodyJSON(call(b, "POST", "/api/sets", R"({"name":5})")).stringAt("name"), "Untitled");
  // Sets made within one millisecond still get distinct ids.
  std::set<std::string> ids;
  for (int i = 0; i < 20; ++i)
    ids.insert(createSet(R"({"name":"Rush"})"));
  EXPECT_EQ(ids.size(), 20u);
}

TEST_F(SetsRoutes, LocalesAreNormalisedToStoreCodes) {
  auto set = bodyJSON(call(b, "POST", "/api/sets", R"({"locales":["fr","fr","xx","en"]})"));
  EXPECT_EQ(set.find("locales")->dump(), R"(["en","fr"])");  // catalogue order, no duplicates
  set = bodyJSON(call(b, "POST", "/api/sets", R"({"locales":["xx"]})"));
  EXPECT_TRUE(set.find("locales")->isNull());
  set = bodyJSON(call(b, "POST", "/api/sets", R"({"locales":["fr",3]})"));
  EXPECT_TRUE(set.find("locales")->isNull());
}

TEST_F(SetsRoutes, PatchIsFieldByField) {
  b.db().saveApp({"123", {{"name", "App"}}, 1});
  const std::string id = createSet(R"({"name":"A","appId":"123","locales":["de"]})");

  auto r = call(b, "PATCH", "/api/sets", R"({"id":")" + id + R"("})");
  EXPECT_EQ(r.body, R"({"ok":true,"set":{"appId":"123","id":")" + id +
                        R"(","locales":["de"],"name":"A"}})");

  r = call(b, "PATCH", "/api/sets", R"({"id":")" + id + R"(","name":7,"appId":null})");
  auto set = *bodyJSON(r).find("set");
  EXPECT_EQ(*set.stringAt("name"), "A");
  EXPECT_TRUE(set.find("appId")->isNull());
  EXPECT_EQ(set.find("locales")->dump(), R"(["de"])");

  r = call(b, "PATCH", "/api/sets", R"({"id":")" + id + R"(","name":"B","locales":[]})");
  set = *bodyJSON(r).find("set");
  EXPECT_EQ(*set.stringAt("name"), "B");
  EXPECT_TRUE(set.find("locales")->isNull());
  EXPECT_EQ(bodyJSON(call(b, "GET", "/api/sets")).dump(), "[" + set.dump() + "]");

  for (const char* body : {R"({"id":"nope"})", "{}", "[]", R"({"id":3})"}) {
    r = call(b, "PATCH", "/api/sets", body);
    EXPECT_EQ(r.status, 200);
    EXPECT_EQ(r.body, R"({"error":"Unknown set","ok":false})");
  }
}

TEST_F(SetsRoutes, DeleteKeepsTheLastSetAndRemovesFiles) {
  const std::string a = createSet(R"({"name":"A"})");
  auto r = call(b, "DELETE", "/api/sets?id=" + a);
  EXPECT_EQ(r.status, 400);
  EXPECT_EQ(r.body, R"({"error":"Cannot delete last set","ok":false})");

  const std::string keep = createSet(R"({"name":"Keep"})");
  const auto& lib = b.library();
  writeFile(lib.screens() / "dark" / (a + "-p1-ios.png"), "x");
  writeFile(lib.backgrounds() / (a + "-p1-ios.png"), "x");
  writeFile(lib.backgrounds() / (keep + "-p1-ios.png"), "x");
  writeFile(lib.layers() / a / "abc.png", "x");
  ASSERT_EQ(call(b, "POST", "/api/texts?set=" + a, R"({"p1":{}})").status, 200);

  EXPECT_EQ(call(b, "DELETE", "/api/sets?id=unknown").body, R"({"ok":true})");
  EXPECT_EQ(call(b, "DELETE", "/api/sets?id=" + a).body, R"({"ok":true})");
  EXPECT_FALSE(fs::exists(lib.screens() / "dark" / (a + "-p1-ios.png")));
  EXPECT_FALSE(fs::exists(lib.backgrounds() / (a + "-p1-ios.png")));
  EXPECT_FALSE(fs::exists(lib.layers() / a));
  EXPECT_TRUE(fs::exists(lib.backgrounds() / (keep + "-p1-ios.png")));
  EXPECT_EQ(call(b, "GET", "/api/texts?set=" + a).body, "{}");
  EXPECT_EQ(bodyJSON(call(b, "GET", "/api/sets")).asArray()->size(), 1u);
}

TEST_F(SetsRoutes, DuplicateCopiesPagesDocumentsAndFiles) {
  b.db().saveApp({"sample-app", {}, 1});
  const std::string from = createSet(R"({"name":"Launch","appId":"sample-app","locales":["de"]})");
  ASSERT_EQ(call(b, "POST", "/api/pages?set=" + from,
                 R"({"pages":[{"id":"home"},{"id":"p1","source":"upload","label":"Upload"}]})")
                .status,
            200);
  call(b, "POST", "/api/texts?set=" + from, R"({"home": {"en":{"title":"Hi"}}})");
  call(b, "POST", "/api/order?set=" + from, "[1,2]");
  const auto& lib = b.library();
  writeFile(lib.screens() / (from + "-p1-ios.png"), "screen");
  writeFile(lib.screens() / "dark" / (from + "-p1-ios-de.png"), "dark");
  writeFile(lib.screens() / (from + "-gone-ios.png"), "old page");
  writeFile(lib.layers() / backend::setFolder(from) / "0123.png", "layer");

  auto r = call(b, "POST", "/api/sets/duplicate", R"({"from":")" + from + R"(","name":"   "})");
  ASSERT_EQ(r.status, 200) << r.body;
  auto copy = bodyJSON(r);
  const std::string id = *copy.stringAt("id");
  EXPECT_EQ(*copy.stringAt("name"), "Launch copy");
  EXPECT_EQ(*copy.stringAt("appId"), "sample-app");
  EXPECT_EQ(copy.find("locales")->dump(), R"(["de"])");
  EXPECT_THAT(pageIds(id), ::testing::ElementsAre("home", "p1"));
  EXPECT_EQ(call(b, "GET", "/api/texts?set=" + id).body, R"({"home": {"en":{"title":"Hi"}}})");
  EXPECT_EQ(call(b, "GET", "/api/order?set=" + id).body, "[1,2]");
  EXPECT_EQ(call(b, "GET", "/api/styles?set=" + id).body, "{}");
  EXPECT_EQ(*backend::readFile(lib.screens() / (id + "-p1-ios.png")), "screen");
  EXPECT_EQ(*backend::readFile(lib.screens() / "dark" / (id + "-p1-ios-de.png")), "dark");
  EXPECT_FALSE(fs::exists(lib.screens() / (id + "-gone-ios.png")));
  EXPECT_EQ(*backend::readFile(lib.layers() / backend::setFolder(id) / "0123.png"), "layer");

  r = call(b, "POST", "/api/sets/duplicate", R"({"from":"nope"})");
  EXPECT_EQ(r.status, 404);
  EXPECT_EQ(r.body, R"({"error":"Unknown set","ok":false})");
  EXPECT_EQ(*bodyJSON(call(b, "POST", "/api/sets/duplicate",
                           R"({"from":")" + from + R"(","name":"  Fall  "})"))
                 .stringAt("name"),
            "Fall");
}

TEST_F(SetsRoutes, SavePagesValidatesTheWholeListFirst) {
  const std::string set = createSet(R"({"name":"Plain"})");
  auto save = [&](const std::string& pages) {
    return call(b, "POST", "/api/pages?set=" + set, R"({"pages":)" + pages + "}");
  };
  auto error = [](const backend::Response& r) { return *bodyJSON(r).stringAt("error"); };

  ASSERT_EQ(save(R"([{"id":"a","source":"upload"},{"id":"b","source":"html"}])").status, 200);
  const auto before = call(b, "GET", "/api/pages?set=" + set).body;

  EXPECT_EQ(error(save("[]")), "A set needs at least one page");
  EXPECT_EQ(error(call(b, "POST", "/api/pages?set=" + set, R"({"pages":{"id":"a"}})")),
            "A set needs at least one page");
  EXPECT_EQ(error(save(R"([{"id":"a","source":"upload"},{"id":"a","source":"upload"}])")),
            "Duplicate or missing page id: a");
  EXPECT_EQ(error(save(R"([{"source":"upload"}])")), "Duplicate or missing page id: ");
  EXPECT_EQ(error(save(R"([{"id":"x","builtinId":"nope"}])")), "Unknown built-in page: nope");
  // A new built-in page in a set filed under another app is refused.
  EXPECT_EQ(error(save(R"([{"id":"c","source":"upload"},{"id":"home"}])")),
            "Built-in screens are Sample\u2019s \u2014 this set isn\u2019t filed under it");
  EXPECT_EQ(error(save(R"([{"id":"a","source":"video"}])")), "Unknown page source: video");
  EXPECT_EQ(save(R"([{"id":"a","source":"video"}])").status, 400);
  EXPECT_EQ(call(b, "GET", "/api/pages?set=" + set).body, before);

  // A page without a label takes its id.
  auto r = save(R"([{"id":"b","source":"html"},{"id":"z","source":"upload","label":4}])");
  EXPECT_EQ(r.body, R"({"ok":true,"pages":[{"id":"b","label":"b","source":"html"},)"
                    R"({"id":"z","label":"z","source":"upload"}]})");
}

TEST_F(SetsRoutes, BuiltInPagesFollowTheSampleApp) {
  b.db().saveApp({"sample-app", {}, 1});
  const std::string sample = createSet(R"({"name":"S","appId":"sample-app"})");
  ASSERT_EQ(call(b, "POST", "/api/pages?set=" + sample,
                 R"({"pages":[{"id":"home"},{"id":"h2","builtinId":"stats"}]})")
                .status,
            200);
  // Unfiled, the set keeps the built-in pages it holds, but gains none.
  call(b, "PATCH", "/api/sets", R"({"id":")" + sample + R"(","appId":null})");
  EXPECT_EQ(
      call(b, "POST", "/api/pages?set=" + sample, R"({"pages":[{"id":"h2","builtinId":"stats"}]})")
          .status,
      200);
  EXPECT_EQ(call(b, "POST", "/api/pages?set=" + sample, R"({"pages":[{"id":"home"}]})").status,
            400);

  // A page the catalogue no longer knows is hidden, and kept in the database.
  call(b, "PATCH", "/api/sets", R"({"id":")" + sample + R"(","appId":"sample-app"})");
  call(b, "POST", "/api/pages?set=" + sample, R"({"pages":[{"id":"home"},{"id":"stats"}]})");
  auto catalog = FakeCore::defaultCatalog();
  catalog["pages"] = JSONValue::parse(R"([{"id":"home","label":"Home"}])");
  core->setCatalog(catalog);
  EXPECT_THAT(pageIds(sample), ::testing::ElementsAre("home"));
  EXPECT_EQ(b.db().pages(sample).size(), 2u);
  core->setCatalog(FakeCore::defaultCatalog());
  EXPECT_THAT(pageIds(sample), ::testing::ElementsAre("home", "stats"));
  EXPECT_EQ(call(b, "GET", "/api/pages?set=nothing").body, R"({"pages":[]})");
}

TEST_F(SetsRoutes, DocumentsAreStoredByteForByte) {
  EXPECT_EQ(call(b, "GET", "/api/texts?set=fresh").body, "{}");
  const std::string doc = "{ \"b\" : 1,\n  \"a\": [true] }";
  auto r = call(b, "POST", "/api/styles?set=fresh", doc);
  EXPECT_EQ(r.body, R"({"ok":true})");
  r = call(b, "GET", "/api/styles?set=fresh");
  EXPECT_EQ(r.body, doc);
  EXPECT_EQ(r.mime, "application/json");
  // Writing a document creates the set, named after its id.
  EXPECT_EQ(bodyJSON(call(b, "GET", "/api/sets")).dump(),
            R"([{"appId":null,"id":"fresh","locales":null,"name":"fresh"}])");

  for (const char* bad : {"[1", "{\"a\":}", "\xff\xfe", "{\"a\":\"\xff\"}", "nul\x01l"}) {
    r = call(b, "POST", "/api/texts?set=fresh", bad);
    EXPECT_EQ(r.status, 400) << bad;
    EXPECT_EQ(r.body, R"({"error":"Bad JSON body","ok":false})");
  }
  EXPECT_EQ(call(b, "GET", "/api/texts?set=fresh").body, "{}");
  // The default set, and an empty body that passes the check.
  EXPECT_EQ(call(b, "POST", "/api/texts").status, 200);
  EXPECT_EQ(call(b, "GET", "/api/texts?set=default").body, "");
  EXPECT_EQ(call(b, "POST", "/api/order?set=default", "[1,2]").status, 200);
  EXPECT_EQ(call(b, "GET", "/api/order").body, "[1,2]");
  EXPECT_NE(bodyJSON(call(b, "GET", "/api/sets")).dump().find(R"("name":"Default")"),
            std::string::npos);
}

TEST_F(SetsRoutes, ScreenTextsOnlyAskTheScriptForBuiltInPages) {
  call(b, "POST", "/api/pages?set=s", R"({"pages":[{"id":"shot","source":"upload"}]})");
  call(
      b, "POST", "/api/texts?set=s",
      R"({"home":{"de":{"screen":{"greeting":"Guten Morgen"}}},"shot":{"de":{"screen":{"a":"b"}}}})");
  auto r = call(b, "GET", "/api/screen-texts?set=s&page=shot&locale=de");
  EXPECT_EQ(r.body, R"({"entries":[],"overrides":{}})");
  EXPECT_TRUE(core->calls.empty());

  // "home" has no row in the set: it counts as the built-in page of that id.
  r = call(b, "GET", "/api/screen-texts?set=s&page=home&locale=de&os=ios&theme=light");
  EXPECT_EQ(r.body, R"({"entries":[{"key":"greeting","value":"Good morning"}],)"
                    R"("overrides":{"greeting":"Guten Morgen"}})");
  ASSERT_EQ(core->calls.size(), 1u);
  EXPECT_EQ(core->calls[0],
            R"(screenTexts {"locale":"de","os":"ios","page":"home","theme":"light"})");
  EXPECT_EQ(call(b, "GET", "/api/screen-texts?set=s&page=ghost").body,
            R"({"entries":[],"overrides":{}})");
}

TEST_F(SetsRoutes, ConfigCarriesCatalogueSetsAndApps) {
  b.db().saveApp({"123",
                  *JSONValue::parse(R"({"name":"Listed","developer":"Me",
      "screenshotUrls":["a","b"],"trackViewUrl":"https://x","profile":{"platforms":["ios"],
      "about":"A","audience":5}})")
                       .asObject(),
                  1});
  b.db().saveApp({"local-1", {}, 2});
  auto config = bodyJSON(call(b, "GET", "/api/config"));
  EXPECT_EQ(*config.stringAt("pagesAppId"), "sample-app");
  EXPECT_EQ(config.find("pages")->asArray()->size(), 3u);
  EXPECT_EQ(config.find("storeLocales")->asArray()->size(), 3u);
  EXPECT_EQ(
      config.find("apps")->dump(),
      R"([{"about":"A","appId":"123","developer":"Me","icon":"","name":"Listed",)"
      R"("platforms":["ios"],"screenshots":["a","b"],"storeUrl":"https://x","unlisted":false},)"
      R"({"appId":"local-1","developer":"","icon":"","name":"local-1","screenshots":[],)"
      R"("unlisted":true}])");

  // With no script at all the catalogue is empty, and config still answers.
  TempDir other;
  LocalBackend bare(LocalLibrary(other.path()), nullptr);
  EXPECT_EQ(call(bare, "GET", "/api/config").body,
            R"({"apps":[],"locales":[],"pages":[],"pagesAppId":null,"sets":[],"storeLocales":[]})");
}

TEST_F(SetsRoutes, LocalesOfASet) {
  const std::string withLocales = createSet(R"({"locales":["fr","de"]})");
  const std::string without = createSet("{}");
  EXPECT_THAT(backend::localesOf(b, withLocales), ::testing::ElementsAre("de", "fr"));
  EXPECT_THAT(backend::localesOf(b, without), ::testing::ElementsAre("en", "de"));
  EXPECT_THAT(backend::localesOf(b, "missing"), ::testing::ElementsAre("en", "de"));
}

}  // namespace
}  // namespace vells::testing
