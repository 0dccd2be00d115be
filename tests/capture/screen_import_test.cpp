#include "capture/screen_import.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "backend/test_support.h"

namespace vells::capture::screen_import {
namespace {

using ::testing::ElementsAre;
using ::testing::UnorderedElementsAre;
using vells::testing::TempDir;
using vells::testing::writeFile;

SetPage upload(const std::string& id, const std::string& label) {
  return {id, label, PageSource::upload, std::nullopt};
}

const std::vector<SetPage> kPages = {{"intro", "Intro", PageSource::builtin, "intro"},
                                     upload("home", "Home"),
                                     upload("settings", "Settings"),
                                     upload("p3", "Third"),
                                     upload("p4", "Fourth")};
const std::vector<std::string> kCodes = {"en", "de", "fr", "ja"};

// "file -> page/locale" with the file relative to `root`, in the plan's order.
std::vector<std::string> describe(const Plan& plan, const fs::path& root) {
  std::vector<std::string> out;
  for (const Assignment& a : plan.assignments) {
    out.push_back(fs::relative(a.file, root).string() + " -> " + a.page.id + "/" +
                  a.locale.value_or("*"));
  }
  return out;
}

std::vector<std::string> unused(const Plan& plan, const fs::path& root) {
  std::vector<std::string> out;
  for (const fs::path& f : plan.unused)
    out.push_back(fs::relative(f, root).string());
  return out;
}

TEST(ScreenImportPlan, LocaleFromTheFolderOrTheNamesSuffix) {
  EXPECT_EQ(localeOf("/drop/de/01-Home.png", kCodes), "de");
  EXPECT_EQ(localeOf("/drop/home_fr.JPG", kCodes), "fr");
  EXPECT_EQ(localeOf("/drop/settings@ja.png", kCodes), "ja");
  EXPECT_EQ(localeOf("/drop/home.de.png", kCodes), "de");
  EXPECT_EQ(localeOf("/drop/home-DE.png", kCodes), "de");
  EXPECT_EQ(localeOf("/drop/garden.png", kCodes), std::nullopt);  // "en" without a separator
  EXPECT_EQ(localeOf("/drop/Deutsch/home.png", kCodes), std::nullopt);
  EXPECT_EQ(localeOf("/drop/DE/home.png", kCodes), std::nullopt);  // the folder must match exactly
  EXPECT_EQ(mime("a/home_fr.JPG"), "image/jpeg");
  EXPECT_EQ(mime("a/x.WebP"), "image/webp");
  EXPECT_EQ(mime("a/x.heic"), "image/png");
  EXPECT_TRUE(isPicture("x.HEIC"));
  EXPECT_FALSE(isPicture("readme.txt"));
}

// A folder as people really have them: languages as folders and as suffixes,
// numbered shots, a README, hidden files, and a folder too deep to count.
void makeMessyDrop(const fs::path& root, bool reversed) {
  std::vector<std::string> files = {"shots/de/01-Home.png",
                                    "shots/en/home.png",
                                    "shots/home_fr.JPG",
                                    "shots/settings@ja.png",
                                    "shots/.DS_Store",
                                    "shots/.hidden/home.png",
                                    "shots/readme.txt",
                                    "shots/10.png",
                                    "shots/2.png",
                                    "shots/1.png",
                                    "shots/Settings.webp",
                                    "shots/extra.png",
                                    "shots/old/2023/home.png",
                                    "shots/de/Einstellungen.png"};
  if (reversed) std::reverse(files.begin(), files.end());
  for (const std::string& f : files)
    writeFile(root / f, "x");
}

TEST(ScreenImportPlan, AMessyFolderSortsEveryFileTheSameWayWhateverTheCreationOrder) {
  TempDir one, two;
  makeMessyDrop(one.path(), false);
  makeMessyDrop(two.path(), true);
  const Plan a = plan({one.path() / "shots"}, kPages, kCodes);
  const Plan b = plan({two.path() / "shots"}, kPages, kCodes);
  EXPECT_EQ(describe(a, one.path()), describe(b, two.path()));
  EXPECT_EQ(unused(a, one.path()), unused(b, two.path()));

  // The shared group: names first (Settings.webp), then 1, 2, 10 in natural order
  // onto the pages left; "extra" finds none. Each language group starts afresh.
  EXPECT_THAT(
      describe(a, one.path()),
      ElementsAre("shots/Settings.webp -> settings/*", "shots/1.png -> home/*",
                  "shots/2.png -> p3/*", "shots/10.png -> p4/*", "shots/en/home.png -> home/en",
                  "shots/de/01-Home.png -> home/de", "shots/de/Einstellungen.png -> settings/de",
                  "shots/home_fr.JPG -> home/fr", "shots/settings@ja.png -> settings/ja"));
  EXPECT_THAT(unused(a, one.path()), UnorderedElementsAre("shots/readme.txt", "shots/extra.png"));
}

TEST(ScreenImportPlan, OnlyUploadedPagesTakePicturesAndOverflowIsUnused) {
  const std::vector<SetPage> builtins = {{"home", "Home", PageSource::builtin, "home"}};
  const Plan none = plan({"/d/home.png"}, builtins, {});
  EXPECT_TRUE(none.assignments.empty());
  EXPECT_EQ(none.unused, (std::vector<fs::path>{"/d/home.png"}));

  const std::vector<SetPage> three = {upload("a", "A"), upload("b", "B"), upload("c", "C")};
  const Plan four = plan({"/d/4.png", "/d/3.png", "/d/2.png", "/d/1.png"}, three, {});
  ASSERT_EQ(four.assignments.size(), 3u);
  EXPECT_EQ(four.assignments[0].file, "/d/1.png");
  EXPECT_EQ(four.unused, (std::vector<fs::path>{"/d/4.png"}));

  // A stem that contains the id, not equals it, still finds the page; an equal one wins first.
  const std::vector<SetPage> pages = {upload("home", "Home"), upload("homefeed", "Feed")};
  const Plan contains = plan({"/d/home-feed.png", "/d/home.png"}, pages, {});
  ASSERT_EQ(contains.assignments.size(), 2u);
  EXPECT_EQ(contains.assignments[0].page.id, "homefeed");
  EXPECT_EQ(contains.assignments[1].page.id, "home");
}

}  // namespace
}  // namespace vells::capture::screen_import
