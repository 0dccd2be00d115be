// The backend with the shipped core.js behind it: what a fresh library shows.
#include <gtest/gtest.h>

#include "backend/test_support.h"
#include "rendering/core_js.h"

namespace vells::testing {
namespace {

using backend::LocalBackend;
using backend::LocalDatabase;
using backend::LocalLibrary;
using rendering::CoreJS;

class RealCore : public ::testing::Test {
 protected:
  std::shared_ptr<CoreJS> core = std::make_shared<CoreJS>(fs::path(VELLS_SOURCE_RESOURCES));
  TempDir dir;
};

TEST_F(RealCore, ConfigListsTheSampleAppAndTheStoreLocales) {
  LocalBackend b(LocalLibrary(dir.path()), core);
  auto r = call(b, "GET", "/api/config");
  ASSERT_EQ(r.status, 200) << r.body;
  JSONValue config = bodyJSON(r);
  EXPECT_GE(config.find("pages")->asArray()->size(), 5u);
  EXPECT_TRUE(config.stringAt("pagesAppId").has_value());
  const auto* store = config.find("storeLocales")->asArray();
  ASSERT_GE(store->size(), 39u);
  for (const JSONValue& locale : *store) {
    EXPECT_TRUE(locale.stringAt("code") && locale.stringAt("nativeName") && locale.stringAt("flag"))
        << locale.dump();
  }
}

TEST_F(RealCore, FontsAndPatternsOfTheCatalogueAreServed) {
  LocalBackend b(LocalLibrary(dir.path()), core);
  auto fonts = b.catalog().files("fontFiles");
  ASSERT_FALSE(fonts.empty());
  for (const std::string& font : fonts) {
    auto r = call(b, "GET", "/fonts/" + font);
    EXPECT_EQ(r.status, 200) << font;
    EXPECT_EQ(r.mime, "font/woff2");
    EXPECT_EQ(r.body.substr(0, 4), "wOF2");
    EXPECT_EQ(r.headers.at("Cache-Control"), "public, max-age=31536000, immutable");
  }
  auto tile = call(b, "GET", "/pattern/wiggle.svg");
  EXPECT_EQ(tile.status, 200);
  EXPECT_EQ(tile.mime, "image/svg+xml");
  EXPECT_EQ(call(b, "GET", "/pattern/../core.js").status, 404);
  EXPECT_EQ(call(b, "GET", "/fonts/LICENSE-nunito.txt").status, 404);
}

TEST_F(RealCore, UpgradeSeedsTheCatalogueAndScreenTextsAnswer) {
  LocalLibrary lib(dir.path());
  lib.prepare();
  {
    LocalDatabase db(lib.databasePath());
    db.saveDocument(LocalDatabase::Document::texts, "default",
                    R"({"home":{"de":{"screen":{"greeting":"Hallo Welt"}}}})");
  }
  LocalBackend b(lib, core);
  JSONValue pages = bodyJSON(call(b, "GET", "/api/pages"));
  const auto catalogue = b.catalog().pages();
  ASSERT_EQ(pages.find("pages")->asArray()->size(), catalogue.size());
  EXPECT_EQ(*pages.find("pages")->asArray()->at(0).stringAt("id"), *catalogue.at(0).stringAt("id"));

  JSONValue texts = bodyJSON(call(b, "GET", "/api/screen-texts?page=home&locale=de"));
  EXPECT_FALSE(texts.find("entries")->asArray()->empty());
  EXPECT_EQ(*texts.find("overrides")->stringAt("greeting"), "Hallo Welt");
}

TEST_F(RealCore, OnlySetsOfTheSampleAppGainBuiltInPages) {
  LocalBackend b(LocalLibrary(dir.path()), core);
  const std::string app = *b.catalog().pagesAppId();
  b.db().saveApp({app, {{"name", "Sample"}}, 1});
  auto sample = bodyJSON(call(b, "POST", "/api/sets", R"({"name":"Demo","appId":")" + app + "\"}"));
  auto other = bodyJSON(call(b, "POST", "/api/sets", R"({"name":"Mine"})"));
  const std::string page = *b.catalog().pages().at(1).stringAt("id");
  const std::string body = R"({"pages":[{"id":")" + page + R"("}]})";
  EXPECT_EQ(call(b, "POST", "/api/pages?set=" + *sample.stringAt("id"), body).status, 200);
  auto refused = call(b, "POST", "/api/pages?set=" + *other.stringAt("id"), body);
  EXPECT_EQ(refused.status, 400);
  EXPECT_NE(refused.body.find("this set isn\u2019t filed under it"), std::string::npos);
}

}  // namespace
}  // namespace vells::testing
