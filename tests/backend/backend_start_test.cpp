#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

#include "backend/test_support.h"

namespace vells::testing {
namespace {

using backend::LocalBackend;
using backend::LocalDatabase;
using backend::LocalLibrary;
using backend::PageRow;

TEST(BackendStart, FailedStartIsKeptAndNeverRetried) {
  TempDir dir;
  const fs::path root = dir.path() / "lib";
  writeFile(root, "a file where the library folder should be");
  auto core = std::make_shared<FakeCore>();
  LocalBackend b(LocalLibrary(root), core);

  auto first = call(b, "GET", "/health");
  EXPECT_EQ(first.status, 500);
  EXPECT_THAT(first.body, ::testing::StartsWith("Couldn\u2019t create the library folder"));
  EXPECT_EQ(first.mime, "text/plain; charset=utf-8");

  // Clear the obstacle: a retry would now succeed, so only a kept error explains a 500.
  fs::remove(root);
  auto second = call(b, "GET", "/api/sets");
  EXPECT_EQ(second.status, 500);
  EXPECT_EQ(second.body, first.body);
  EXPECT_FALSE(fs::exists(root));
  EXPECT_EQ(core->catalogReads.load(), 0);
}

TEST(BackendStart, UnreadableDatabaseAnswersEveryRoute) {
  TempDir dir;
  LocalLibrary lib(dir.path());
  writeFile(lib.databasePath(), std::string(2048, 'z'));
  LocalBackend b(lib, std::make_shared<FakeCore>());
  for (const char* path : {"/health", "/api/config", "/nowhere"}) {
    auto r = call(b, "GET", path);
    EXPECT_EQ(r.status, 500);
    EXPECT_EQ(r.body, "Couldn\u2019t open the library database: file is not a database");
  }
}

TEST(BackendStart, UpgradeSeedsPagelessSetsOnce) {
  TempDir dir;
  LocalLibrary lib(dir.path());
  lib.prepare();
  {
    LocalDatabase db(lib.databasePath());
    db.saveDocument(LocalDatabase::Document::texts, "empty", "{}");
    db.savePages("full", {PageRow{"mine", "Mine", "upload", {}}});
  }
  {
    LocalBackend b(lib, std::make_shared<FakeCore>());
    EXPECT_EQ(call(b, "GET", "/api/pages?set=empty").body,
              R"({"pages":[{"builtinId":"home","id":"home","label":"Home","source":"builtin"},)"
              R"({"builtinId":"stats","id":"stats","label":"Stats","source":"builtin"}]})");
    EXPECT_EQ(call(b, "GET", "/api/pages?set=full").body,
              R"({"pages":[{"id":"mine","label":"Mine","source":"upload"}]})");
    EXPECT_EQ(b.db().version(), 1);
    // Emptied afterwards, a set stays empty: the step runs only once.
    b.db().savePages("empty", {});
  }
  LocalBackend again(lib, std::make_shared<FakeCore>());
  EXPECT_EQ(call(again, "GET", "/api/pages?set=empty").body, R"({"pages":[]})");
}

TEST(BackendStart, FailedUpgradeStillServesTheOpenDatabase) {
  TempDir dir;
  LocalLibrary lib(dir.path());
  lib.prepare();
  {
    LocalDatabase db(lib.databasePath());
    db.saveDocument(LocalDatabase::Document::texts, "s", "{}");
    db.query(
        "CREATE TRIGGER refuse BEFORE INSERT ON set_pages BEGIN "
        "SELECT RAISE(ABORT, 'pages are frozen'); END");
  }
  LocalBackend b(lib, std::make_shared<FakeCore>());
  auto first = call(b, "GET", "/health");
  EXPECT_EQ(first.status, 500);
  EXPECT_EQ(first.body, "Database error: pages are frozen");
  EXPECT_EQ(call(b, "GET", "/health").body, R"({"ok":true})");
  EXPECT_EQ(call(b, "GET", "/api/texts?set=s").body, "{}");
}

TEST(BackendStart, ConcurrentFirstRequestsStartOnce) {
  TempDir dir;
  auto core = std::make_shared<FakeCore>();
  LocalBackend b(LocalLibrary(dir.path() / "lib"), core);
  std::vector<std::thread> threads;
  std::atomic<int> ok{0};
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&] {
      if (call(b, "GET", "/health").status == 200) ++ok;
    });
  }
  for (auto& t : threads)
    t.join();
  EXPECT_EQ(ok.load(), 8);
  // One read by the start itself and one by the upgrade's page seed; nothing per request.
  EXPECT_EQ(core->catalogReads.load(), 2);
}

TEST(RouteMatching, ExactMethodAndPath) {
  TempDir dir;
  LocalBackend b(LocalLibrary(dir.path()), std::make_shared<FakeCore>());
  EXPECT_EQ(call(b, "GET", "/health").body, R"({"ok":true})");
  for (auto [method, path] :
       std::vector<std::pair<const char*, const char*>>{{"POST", "/health"},
                                                        {"HEAD", "/health"},
                                                        {"get", "/health"},
                                                        {"GET", "/Health"},
                                                        {"GET", "/api/sets/"},
                                                        {"PUT", "/api/sets"},
                                                        {"GET", "/"},
                                                        {"GET", "/api/nothing"}}) {
    auto r = call(b, method, path);
    EXPECT_EQ(r.status, 404) << method << " " << path;
    EXPECT_EQ(r.body, "Not found");
  }
  // A percent-encoded path is matched in its decoded form.
  EXPECT_EQ(call(b, "GET", "/%68ealth").status, 200);
}

TEST(AssetRoutes, OnlyCatalogueFilesAreServed) {
  TempDir dir;
  const fs::path assets = dir.path() / "assets";
  writeFile(assets / "pattern" / "wiggle.svg", "<svg/>");
  writeFile(assets / "pattern" / "secret.svg", "<svg>secret</svg>");
  writeFile(assets / "fonts" / "nunito.woff2", "wOF2");
  writeFile(dir.path() / "x", "outside");
  LocalBackend b(LocalLibrary(dir.path() / "lib"), std::make_shared<FakeCore>(assets));

  auto r = call(b, "GET", "/pattern/wiggle.svg");
  EXPECT_EQ(r.status, 200);
  EXPECT_EQ(r.body, "<svg/>");
  EXPECT_EQ(r.mime, "image/svg+xml");
  EXPECT_EQ(r.headers.at("Cache-Control"), "public, max-age=31536000, immutable");
  r = call(b, "GET", "/fonts/nunito.woff2");
  EXPECT_EQ(r.mime, "font/woff2");
  EXPECT_EQ(r.body, "wOF2");

  for (const char* path :
       {"/pattern/secret.svg", "/patterns/wiggle.svg", "/pattern/../x", "/pattern/%2e%2e/x",
        "/fonts/wiggle.svg", "/pattern/", "/fonts//nunito.woff2"}) {
    EXPECT_EQ(call(b, "GET", path).status, 404) << path;
  }
  // Listed but missing on disk, or no assets folder at all.
  fs::remove(assets / "pattern" / "wiggle.svg");
  EXPECT_EQ(call(b, "GET", "/pattern/wiggle.svg").status, 404);
  TempDir other;
  LocalBackend bare(LocalLibrary(other.path()), std::make_shared<FakeCore>());
  EXPECT_EQ(call(bare, "GET", "/fonts/nunito.woff2").status, 404);
}

}  // namespace
}  // namespace vells::testing
