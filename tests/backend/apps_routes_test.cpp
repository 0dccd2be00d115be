#include <gtest/gtest.h>

#include <cstdlib>

#include "backend/fake_store_server.h"
#include "backend/test_support.h"

namespace vells::testing {
namespace {

using backend::LocalLibrary;
using backend::Response;
using Filing = std::map<std::string, std::optional<std::string>>;

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
  static std::string fail(const Response& r) { return std::to_string(r.status) + " " + error(r); }
  std::string addUnlisted(const std::string& body) {
    return *bodyJSON(post("/api/orvo/apps/unlisted", body)).stringAt("appId");
  }
  Response link(const std::string& appId, const std::string& url) {
    return post("/api/orvo/apps/link", R"({"appId":")" + appId + R"(","url":")" + url + "\"}");
  }
  JSONValue info(const std::string& id) { return JSONValue(b.db().app(id).value().info); }
  Filing filing() {
    Filing out;
    for (const auto& set : b.db().loadSets())
      out[set.name] = set.appId;
    return out;
  }

  TempDir dir;
  FakeStoreServer store;
  backend::LocalBackend b;
};

TEST_F(AppsRoutes, LookupAnswersAndFails) {
  auto lookup = [&](const char* body) { return post("/api/orvo/lookup", body); };
  const JSONValue found = bodyJSON(lookup(R"({"url":"https://x/app/id42"})"));
  EXPECT_EQ(found.stringAt("appId"), "42");
  EXPECT_EQ(found.find("info")->stringAt("name"), "Tally");

  EXPECT_EQ(error(lookup(R"({"url":7})")),
            "Could not parse App ID from URL \u2014 expected \u2026/id<number>");
  store.answer(200, R"({"results":[]})");
  EXPECT_EQ(fail(lookup(R"({"url":" 42 "})")), "404 No App Store app with id 42");
  store.answer(200, "not json");
  EXPECT_EQ(lookup(R"({"url":"42"})").mime, "text/plain; charset=utf-8");
  EXPECT_TRUE(b.db().apps().empty());  // a lookup saves nothing
}

TEST_F(AppsRoutes, SaveAddAndUpdate) {
  EXPECT_EQ(error(post("/api/orvo/apps/save", R"({"appId":42})")), "Missing appId");
  EXPECT_EQ(error(post("/api/orvo/apps/unlisted", R"({"name":" \t "})")), "Missing name");
  EXPECT_EQ(error(post("/api/orvo/apps/update", R"({"appId":"nope"})")), "No such app");
  const std::string id = addUnlisted(
      R"({"name":" Tally\t","developer":" Bea ","profile":{"platforms":["web"],"about":"Hi"}})");
  auto update = [&](const std::string& appId, const std::string& fields) {
    return post("/api/orvo/apps/update", R"({"appId":")" + appId + "\"," + fields + "}");
  };
  EXPECT_EQ(error(update(id, R"("name":" ","developer":"Bo")")), "The name can\u2019t be empty");
  EXPECT_EQ(info(id).stringAt("developer"), "Bea");  // nothing of that body was saved
  // Only icons this app serves are taken; a missing key changes nothing, null removes.
  update(id, R"("name":" Tally 2 ","developer":" Bo ","icon":"/api/orvo/app-icon/a.png")");
  update(id, R"("icon":"https://elsewhere.example/a.png")");
  EXPECT_EQ(info(id), JSONValue::parse(R"({"name":"Tally 2","developer":"Bo","unlisted":true,
      "icon":"/api/orvo/app-icon/a.png","profile":{"about":"Hi"}})"));
  update(id, R"("icon":null,"profile":null)");
  EXPECT_EQ(info(id), JSONValue::parse(R"({"name":"Tally 2","developer":"Bo","unlisted":true})"));

  // A listed app is stored as sent, and keeps the store's facts on update.
  post("/api/orvo/apps/save", R"({"appId":"42","info":{"name":"Tally","icon":"https://x"}})");
  update("42", R"("name":"Mine","icon":null,"profile":{"about":"A"})");
  EXPECT_EQ(info("42"),
            JSONValue::parse(R"({"name":"Tally","icon":"https://x","profile":{"about":"A"}})"));
}

TEST_F(AppsRoutes, LinkRefusesInItsOwnOrderThenMovesSets) {
  const std::string id = addUnlisted(R"({"name":"Mine","profile":{"about":"Counts."}})");
  post("/api/sets", R"({"name":"Spring","appId":")" + id + "\"}");
  post("/api/sets", R"({"name":"Other"})");
  post("/api/orvo/apps/save", R"({"appId":"42","info":{}})");
  EXPECT_EQ(error(link("nope", "x")),
            "That doesn\u2019t look like an App Store link \u2014 expected \u2026/id<number>");
  EXPECT_EQ(error(link("nope", "7")), "No such app");
  EXPECT_EQ(error(link("42", "7")), "This app is already on the App Store");
  EXPECT_EQ(fail(link(id, "42")),
            "409 That App Store app is already added \u2014 delete one of the two first");
  EXPECT_TRUE(store.targets().empty());
  store.answer(200, R"({"results":[]})");
  EXPECT_EQ(fail(link(id, "7")), "502 Couldn\u2019t load that app from the App Store");
  EXPECT_FALSE(b.db().app("7"));
  EXPECT_EQ(filing().at("Spring"), id);

  // Linked, the sets move to the listed app: the store's facts, the unlisted app's profile.
  store.answer(200, R"({"results":[{"trackName":"Tally"}]})");
  EXPECT_EQ(bodyJSON(link(id, "/id43")).stringAt("appId"), "43");
  EXPECT_EQ(info("43").stringAt("name"), "Tally");
  EXPECT_EQ(*info("43").find("profile"), JSONValue::parse(R"({"about":"Counts."})"));
  EXPECT_FALSE(b.db().app(id));
  EXPECT_EQ(filing(), (Filing{{"Spring", "43"}, {"Other", std::nullopt}}));
  // Deleting an app leaves its sets unfiled.
  EXPECT_EQ(post("/api/orvo/apps/delete", R"({"appId":"43"})").body, R"({"ok":true})");
  EXPECT_EQ(filing().at("Spring"), std::nullopt);
}

TEST_F(AppsRoutes, IconsAreStoredAndServedByContent) {
  EXPECT_EQ(error(post("/api/orvo/app-icon", "", "image/png")), "Empty image");
  const std::string png = "\x89PNG\r\n\x1A\n icon", hash = backend::sha(png),
                    at = "/api/orvo/app-icon/" + hash;
  auto icon = [&](const std::string& bytes, const std::string& type) {
    return bodyJSON(post("/api/orvo/app-icon", bytes, type)).stringAt("icon").value_or("");
  };
  EXPECT_EQ(icon(png, ""), at + ".png");
  EXPECT_EQ(icon(png, "image/jpeg; q=1"), at + ".png");  // the bytes name the type
  const std::string jpeg = "\xFF\xD8\xFF icon";
  EXPECT_EQ(icon(jpeg, "image/png"), "/api/orvo/app-icon/" + backend::sha(jpeg) + ".jpg");
  EXPECT_EQ(icon("<svg/>", "image/png"), "");
  EXPECT_EQ(call(b, "GET", at + ".png").body, png);

  // Only lowercase content names are served, even for files that exist.
  const std::string upper = "0123456789ABCDEF0123456789ABCDEF.png";
  writeFile(b.library().appIcons() / upper, png);
  for (const std::string& name :
       {upper, hash + ".gif", std::string(32, 'a') + ".png", std::string("../orvo-tools.sqlite")})
    EXPECT_EQ(call(b, "GET", "/api/orvo/app-icon/" + name).status, 404) << name;
}

}  // namespace
}  // namespace vells::testing
