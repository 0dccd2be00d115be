// Text fit: its line breaking, its steps against scripted reports, and a long
// German title repaired on a real library through the real browser.
#include "models/text_fit.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <deque>

#include "backend/test_support.h"
#include "models/api_client.h"
#include "models/manual_clock.h"
#include "models/scripted_documents.h"
#include "routes/local_service.h"

namespace vells::testing {
namespace {

using models::APIClient;
using models::TextFit;
using ::testing::ElementsAre;

TEST(TextFitLines, BalancedLinesKeepAccentsWhole) {
  EXPECT_EQ(TextFit::balancedLines("*one two* three", 4), "*one two*\nthree");
  EXPECT_EQ(TextFit::balancedLines("Oneword", 4), "Oneword");
  EXPECT_EQ(TextFit::balancedLines("Track\nevery habit you build today", 3),
            "Track every\nhabit you\nbuild today");
  EXPECT_EQ(TextFit::balancedLines("a bb ccc dddd", 2), "a bb ccc\ndddd");
}

std::string titleReport(double size, bool truncated, const std::string& issues = "") {
  return R"({"issues":[)" + issues + R"(],"layers":[],"phone":null,"title":{"lines":3,)" +
         R"("maxLines":2,"truncated":)" + (truncated ? "true" : "false") + R"(,"fontSize":)" +
         std::to_string(size) + R"(,"columnWidth":541,"box":[40,100,541,200]}})";
}

TEST(TextFitSteps, ATitleThatNeverFitsTriesLinesThenFallsToForty) {
  Scripted s;
  s.texts = R"({"home":{"de":{"title":"Gewohnheiten die wirklich bleiben"}}})";
  const std::string cut = R"("The title is cut off with \"…\".")";
  s.reports = {titleReport(44, true, cut)};
  const auto result = s.run();
  EXPECT_THAT(result.changes, ElementsAre("Broke the de title into 3 lines",
                                          "Title size 44 \u2192 40px in de so it fits"));
  EXPECT_EQ(JSONValue::parse(s.styles).find("home@de")->numberAt("titleSize"), 40);
  EXPECT_EQ(*JSONValue::parse(s.texts).find("home")->find("de")->stringAt("title"),
            "Gewohnheiten\ndie wirklich\nbleiben");
  ASSERT_TRUE(result.remaining);
  EXPECT_TRUE(result.remaining->titleDoesNotFit());
}

TEST(TextFitSteps, LayersColoursAndOverlapsEachSaySentence) {
  Scripted s;
  s.styles =
      R"({"home":{"titleColor":"#111111","layers":[)"
      R"({"id":"t","kind":"text","text":"Hi","x":-5,"y":300,"w":100,"size":12},)"
      R"({"id":"u","kind":"text","x":300,"y":150,"w":100}]},"home@de":{"titleColor":"#222222"}})";
  const std::string first =
      R"({"issues":["The text \"Hi\" (layer t) runs off the canvas: 55px past the left edge."],)"
      R"("layers":[{"id":"t","kind":"text","box":[-55,290,100,20],"fontSize":12},)"
      R"({"id":"u","kind":"text","box":[250,130,100,40],"fontSize":30}],"title":null})";
  const std::string colours =
      R"({"issues":["x"],"layers":[],"title":null,)"
      R"("colorFixes":[{"target":"title","color":"#0B0B0F"},{"target":"gone","color":"#fff"},)"
      R"({"target":"u","color":"#000000"}]})";
  const std::string overlap =
      R"({"issues":["The text \"…\" (layer u) overlaps the title."],)"
      R"("layers":[{"id":"u","kind":"text","box":[250,130,100,40],"fontSize":30}],)"
      R"("title":{"lines":1,"maxLines":2,"truncated":false,"fontSize":66,"columnWidth":541,)"
      R"("box":[40,100,541,60]}})";
  s.reports = {first, colours, overlap, R"({"issues":[],"layers":[]})"};
  const auto result = s.run();
  EXPECT_THAT(
      result.changes,
      ElementsAre("Moved \u201cHi\u201d back onto the canvas", "Raised \u201cHi\u201d to 22px",
                  "Title colour \u2192 #0B0B0F so it reads on the background",
                  "\u201ctext\u201d colour \u2192 #000000 so it reads",
                  "Moved \u201ctext\u201d below the title"));
  const JSONValue styles = JSONValue::parse(s.styles);
  const JSONValue& layers = *styles.find("home")->find("layers");
  EXPECT_EQ(layers.asArray()->at(0).numberAt("x"), 58);  // 8 − (−55) further right
  EXPECT_EQ(layers.asArray()->at(0).numberAt("size"), 22);
  EXPECT_EQ(layers.asArray()->at(1).numberAt("y"), 192);  // 160 + 12 + 20
  EXPECT_EQ(styles.find("home")->stringAt("titleColor"), "#0B0B0F");
  EXPECT_EQ(styles.find("home@de")->find("titleColor"), nullptr);
}

TEST(TextFitSteps, AFailedMeasureEndsWithNoChangesAndNoReport) {
  Scripted s;
  const auto result = s.run();
  EXPECT_TRUE(result.changes.empty());
  EXPECT_FALSE(result.remaining);
}

// --- the real thing ---

TEST(TextFitBrowser, ALongGermanTitleEndsFittingOrAtTheFloor) {
  TempDir dir;
  routes::LocalService service = routes::makeLocalService(
      {backend::LocalLibrary(dir.path() / "lib"), fs::path(VELLS_SOURCE_RESOURCES), 1});
  backend::LocalBackend& b = *service.backend;
  b.start();
  b.db().savePages("default", {{"home", "Home", "builtin", std::nullopt}});
  const std::string title =
      "Behalte jede Gewohnheit im Blick mit deinem persönlichen Fortschrittsprotokoll";
  ASSERT_EQ(
      call(b, "POST", "/api/texts?set=default", R"({"home":{"de":{"title":")" + title + R"("}}})")
          .status,
      200);
  ASSERT_EQ(call(b, "POST", "/api/styles?set=default", R"({"home":{"titleSize":96}})").status, 200);

  ManualClock clock;
  APIClient client(models::APITransport::local(b), clock);
  std::optional<TextFit::Result> result;
  TextFit::autoFit(client, "default", "home", DeviceOS::ios, ThemeName::dark, "de", nullptr,
                   [&](TextFit::Result r) { result = std::move(r); });
  ASSERT_TRUE(spinUntil([&] { return result.has_value(); }, 120000));
  ASSERT_TRUE(result->remaining);
  for (const auto& c : result->changes)
    std::cout << "  change: " << c << "\n";
  ASSERT_FALSE(result->changes.empty());
  EXPECT_THAT(
      result->changes,
      ::testing::Contains(::testing::MatchesRegex("Title size 96 → [0-9]+px in de so it fits")));
  const double size =
      *bodyJSON(call(b, "GET", "/api/styles?set=default")).find("home@de")->numberAt("titleSize");
  EXPECT_TRUE(!result->remaining->titleDoesNotFit() || size == TextFit::lastFloor) << size;
  EXPECT_FALSE(result->remaining->title->truncated && size > TextFit::lastFloor);
}

}  // namespace
}  // namespace vells::testing
