#include "capture/screen_importer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "backend/test_support.h"
#include "capture/capture_fixture.h"

namespace vells::capture {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using namespace vells::testing;

using ScreenImporterTest = CaptureLibrary;

TEST_F(ScreenImporterTest, UploadsEachPictureToItsPageLanguageAndTheme) {
  writeFile(drop.path() / "en" / "home.png", tinyPNG());
  writeFile(drop.path() / "de" / "Home.png", tinyPNG());
  writeFile(drop.path() / "stats_de.png", tinyPNG());
  writeFile(drop.path() / "notes.txt", "not a picture");
  const ImportTarget t = target();
  EXPECT_THAT(t.localeCodes, ElementsAre("en", "de"));
  int lastDone = 0, lastTotal = 0;
  const ImportReport report = ScreenImporter(handle()).run(
      {drop.path()}, t, [&](int done, int total) { lastDone = done, lastTotal = total; });
  EXPECT_EQ(report.summary, "Added 3 screens for iOS — 1 not used");
  EXPECT_EQ(lastDone, 3);
  EXPECT_EQ(lastTotal, 3);
  EXPECT_THAT(stored(), ElementsAre("screens/light/" + set + "-home-ios-de.png",
                                    "screens/light/" + set + "-home-ios-en.png",
                                    "screens/light/" + set + "-stats-ios-de.png"));
  // The same drop again gives the same files: nothing doubles, nothing moves.
  EXPECT_EQ(ScreenImporter(handle()).run({drop.path()}, t).summary,
            "Added 3 screens for iOS — 1 not used");
  EXPECT_EQ(stored().size(), 3u);
}

TEST_F(ScreenImporterTest, BadFilesFailWithASentenceAndTheOthersStayImported) {
  writeFile(drop.path() / "1.png", tinyPNG());
  writeFile(drop.path() / "2.heic", "....ftypheic");
  fs::create_symlink(drop.path() / "gone.png", drop.path() / "3.png");
  writeFile(drop.path() / "4.png", tinyPNG());
  fs::resize_file(drop.path() / "4.png", ScreenImporter::kMaxBytes + 1);
  writeFile(drop.path() / "5.png", tinyPNG());
  const ImportReport report =
      ScreenImporter(handle()).run({drop.path()}, target(DeviceOS::android, ThemeName::dark));
  EXPECT_EQ(report.added, 1);
  EXPECT_EQ(report.summary, "Added 1 screen for Android — 2 failed — 2 not used");
  ASSERT_EQ(report.problems.size(), 2u);
  EXPECT_THAT(report.problems[0], HasSubstr("2.heic is a HEIC picture"));
  EXPECT_THAT(report.problems[1], HasSubstr("3.png couldn’t be read"));
  EXPECT_THAT(report.text(), HasSubstr("\n2.heic"));
  EXPECT_THAT(stored(), ElementsAre("screens/dark/" + set + "-home-android.png"));

  // The big one, on a page of its own.
  const ImportReport big = ScreenImporter(handle()).run({drop.path() / "4.png"}, target());
  EXPECT_EQ(big.summary, "Added 0 screens for iOS — 1 failed");
  EXPECT_THAT(big.problems.at(0), HasSubstr("more than the 50 MB"));
}

TEST_F(ScreenImporterTest, NothingToImportSaysWhy) {
  writeFile(drop.path() / "readme.txt", "hi");
  EXPECT_EQ(ScreenImporter(handle()).run({drop.path()}, target()).summary,
            "No images in that drop.");
  ImportTarget builtins = target();
  builtins.pages = {{"home", "Home", PageSource::builtin, "home"}};
  writeFile(drop.path() / "home.png", tinyPNG());
  EXPECT_EQ(ScreenImporter(handle()).run({drop.path()}, builtins).summary,
            "This set's pages are all built in — add an uploaded page first.");
  EXPECT_TRUE(stored().empty());
  EXPECT_THROW(ImportTarget::load(handle(), "nope", DeviceOS::ios, ThemeName::dark), Error);
}

}  // namespace
}  // namespace vells::capture
