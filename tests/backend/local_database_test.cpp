#include <gtest/gtest.h>

#include <thread>

#include "backend/test_support.h"

namespace vells::testing {
namespace {

using backend::DBError;
using backend::LocalDatabase;
using backend::PageRow;
using Doc = LocalDatabase::Document;

class Database : public ::testing::Test {
 protected:
  fs::path file() const { return dir.path() / "orvo-tools.sqlite"; }
  TempDir dir;
};

TEST_F(Database, ReopeningKeepsDataAndVersion) {
  {
    LocalDatabase db(file());
    EXPECT_EQ(db.version(), 0);
    db.setVersion(1);
    db.saveDocument(Doc::texts, "a", R"({"x":1})");
  }
  LocalDatabase db(file());
  EXPECT_EQ(db.version(), 1);
  EXPECT_EQ(db.document(Doc::texts, "a"), R"({"x":1})");
  auto mode = db.query("PRAGMA journal_mode");
  EXPECT_EQ(std::get<std::string>(mode.at(0).at(0)), "wal");
}

TEST_F(Database, ImplicitSetRowsAndCascade) {
  LocalDatabase db(file());
  db.saveDocument(Doc::styles, "launch", "{}");
  db.savePages("default", {PageRow{"p", "P", "upload", {}}});
  auto sets = db.loadSets();
  ASSERT_EQ(sets.size(), 2u);
  EXPECT_EQ(sets[0].name, "launch");
  EXPECT_EQ(sets[1].name, "Default");
  EXPECT_EQ(db.document(Doc::order, "launch"), "{}");

  db.saveApp({"42", {{"name", "First"}}, 100});
  db.updateSet({"launch", "Launch", "42", std::vector<std::string>{"de"}});
  db.saveApp({"42", {{"name", "Second"}}, 999});
  EXPECT_EQ(db.app("42")->savedAt, 100);
  EXPECT_EQ(*JSONValue(db.app("42")->info).stringAt("name"), "Second");
  db.deleteApp("42");
  EXPECT_FALSE(db.loadSets()[0].appId.has_value());

  db.deleteSet("default");
  db.deleteSet("never-existed");
  EXPECT_TRUE(db.pages("default").empty());
  EXPECT_EQ(db.query("SELECT count(*) FROM set_pages")[0][0],
            LocalDatabase::Value{std::int64_t{0}});
}

TEST_F(Database, FailedSavePagesKeepsTheOldPages) {
  LocalDatabase db(file());
  const std::vector<PageRow> old{{"a", "A", "upload", {}}, {"b", "B", "builtin", "home"}};
  db.savePages("s", old);
  EXPECT_THROW(db.savePages("s", {{"x", "X", "upload", {}}, {"x", "X", "upload", {}}}), DBError);
  EXPECT_EQ(db.pages("s"), old);
}

TEST_F(Database, ForgivingReads) {
  LocalDatabase db(file());
  db.query("INSERT INTO sets (id, name, locales) VALUES ('r', 35, '[\"de\", 1]')");
  db.query("INSERT INTO apps VALUES ('a', 'not json', 'soon')");
  auto set = db.loadSets().at(0);
  EXPECT_EQ(set.name, "35");  // text affinity stored the number as text
  auto mixed = db.query("SELECT 2.5, x'41', 7, NULL");
  EXPECT_EQ(mixed[0][0], LocalDatabase::Value{std::string("2.5")});
  EXPECT_EQ(mixed[0][1], LocalDatabase::Value{std::string("A")});
  EXPECT_EQ(mixed[0][2], LocalDatabase::Value{std::int64_t{7}});
  EXPECT_EQ(mixed[0][3], LocalDatabase::Value{std::monostate{}});
  EXPECT_FALSE(set.locales.has_value());
  EXPECT_TRUE(db.apps().at(0).info.empty());
  EXPECT_EQ(db.apps().at(0).savedAt, 0);
  // Bound texts stop at their first NUL, as C strings do.
  db.saveDocument(Doc::texts, "r", std::string("{}\0tail", 7));
  EXPECT_EQ(db.document(Doc::texts, "r"), "{}");
  // Invalid UTF-8 is repaired rather than stored.
  db.saveDocument(Doc::texts, "r", "\"\xff\"");
  EXPECT_EQ(db.document(Doc::texts, "r"), "\"\xEF\xBF\xBD\"");
}

TEST_F(Database, FileThatIsNotADatabase) {
  writeFile(file(), std::string(4096, 'x'));
  try {
    LocalDatabase db(file());
    FAIL() << "opened a file that is not a database";
  } catch (const DBError& e) {
    EXPECT_EQ(e.kind(), DBError::Kind::open);
    EXPECT_EQ(std::string(e.what()),
              "Couldn\u2019t open the library database: file is not a database");
  }
}

TEST_F(Database, BackupCopiesALiveDatabase) {
  LocalDatabase source(file());
  source.saveDocument(Doc::texts, "s", R"({"live":true})");
  const fs::path copy = dir.path() / "copy.sqlite";
  LocalDatabase::copyDatabase(file(), copy);
  LocalDatabase target(copy);
  EXPECT_EQ(target.document(Doc::texts, "s"), R"({"live":true})");
  EXPECT_THROW(LocalDatabase::copyDatabase(dir.path() / "missing.sqlite", copy), DBError);
}

// Eight threads save page lists and documents of shared and own sets at once.
TEST_F(Database, ConcurrentSavesStayConsistent) {
  LocalDatabase db(file());
  std::vector<std::thread> threads;
  std::atomic<int> errors{0};
  for (int t = 0; t < 8; ++t) {
    threads.emplace_back([&, t] {
      const std::string own = "set-" + std::to_string(t);
      for (int i = 0; i < 60; ++i) {
        try {
          const std::string set = i % 2 ? own : "shared";
          std::vector<PageRow> pages;
          for (int p = 0; p <= (i + t) % 5; ++p) {
            pages.push_back({"p" + std::to_string(p), "P", "upload", {}});
          }
          db.savePages(set, pages);
          db.saveDocument(i % 3 ? Doc::texts : Doc::styles, set,
                          R"({"t":)" + std::to_string(t) + R"(,"i":)" + std::to_string(i) + "}");
          (void)db.pages(set);
          (void)db.document(Doc::texts, set);
        } catch (const std::exception&) {
          ++errors;
        }
      }
    });
  }
  for (auto& th : threads)
    th.join();
  EXPECT_EQ(errors.load(), 0);
  EXPECT_EQ(std::get<std::string>(db.query("PRAGMA integrity_check").at(0).at(0)), "ok");
  // Every page list is one whole save: positions run from 0 without gaps.
  for (const auto& set : db.loadSets()) {
    auto rows =
        db.query("SELECT position FROM set_pages WHERE set_id = ? ORDER BY position", {set.id});
    for (std::size_t i = 0; i < rows.size(); ++i) {
      EXPECT_EQ(rows[i][0], LocalDatabase::Value{static_cast<std::int64_t>(i)});
    }
  }
  EXPECT_EQ(db.loadSets().size(), 9u);
}

}  // namespace
}  // namespace vells::testing
