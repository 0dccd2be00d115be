// The client reads the routes' answers through the records, so every answer
// here is decoded with them and encoded again: a key a route adds, drops or
// changes the kind of shows up as a difference, whichever side moved.
#include <gtest/gtest.h>

#include <algorithm>

#include "backend/test_support.h"
#include "document/records.h"
#include "rendering/core_js.h"

namespace vells::testing {
namespace {

using backend::LocalBackend;
using backend::LocalLibrary;
using rendering::CoreJS;

// Records leave an absent optional out where the routes write null.
JSONValue withoutNulls(const JSONValue& v) {
  if (const auto* o = v.asObject()) {
    JSONValue::Object out;
    for (const auto& [key, value] : *o) {
      if (!value.isNull()) out.emplace(key, withoutNulls(value));
    }
    return out;
  }
  if (const auto* a = v.asArray()) {
    JSONValue::Array out;
    for (const JSONValue& e : *a)
      out.push_back(withoutNulls(e));
    return out;
  }
  return v;
}

// Every key of `part` is in `whole` with the same value, at every depth.
bool within(const JSONValue& part, const JSONValue& whole) {
  if (const auto* o = part.asObject()) {
    if (!whole.isObject()) return false;
    return std::all_of(o->begin(), o->end(), [&](const auto& entry) {
      const JSONValue* other = whole.find(entry.first);
      return other && within(entry.second, *other);
    });
  }
  if (const auto* a = part.asArray()) {
    const auto* b = whole.asArray();
    if (!b || a->size() != b->size()) return false;
    for (std::size_t i = 0; i < a->size(); ++i) {
      if (!within((*a)[i], (*b)[i])) return false;
    }
    return true;
  }
  return part == whole;
}

template <typename Record>
JSONValue encodeAll(const std::vector<Record>& records) {
  JSONValue::Array out;
  for (const Record& r : records)
    out.push_back(r.encode());
  return out;
}

class RouteRecords : public ::testing::Test {
 protected:
  void SetUp() override {
    // Filed under the sample app, so that it may hold built-in pages.
    const std::string app = *get("/api/config").stringAt("pagesAppId");
    const auto saved = call(b, "POST", "/api/orvo/apps/save", R"({"appId":")" + app + R"(",
        "info":{"name":"Tally","developer":"Bo","unlisted":true,
                "profile":{"platforms":["ios"],"about":"Counts things."}}})");
    ASSERT_EQ(saved.status, 200) << saved.body;
    const auto made = call(b, "POST", "/api/sets",
                           R"({"name":"Launch","locales":["de","ja"],"appId":")" + app + "\"}");
    ASSERT_EQ(made.status, 200) << made.body;
    set = *bodyJSON(made).stringAt("id");
  }

  JSONValue get(const std::string& url) {
    const auto r = call(b, "GET", url);
    EXPECT_EQ(r.status, 200) << url << ": " << r.body;
    return bodyJSON(r);
  }

  TempDir dir;
  LocalBackend b{LocalLibrary(dir.path()),
                 std::make_shared<CoreJS>(fs::path(VELLS_SOURCE_RESOURCES))};
  std::string set;
};

TEST_F(RouteRecords, ConfigSetsAndPagesDecodeWithTheRecords) {
  const JSONValue config = get("/api/config");
  const AppConfig decoded = AppConfig::decode(config);
  // The catalogue's lists pass through as core.js writes them, with keys the
  // client has no use for; every key the records know must still be there.
  EXPECT_TRUE(within(decoded.encode(), withoutNulls(config)));
  // What the backend builds itself must match the records key for key.
  EXPECT_EQ(encodeAll(*decoded.apps), withoutNulls(*config.find("apps")));
  EXPECT_EQ(encodeAll(decoded.sets), withoutNulls(*config.find("sets")));
  ASSERT_TRUE(decoded.apps);
  ASSERT_EQ(decoded.apps->size(), 1u);
  EXPECT_EQ(decoded.apps->front().name, "Tally");
  EXPECT_EQ(decoded.localesForSet(set).size(), 2u);

  const JSONValue sets = get("/api/sets");
  std::vector<VellSet> setRecords;
  for (const JSONValue& s : *sets.asArray())
    setRecords.push_back(VellSet::decode(s));
  EXPECT_EQ(encodeAll(setRecords), withoutNulls(sets));
  EXPECT_EQ(setRecords, decoded.sets);

  // A set of every kind of page: built-in, upload and HTML.
  const auto saved = call(b, "POST", "/api/pages?set=" + set,
                          R"({"pages":[{"id":"home","label":"Home","source":"builtin"},
                                       {"id":"shot","label":"Shot","source":"upload"},
                                       {"id":"web","label":"Web","source":"html"}]})");
  ASSERT_EQ(saved.status, 200) << saved.body;
  const JSONValue pages = get("/api/pages?set=" + set);
  std::vector<SetPage> pageRecords;
  for (const JSONValue& p : *pages.find("pages")->asArray())
    pageRecords.push_back(SetPage::decode(p));
  ASSERT_EQ(pageRecords.size(), 3u);
  EXPECT_EQ(pageRecords[2].source, PageSource::html);
  EXPECT_EQ(JSONValue(JSONValue::Object{{"pages", encodeAll(pageRecords)}}), withoutNulls(pages));
}

TEST_F(RouteRecords, ScreenTextsAndSmallAnswersDecodeWithTheRecords) {
  const JSONValue texts = get("/api/screen-texts?set=" + set + "&page=home&locale=de");
  const ScreenTextsResponse decoded = ScreenTextsResponse::decode(texts);
  EXPECT_FALSE(decoded.entries.empty());
  EXPECT_EQ(decoded.encode(), withoutNulls(texts));

  const JSONValue has = get("/api/has-background?set=" + set + "&page=home&os=ios");
  EXPECT_EQ(ExistsResponse::decode(has).encode(), has);
}

}  // namespace
}  // namespace vells::testing
