#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "backend/test_support.h"

namespace vells::testing {
namespace {

using backend::LocalBackend;
using backend::LocalLibrary;
using backend::Response;
using ::testing::ElementsAre;

// "<slug>-" followed by thirteen digits: a set id made now.
bool isSetId(const std::string& id, const std::string& slug) {
  return id.starts_with(slug + "-") && id.size() == slug.size() + 14 &&
         std::all_of(id.end() - 13, id.end(), [](char c) { return c >= '0' && c <= '9'; });
}

class SetsRoutes : public ::testing::Test {
 protected:
  SetsRoutes() : core(std::make_shared<FakeCore>()), b(LocalLibrary(dir.path() / "lib"), core) {}

  Response post(const std::string& u, const std::string& s = "") { return call(b, "POST", u, s); }
  std::string get(const std::string& url) { return call(b, "GET", url).body; }
  Response savePages(const std::string& set, const std::string& pages) {
    return post("/api/pages?set=" + set, R"({"pages":)" + pages + "}");
  }
  JSONValue newSet(const std::string& body) { return bodyJSON(post("/api/sets", body)); }
  std::string createSet(const std::string& body) { return *newSet(body).stringAt("id"); }
  JSONValue patch(const std::string& id, const std::string& fields) {
    return *bodyJSON(call(b, "PATCH", "/api/sets", R"({"id":")" + id + "\"" + fields + "}"))
                .find("set");
  }
  std::vector<std::string> pageIds(const std::string& set) {
    std::vector<std::string> ids;
    const JSONValue answer = bodyJSON(call(b, "GET", "/api/pages?set=" + set));
    for (const auto& p : *answer.find("pages")->asArray())
      ids.push_back(*p.stringAt("id"));
    return ids;
  }
  const backend::LocalLibrary& lib() { return b.library(); }
  static std::string failure(const Response& r) {
    return std::to_string(r.status) + " " + bodyJSON(r).stringAt("error").value_or("");
  }

  TempDir dir;
  std::shared_ptr<FakeCore> core;
  LocalBackend b;
};

TEST_F(SetsRoutes, CreateSetNamesIdsAndLocales) {
  EXPECT_EQ(*bodyJSON(post("/api/sets")).stringAt("name"), "Untitled");
  EXPECT_TRUE(isSetId(*bodyJSON(post("/api/sets")).stringAt("id"), "untitled"));
  for (auto [name, slug] : std::vector<std::pair<std::string, std::string>>{
           {"Summer", "summer"}, {"!!! ???", "set"}, {"  Spring   Sale! ", "spring-sale"}})
    EXPECT_TRUE(isSetId(createSet(R"({"name":")" + name + "\"}"), slug)) << name;
  // Sets made within one millisecond still get distinct ids.
  std::set<std::string> ids;
  for (int i = 0; i < 20; ++i)
    ids.insert(createSet(R"({"name":"Rush"})"));
  EXPECT_EQ(ids.size(), 20u);

  // Locales become store codes in catalogue order; nothing valid is none.
  EXPECT_EQ(newSet(R"({"locales":["fr","fr","xx","en"]})").find("locales")->dump(),
            R"(["en","fr"])");
  EXPECT_TRUE(newSet(R"({"locales":["xx"]})").find("locales")->isNull());
  EXPECT_THAT(backend::localesOf(b, createSet("{}")), ElementsAre("en", "de"));
}

TEST_F(SetsRoutes, PatchIsFieldByField) {
  b.db().saveApp({"123", {{"name", "App"}}, 1});
  const std::string id = createSet(R"({"name":"A","appId":"123","locales":["de"]})");
  // A name of the wrong type is ignored, a null app unfiles, an empty locale list is none.
  EXPECT_EQ(patch(id, R"(,"name":7,"appId":null)"),
            JSONValue::parse(R"({"appId":null,"id":")" + id + R"(","locales":["de"],"name":"A"})"));
  const std::string set = R"({"appId":null,"id":")" + id + R"(","locales":null,"name":"B"})";
  EXPECT_EQ(patch(id, R"(,"name":"B","locales":[])").dump(), set);
  EXPECT_EQ(bodyJSON(call(b, "GET", "/api/sets")).dump(), "[" + set + "]");

  for (const char* body : {R"({"id":"nope"})", "{}", "[]", R"({"id":3})"})
    EXPECT_EQ(failure(call(b, "PATCH", "/api/sets", body)), "200 Unknown set") << body;
}

