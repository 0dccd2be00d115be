#include <gtest/gtest.h>

#include <cstdlib>

#include "backend/fake_store_server.h"
#include "backend/test_support.h"

namespace vells::testing {
namespace {

using backend::LocalLibrary;
using backend::Response;

class AppsRoutes : public ::testing::Test {
 protected:
  AppsRoutes() : b(LocalLibrary(dir.path() / "lib"), std::make_shared<FakeCore>()) {
    ::setenv("VELLS_LOOKUP_URL", store.base().c_str(), 1);
    // A proxy in the environment must not stand between the test and its loopback store.
    ::setenv("NO_PROXY", "127.0.0.1", 1);
    store.answer(200, R"({"results":[{"trackName":"Tally","artistName":"Bea"}]})");
  }
  ~AppsRoutes() override { ::unsetenv("VELLS_LOOKUP_URL"); }

  Response post(const std::string& path, const std::string& body, const std::string& type = "") {
    return b.handle(backend::requestFromURL(path, "POST", body, type));
  }
  static std::string error(const Response& r) { return *bodyJSON(r).stringAt("error"); }
  std::string addUnlisted(const std::string& body) {
    return *bodyJSON(post("/api/orvo/apps/unlisted", body)).stringAt("appId");
  }
  void addSet(const std::string& name, const std::string& appId) {
    post("/api/sets", R"({"name":")" + name + R"(","appId":")" + appId + "\"}");
  }
  JSONValue info(const std::string& appId) {
    auto row = b.db().app(appId);
    return row ? JSONValue(row->info) : JSONValue();
  }
  std::map<std::string, std::optional<std::string>> filing() {
    std::map<std::string, std::optional<std::string>> out;
    for (const auto& set : b.db().loadSets())
      out[set.name] = set.appId;
    return out;
  }

