#include <gtest/gtest.h>

#include <thread>

#include "backend/test_support.h"

namespace vells::testing {
namespace {

using backend::DBError;
using backend::LocalDatabase;
using backend::PageRow;
using Doc = LocalDatabase::Document;
using Value = LocalDatabase::Value;

class Database : public ::testing::Test {
 protected:
  fs::path file() const { return dir.path() / "orvo-tools.sqlite"; }
  TempDir dir;
};

TEST_F(Database, ReopeningKeepsDataAndVersion) {
  {
    LocalDatabase db(file());
    db.setVersion(1);
    db.saveDocument(Doc::texts, "a", R"({"x":1})");
  }
  LocalDatabase db(file());
  EXPECT_EQ(db.version(), 1);
  EXPECT_EQ(db.document(Doc::texts, "a"), R"({"x":1})");
  EXPECT_EQ(db.query("PRAGMA journal_mode").at(0).at(0), Value{std::string("wal")});
}

TEST_F(Database, ImplicitSetRowsAndCascade) {
  LocalDatabase db(file());
  db.saveDocument(Doc::styles, "launch", "{}");
  db.savePages("default", {PageRow{"p", "P", "upload", {}}});
  auto sets = db.loadSets();
  ASSERT_EQ(sets.size(), 2u);
  EXPECT_EQ(sets[0].name, "launch");
  EXPECT_EQ(sets[1].name, "Default");

  // Saving an app again keeps its first save time.
  db.saveApp({"42", {{"name", "First"}}, 100});
  db.saveApp({"42", {{"name", "Second"}}, 999});
  EXPECT_EQ(db.app("42")->savedAt, 100);
  EXPECT_EQ(*JSONValue(db.app("42")->info).stringAt("name"), "Second");

  db.deleteSet("default");
  EXPECT_EQ(db.query("SELECT count(*) FROM set_pages")[0][0], Value{std::int64_t{0}});
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
  EXPECT_FALSE(set.locales.has_value());
  EXPECT_TRUE(db.apps().at(0).info.empty());
  EXPECT_EQ(db.apps().at(0).savedAt, 0);
  // Invalid UTF-8 is repaired rather than stored.
  db.saveDocument(Doc::texts, "r", "\"\xff\"");
  EXPECT_EQ(db.document(Doc::texts, "r"), "\"\xEF\xBF\xBD\"");
}

TEST_F(Database, BackupCopiesALiveDatabaseAndBadFilesThrow) {
  LocalDatabase source(file());
  source.saveDocument(Doc::texts, "s", R"({"live":true})");
  const fs::path copy = dir.path() / "copy.sqlite";
  LocalDatabase::copyDatabase(file(), copy);
  EXPECT_EQ(LocalDatabase(copy).document(Doc::texts, "s"), R"({"live":true})");
  EXPECT_THROW(LocalDatabase::copyDatabase(dir.path() / "missing.sqlite", copy), DBError);
  writeFile(copy, std::string(4096, 'x'));
  EXPECT_THROW(LocalDatabase{copy}, DBError);  // not a database
}

// Eight threads save page lists and documents of shared and own sets at once.
TEST_F(Database, ConcurrentSavesStayConsistent) {
  LocalDatabase db(file());
  std::vector<std::jthread> threads;
  for (int t = 0; t < 8; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < 60; ++i) {
        const std::string set = i % 2 ? "set-" + std::to_string(t) : "shared";
        std::vector<PageRow> pages;
        for (int p = 0; p <= (i + t) % 5; ++p)
          pages.push_back({"p" + std::to_string(p), "P", "upload", {}});
        EXPECT_NO_THROW(db.savePages(set, pages));
        EXPECT_NO_THROW(db.saveDocument(i % 3 ? Doc::texts : Doc::styles, set, "{}"));
      }
    });
  }
  threads.clear();  // joins them all
  EXPECT_EQ(db.query("PRAGMA integrity_check").at(0).at(0), Value{std::string("ok")});
  // Every page list is one whole save: positions run from 0 without gaps.
  EXPECT_TRUE(db.query("SELECT set_id FROM set_pages GROUP BY set_id HAVING min(position) != 0 "
                       "OR max(position) + 1 != count(*) OR count(DISTINCT position) != count(*)")
                  .empty());
  EXPECT_EQ(db.loadSets().size(), 9u);
}

}  // namespace
}  // namespace vells::testing
