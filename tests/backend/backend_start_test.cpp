#include <gtest/gtest.h>

#include <thread>

#include "backend/test_support.h"

namespace vells::testing {
namespace {

using backend::LocalBackend;
using backend::LocalDatabase;
using backend::LocalLibrary;
using backend::PageRow;
using backend::Response;

class BackendStart : public ::testing::Test {
 protected:
  static std::string answer(const Response& r) { return std::to_string(r.status) + ' ' + r.body; }
  BackendStart() { lib.prepare(); }
  LocalDatabase database() { return LocalDatabase(lib.databasePath()); }
  TempDir dir;
  LocalLibrary lib{dir.path()};
  std::shared_ptr<FakeCore> core = std::make_shared<FakeCore>();
};

TEST_F(BackendStart, FailedStartIsKeptAndNeverRetried) {
  const fs::path root = dir.path() / "lib";
  writeFile(root, "a file where the library folder should be");
  LocalBackend b(LocalLibrary(root), core);
  const std::string first = answer(call(b, "GET", "/health"));
  EXPECT_EQ(first.rfind("500 Couldn\u2019t create the library folder", 0), 0u) << first;

  // Clear the obstacle: a retry would now succeed, so only a kept error explains a 500.
  fs::remove(root);
  EXPECT_EQ(answer(call(b, "GET", "/api/sets")), first);
}

TEST_F(BackendStart, UnreadableDatabaseAnswersEveryRoute) {
  writeFile(lib.databasePath(), std::string(2048, 'z'));
  LocalBackend b(lib, core);
  for (const char* path : {"/health", "/api/config", "/nowhere"})
    EXPECT_EQ(answer(call(b, "GET", path)),
              "500 Couldn\u2019t open the library database: file is not a database");
}

TEST_F(BackendStart, UpgradeSeedsPagelessSetsOnce) {
  database().saveDocument(LocalDatabase::Document::texts, "empty", "{}");
  database().savePages("full", {PageRow{"mine", "Mine", "upload", {}}});
  {
    LocalBackend b(lib, core);
    EXPECT_EQ(call(b, "GET", "/api/pages?set=empty").body,
              R"({"pages":[{"builtinId":"home","id":"home","label":"Home","source":"builtin"},)"
              R"({"builtinId":"stats","id":"stats","label":"Stats","source":"builtin"}]})");
    EXPECT_EQ(call(b, "GET", "/api/pages?set=full").body,
              R"({"pages":[{"id":"mine","label":"Mine","source":"upload"}]})");
    // Emptied afterwards, a set stays empty: the step runs only once.
    b.db().savePages("empty", {});
  }
  LocalBackend again(lib, core);
  EXPECT_EQ(call(again, "GET", "/api/pages?set=empty").body, R"({"pages":[]})");
}

TEST_F(BackendStart, FailedUpgradeStillServesTheOpenDatabase) {
  database().saveDocument(LocalDatabase::Document::texts, "s", "{}");
  database().query(
      "CREATE TRIGGER refuse BEFORE INSERT ON set_pages BEGIN "
      "SELECT RAISE(ABORT, 'pages are frozen'); END");
  LocalBackend b(lib, core);
  EXPECT_EQ(answer(call(b, "GET", "/health")), "500 Database error: pages are frozen");
  EXPECT_EQ(call(b, "GET", "/api/texts?set=s").body, "{}");  // the open database still serves
}

TEST_F(BackendStart, ConcurrentFirstRequestsStartOnce) {
  LocalBackend b(LocalLibrary(dir.path() / "lib"), core);
  std::vector<std::thread> threads;
  std::atomic<int> ok{0};
  for (int i = 0; i < 8; ++i)
    threads.emplace_back([&] { ok += call(b, "GET", "/health").status == 200; });
  for (auto& t : threads)
    t.join();
  EXPECT_EQ(ok.load(), 8);
  // One read by the start itself and one by the upgrade's page seed; nothing per request.
  EXPECT_EQ(core->catalogReads.load(), 2);
}

TEST_F(BackendStart, RoutesMatchExactMethodAndPath) {
  LocalBackend b(lib, core);
  for (const std::string request :
       {"POST /health", "HEAD /health", "get /health", "GET /Health", "GET /api/sets/",
        "PUT /api/sets", "GET /", "GET /api/nothing"}) {
    const auto space = request.find(' ');
    EXPECT_EQ(call(b, request.substr(0, space), request.substr(space + 1)).status, 404) << request;
  }
  // A percent-encoded path is matched in its decoded form.
  EXPECT_EQ(call(b, "GET", "/%68ealth").status, 200);
}

TEST_F(BackendStart, OnlyCatalogueAssetsAreServed) {
  const fs::path assets = dir.path() / "assets";
  writeFile(assets / "pattern" / "wiggle.svg", "<svg/>");
  writeFile(assets / "pattern" / "secret.svg", "<svg>secret</svg>");
  writeFile(assets / "fonts" / "nunito.woff2", "wOF2");
  writeFile(dir.path() / "x", "outside");
  LocalBackend b(LocalLibrary(dir.path() / "lib"), std::make_shared<FakeCore>(assets));
  EXPECT_EQ(call(b, "GET", "/pattern/wiggle.svg").body, "<svg/>");
  EXPECT_EQ(call(b, "GET", "/fonts/nunito.woff2").body, "wOF2");

  for (const char* path :
       {"/pattern/secret.svg", "/patterns/wiggle.svg", "/pattern/../x", "/pattern/%2e%2e/x",
        "/fonts/wiggle.svg", "/pattern/", "/fonts//nunito.woff2"})
    EXPECT_EQ(call(b, "GET", path).status, 404) << path;
  // Listed but missing on disk, or no assets folder at all.
  fs::remove(assets / "pattern" / "wiggle.svg");
  EXPECT_EQ(call(b, "GET", "/pattern/wiggle.svg").status, 404);
  LocalBackend bare(LocalLibrary(dir.path() / "other"), core);
  EXPECT_EQ(call(bare, "GET", "/fonts/nunito.woff2").status, 404);
}

}  // namespace
}  // namespace vells::testing