  TempDir dir;
  FakeStoreServer store;
  backend::LocalBackend b;
};

TEST_F(AppsRoutes, LookupAnswersAndFails) {
  const JSONValue found = bodyJSON(post("/api/orvo/lookup", R"({"url":"https://x/app/id42"})"));
  EXPECT_EQ(found.stringAt("appId"), "42");
  EXPECT_EQ(found.find("info")->stringAt("name"), "Tally");
  EXPECT_EQ(found.find("ok"), nullptr);

  EXPECT_EQ(error(post("/api/orvo/lookup", R"({"url":7})")),
            "Could not parse App ID from URL \u2014 expected \u2026/id<number>");
  store.answer(200, R"({"results":[]})");
  const Response missing = post("/api/orvo/lookup", R"({"url":" 42 "})");
  EXPECT_EQ(missing.status, 404);
  EXPECT_EQ(error(missing), "No App Store app with id 42");
  store.answer(503, "");
  const Response down = post("/api/orvo/lookup", R"({"url":"42"})");
  EXPECT_EQ(down.status, 500);
  EXPECT_EQ(down.mime, "text/plain; charset=utf-8");
  EXPECT_EQ(down.body, "The App Store lookup failed (HTTP 503).");
  store.answer(200, "not json");
  EXPECT_EQ(post("/api/orvo/lookup", R"({"url":"42"})").mime, "text/plain; charset=utf-8");
  EXPECT_TRUE(b.db().apps().empty());
}

TEST_F(AppsRoutes, SaveAndAddUnlisted) {
  EXPECT_EQ(error(post("/api/orvo/apps/save", R"({"appId":42})")), "Missing appId");
  EXPECT_EQ(post("/api/orvo/apps/save", R"({"appId":"42","info":{"profile":{"x":1}}})").body,
            R"({"ok":true,"seeded":[]})");
  EXPECT_EQ(info("42"), JSONValue::parse(R"({"profile":{"x":1}})"));  // stored as sent

  EXPECT_EQ(error(post("/api/orvo/apps/unlisted", R"({"name":" \t "})")), "Missing name");
  const JSONValue added = bodyJSON(post("/api/orvo/apps/unlisted", R"({"name":" \u00c9t\u00e9\t",
      "developer":" Bea ","profile":{"platforms":["web"],"about":" Counts. "}})"));
  const std::string id = *added.stringAt("appId");
  EXPECT_EQ(id.rfind("unlisted-t-", 0), 0u) << id;
  EXPECT_EQ(info(id), JSONValue::parse(R"({"name":"\u00c9t\u00e9","developer":"Bea",
                                           "unlisted":true,"profile":{"about":"Counts."}})"));
  EXPECT_EQ(*added.find("info"), info(id));
  EXPECT_EQ(addUnlisted(R"({"name":"!!!"})").rfind("unlisted-app-", 0), 0u);
}

TEST_F(AppsRoutes, UpdateRules) {
  EXPECT_EQ(error(post("/api/orvo/apps/update", R"({"appId":"nope"})")), "No such app");
  const std::string id = addUnlisted(R"({"name":"Tally","profile":{"about":"Counts."}})");
  auto update = [&](const std::string& appId, const std::string& fields) {
    return post("/api/orvo/apps/update", R"({"appId":")" + appId + "\"," + fields + "}");
  };

  EXPECT_EQ(error(update(id, R"("name":" ","developer":"Bo")")), "The name can\u2019t be empty");
  EXPECT_EQ(info(id).stringAt("developer"), "");  // nothing of that body was saved
  update(id, R"("name":" Tally 2 ","developer":" Bo ","icon":"/api/orvo/app-icon/a.png")");
  update(id, R"("icon":"https://elsewhere.example/a.png")");
  EXPECT_EQ(info(id), JSONValue::parse(R"({"name":"Tally 2","developer":"Bo","unlisted":true,
      "icon":"/api/orvo/app-icon/a.png","profile":{"about":"Counts."}})"));
  update(id, R"("icon":null)");
  EXPECT_EQ(info(id).find("icon"), nullptr);
  EXPECT_NE(info(id).find("profile"), nullptr);  // no key, no change
  update(id, R"("profile":null)");
  EXPECT_EQ(info(id).find("profile"), nullptr);

  // A listed app keeps the store's facts, and its first save time.
  post("/api/orvo/apps/save", R"({"appId":"42","info":{"name":"Tally","icon":"https://x"}})");
  const auto savedAt = b.db().app("42")->savedAt;
  EXPECT_EQ(update("42", R"("name":"Mine","icon":null,"profile":{"about":"A"})").status, 200);
  EXPECT_EQ(info("42"),
            JSONValue::parse(R"({"name":"Tally","icon":"https://x","profile":{"about":"A"}})"));
  EXPECT_EQ(b.db().app("42")->savedAt, savedAt);
}

TEST_F(AppsRoutes, LinkMovesSetsToTheListedApp) {
  const std::string id = addUnlisted(R"({"name":"Mine","profile":{"about":"Counts."}})");
  addSet("Spring", id);
  addSet("Summer", id);
  post("/api/sets", R"({"name":"Other"})");
  const Response r = post("/api/orvo/apps/link", R"({"appId":")" + id + R"(","url":"/id42"})");
  EXPECT_EQ(bodyJSON(r).stringAt("appId"), "42");
  EXPECT_EQ(*bodyJSON(r).find("info"), info("42"));
  EXPECT_EQ(info("42").stringAt("name"), "Tally");
  EXPECT_EQ(*info("42").find("profile"), JSONValue::parse(R"({"about":"Counts."})"));
  EXPECT_FALSE(b.db().app(id));
  EXPECT_EQ(filing(), (std::map<std::string, std::optional<std::string>>{
                          {"Spring", "42"}, {"Summer", "42"}, {"Other", std::nullopt}}));
}

TEST_F(AppsRoutes, LinkRefusesInItsOwnOrder) {
  const std::string id = addUnlisted(R"({"name":"Mine"})");
  addSet("Spring", id);
  post("/api/orvo/apps/save", R"({"appId":"42","info":{}})");
  auto link = [&](const std::string& appId, const std::string& url) {
    return post("/api/orvo/apps/link", R"({"appId":")" + appId + R"(","url":")" + url + "\"}");
  };
  EXPECT_EQ(error(link("nope", "x")),
            "That doesn\u2019t look like an App Store link \u2014 expected \u2026/id<number>");
  EXPECT_EQ(error(link("nope", "7")), "No such app");
  EXPECT_EQ(error(link("42", "7")), "This app is already on the App Store");
  const Response taken = link(id, "42");
  EXPECT_EQ(taken.status, 409);
  EXPECT_EQ(error(taken), "That App Store app is already added \u2014 delete one of the two first");
  EXPECT_TRUE(store.targets().empty());

  store.answer(200, R"({"results":[]})");
  const Response unknown = link(id, "7");
  EXPECT_EQ(unknown.status, 502);
  EXPECT_EQ(error(unknown), "Couldn\u2019t load that app from the App Store");
  store.answer(500, "{}");
  EXPECT_EQ(link(id, "7").body, "The App Store lookup failed (HTTP 500).");
  EXPECT_FALSE(b.db().app("7"));
  EXPECT_EQ(filing().at("Spring"), id);
}

TEST_F(AppsRoutes, DeleteLeavesSetsUnfiled) {
  const std::string id = addUnlisted(R"({"name":"Mine"})");
  addSet("Spring", id);
  EXPECT_EQ(post("/api/orvo/apps/delete", "{}").body, R"({"ok":true})");
  EXPECT_EQ(post("/api/orvo/apps/delete", R"({"appId":")" + id + "\"}").body, R"({"ok":true})");
  EXPECT_FALSE(b.db().app(id));
  EXPECT_EQ(filing().at("Spring"), std::nullopt);
}

TEST_F(AppsRoutes, IconsAreStoredAndServedByContent) {
  EXPECT_EQ(error(post("/api/orvo/app-icon", "", "image/png")), "Empty image");
  const std::string png = "\x89PNG icon", hash = backend::sha(png);
  for (auto [type, ext] : std::map<std::string, std::string>{{"image/png", "png"},
                                                             {"", "png"},
                                                             {"image/jpg", "jpg"},
                                                             {"image/jpeg; q=1", "jpg"},
                                                             {"image/webp", "webp"},
                                                             {"image/JPEG", "png"}}) {
    EXPECT_EQ(bodyJSON(post("/api/orvo/app-icon", png, type)).stringAt("icon"),
              "/api/orvo/app-icon/" + hash + "." + ext)
        << type;
  }
  EXPECT_EQ(backend::files(b.library().appIcons()).size(), 3u);

  const Response served = call(b, "GET", "/api/orvo/app-icon/" + hash + ".png");
  EXPECT_EQ(served.body, png);
  EXPECT_EQ(served.headers.at("Cache-Control"), "public, max-age=31536000, immutable");
  std::string upper = hash;
  for (char& c : upper)
    c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  writeFile(b.library().appIcons() / (upper + ".png"), png);
  for (const std::string& name : {upper + ".png", hash + ".gif", std::string(32, 'a') + ".png",
                                  std::string("../orvo-tools.sqlite")}) {
    EXPECT_EQ(call(b, "GET", "/api/orvo/app-icon/" + name).status, 404) << name;
  }
}

}  // namespace
}  // namespace vells::testing