TEST_F(SetsRoutes, DeleteKeepsTheLastSetAndRemovesFiles) {
  const std::string a = createSet(R"({"name":"A"})");
  EXPECT_EQ(failure(call(b, "DELETE", "/api/sets?id=" + a)), "400 Cannot delete last set");

  const std::string keep = createSet(R"({"name":"Keep"})");
  ASSERT_EQ(savePages(a, R"([{"id":"p1","source":"upload"}])").status, 200);
  const fs::path screen = lib().screens() / "dark" / (a + "-p1-ios.png"),
                 layer = lib().layers() / a;
  writeFile(screen, "x");
  writeFile(layer / "abc.png", "x");
  writeFile(lib().backgrounds() / (keep + "-p1-ios.png"), "x");
  ASSERT_EQ(post("/api/texts?set=" + a, R"({"p1":{}})").status, 200);

  EXPECT_EQ(call(b, "DELETE", "/api/sets?id=" + a).body, R"({"ok":true})");
  EXPECT_FALSE(fs::exists(screen));
  EXPECT_FALSE(fs::exists(layer));
  EXPECT_TRUE(fs::exists(lib().backgrounds() / (keep + "-p1-ios.png")));
  EXPECT_EQ(get("/api/texts?set=" + a), "{}");
}

TEST_F(SetsRoutes, DuplicateCopiesPagesDocumentsAndFiles) {
  b.db().saveApp({"sample-app", {}, 1});
  const std::string from = createSet(R"({"name":"Launch","appId":"sample-app","locales":["de"]})");
  ASSERT_EQ(savePages(from, R"([{"id":"home"},{"id":"p1","source":"upload"}])").status, 200);
  post("/api/texts?set=" + from, R"({"home": {"en":{"title":"Hi"}}})");
  writeFile(lib().screens() / "dark" / (from + "-p1-ios-de.png"), "dark");
  writeFile(lib().screens() / (from + "-gone-ios.png"), "old page");
  writeFile(lib().layers() / backend::setFolder(from) / "0123.png", "layer");

  auto r = post("/api/sets/duplicate", R"({"from":")" + from + R"(","name":"   "})");
  const std::string id = *bodyJSON(r).stringAt("id");
  EXPECT_EQ(bodyJSON(r).stringAt("name"), "Launch copy");
  EXPECT_THAT(pageIds(id), ElementsAre("home", "p1"));
  EXPECT_EQ(get("/api/texts?set=" + id), R"({"home": {"en":{"title":"Hi"}}})");
  EXPECT_EQ(backend::readFile(lib().screens() / "dark" / (id + "-p1-ios-de.png")), "dark");
  EXPECT_FALSE(fs::exists(lib().screens() / (id + "-gone-ios.png")));  // not a page of the set
  EXPECT_EQ(backend::readFile(lib().layers() / backend::setFolder(id) / "0123.png"), "layer");
  EXPECT_EQ(failure(post("/api/sets/duplicate", R"({"from":"nope"})")), "404 Unknown set");
}

TEST_F(SetsRoutes, SavePagesValidatesTheWholeListFirst) {
  const std::string set = createSet(R"({"name":"Plain"})");
  ASSERT_EQ(savePages(set, R"([{"id":"a","source":"upload"},{"id":"b","source":"html"}])").status,
            200);
  const auto before = get("/api/pages?set=" + set);

  for (auto [pages, error] : std::vector<std::pair<std::string, std::string>>{
           {"[]", "A set needs at least one page"},
           {R"({"id":"a"})", "A set needs at least one page"},
           {R"([{"id":"a","source":"upload"},{"id":"a","source":"upload"}])",
            "Duplicate or missing page id: a"},
           {R"([{"source":"upload"}])", "Duplicate or missing page id: "},
           {R"([{"id":"x","builtinId":"nope"}])", "Unknown built-in page: nope"},
           // A new built-in page in a set filed under another app is refused.
           {R"([{"id":"c","source":"upload"},{"id":"home"}])",
            "Built-in screens are Sample\u2019s \u2014 this set isn\u2019t filed under it"},
           {R"([{"id":"a","source":"video"}])", "Unknown page source: video"}}) {
    EXPECT_EQ(failure(savePages(set, pages)), "400 " + error) << pages;
  }
  EXPECT_EQ(get("/api/pages?set=" + set), before);

  // A page without a label takes its id.
  const JSONValue saved = bodyJSON(savePages(set, R"([{"id":"z","source":"upload","label":4}])"));
  EXPECT_EQ(saved.find("pages")->asArray()->at(0).stringAt("label"), "z");
}

