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

// A real library with one set of three uploaded pages in English and German.
class ScreenImporterTest : public ::testing::Test {
 protected:
  ScreenImporterTest()
      : core(std::make_shared<FakeCore>()),
        backend(backend::LocalLibrary(dir.path() / "lib"), core) {
    JSONValue::Object catalog = FakeCore::defaultCatalog();
    catalog["pages"] = JSONValue::parse(R"([{"id":"home","label":"Home"}])");
    const JSONValue locales = JSONValue::parse(R"([{"code":"en","nativeName":"English","flag":""},
      {"code":"de","nativeName":"Deutsch","flag":""},{"code":"fr","nativeName":"Français","flag":""}])");
    catalog["locales"] = locales;
    catalog["storeLocales"] = locales;
    core->setCatalog(catalog);
    backend.start();
    set = *bodyJSON(call(backend, "POST", "/api/sets", R"({"name":"Shots","locales":["en","de"]})"))
               .stringAt("id");
    const auto saved = call(backend, "POST", "/api/pages?set=" + set,
                            R"({"pages":[{"id":"home","label":"Home","source":"upload"},
                                         {"id":"stats","label":"Stats","source":"upload"},
                                         {"id":"more","label":"More","source":"upload"}]})");
    EXPECT_EQ(saved.status, 200) << saved.body;
  }

  BackendCall handle() {
    return [this](const backend::Request& r) { return backend.handle(r); };
  }
  ImportTarget target(DeviceOS os = DeviceOS::ios, ThemeName theme = ThemeName::light) {
    return ImportTarget::load(handle(), set, os, theme);
  }
  std::vector<std::string> stored() {
    std::vector<std::string> out;
    for (const auto& e : fs::recursive_directory_iterator(dir.path() / "lib")) {
      const std::string rel = fs::relative(e.path(), dir.path() / "lib").string();
      if (e.is_regular_file() && rel.rfind("screens/", 0) == 0) out.push_back(rel);
    }
    std::sort(out.begin(), out.end());
    return out;
  }

  TempDir dir;
  TempDir drop;
  std::shared_ptr<FakeCore> core;
  backend::LocalBackend backend;
  std::string set;
};

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