TEST_F(SetsRoutes, BuiltInPagesFollowTheSampleApp) {
  b.db().saveApp({"sample-app", {}, 1});
  const std::string sample = createSet(R"({"name":"S","appId":"sample-app"})");
  auto save = [&](const std::string& pages) { return savePages(sample, pages).status; };
  ASSERT_EQ(save(R"([{"id":"home"},{"id":"h2","builtinId":"stats"}])"), 200);
  // Unfiled, the set keeps the built-in pages it holds, but gains none.
  patch(sample, R"(,"appId":null)");
  EXPECT_EQ(save(R"([{"id":"h2","builtinId":"stats"}])"), 200);
  EXPECT_EQ(save(R"([{"id":"home"}])"), 400);

  // A page the catalogue no longer knows is hidden, and kept in the database.
  patch(sample, R"(,"appId":"sample-app")");
  save(R"([{"id":"home"},{"id":"stats"}])");
  auto catalog = FakeCore::defaultCatalog();
  catalog["pages"] = JSONValue::parse(R"([{"id":"home","label":"Home"}])");
  core->setCatalog(catalog);
  EXPECT_THAT(pageIds(sample), ElementsAre("home"));
  EXPECT_EQ(b.db().pages(sample).size(), 2u);
}

TEST_F(SetsRoutes, DocumentsAreStoredByteForByte) {
  const std::string doc = "{ \"b\" : 1,\n  \"a\": [true] }";
  EXPECT_EQ(post("/api/styles?set=fresh", doc).body, R"({"ok":true})");
  EXPECT_EQ(get("/api/styles?set=fresh"), doc);
  // Writing a document creates the set, named after its id.
  EXPECT_EQ(bodyJSON(call(b, "GET", "/api/sets")).dump(),
            R"([{"appId":null,"id":"fresh","locales":null,"name":"fresh"}])");

  for (const char* bad : {"[1", "{\"a\":}", "\xff\xfe", "{\"a\":\"\xff\"}", "nul\x01l"})
    EXPECT_EQ(failure(post("/api/texts?set=fresh", bad)), "400 Bad JSON body") << bad;
  EXPECT_EQ(get("/api/texts?set=fresh"), "{}");
}

TEST_F(SetsRoutes, ScreenTextsOnlyAskTheScriptForBuiltInPages) {
  savePages("s", R"([{"id":"shot","source":"upload"}])");
  post("/api/texts?set=s", R"({"home":{"de":{"screen":{"greeting":"Guten Morgen"}}},)"
                           R"("shot":{"de":{"screen":{"a":"b"}}}})");
  EXPECT_EQ(get("/api/screen-texts?set=s&page=shot&locale=de"), R"({"entries":[],"overrides":{}})");
  EXPECT_TRUE(core->calls.empty());

  // "home" has no row in the set: it counts as the built-in page of that id.
  EXPECT_EQ(get("/api/screen-texts?set=s&page=home&locale=de&os=ios&theme=light"),
            R"({"entries":[{"key":"greeting","value":"Good morning"}],)"
            R"("overrides":{"greeting":"Guten Morgen"}})");
  EXPECT_EQ(core->calls, std::vector<std::string>{R"(screenTexts {"locale":"de","os":"ios",)"
                                                  R"("page":"home","theme":"light"})"});
}

TEST(SetsConfig, AnswersWithoutAScript) {
  TempDir dir;
  LocalBackend bare(LocalLibrary(dir.path()), nullptr);
  EXPECT_EQ(call(bare, "GET", "/api/config").body,
            R"({"apps":[],"locales":[],"pages":[],"pagesAppId":null,"sets":[],"storeLocales":[]})");
}

}  // namespace
}  // namespace vells::testing
