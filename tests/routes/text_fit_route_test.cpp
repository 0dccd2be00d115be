// /api/text-fit on a real library, the shipped core.js and the real headless
// browser: store-image pages measured as they really fall.
//
// With VELLS_TEXT_FIT_OUT set to a folder, the measured pages are kept there as
// PNG files for people to look at.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <opencv2/imgcodecs.hpp>
#include <regex>

#include "backend/test_support.h"
#include "platform/web/devtools_client.h"
#include "rendering/browser_slot.h"
#include "rendering/composite.h"
#include "rendering/core_js.h"
#include "routes/text_routes.h"

namespace vells::testing {
namespace {

using backend::LocalBackend;
using backend::LocalLibrary;
using backend::Response;
using rendering::CoreJS;
using rendering::HTMLRenderer;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using ::testing::StartsWith;

const std::string kContrastWhiteOnWhite =
    "The title colour #ffffff has 1.0:1 contrast against the background behind it \u2014 below "
    "the 4.5:1 needed to read it. Use a darker/lighter colour (#0B0B0F passes) or change the "
    "background there.";
const std::string kDownload =
    "The title asks people to download \u2014 never put a call to download on a screenshot.";

std::vector<std::string> issuesOf(const JSONValue& report) {
  std::vector<std::string> out;
  const JSONValue* issues = report.find("issues");
  for (const JSONValue& v : issues && issues->isArray() ? *issues->asArray() : JSONValue::Array{})
    out.push_back(v.asString() ? *v.asString() : "?");
  return out;
}

std::vector<double> numbers(const JSONValue* array) {
  std::vector<double> out;
  for (const JSONValue& v : array && array->isArray() ? *array->asArray() : JSONValue::Array{})
    out.push_back(v.asNumber() ? *v.asNumber() : -1e9);
  return out;
}

std::string pngOf(const cv::Mat& image) {
  std::vector<uchar> out;
  cv::imencode(".png", image, out);
  return std::string(out.begin(), out.end());
}

class TextFit : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { renderer = std::make_unique<HTMLRenderer>(1); }
  static void TearDownTestSuite() { renderer.reset(); }
  static std::unique_ptr<HTMLRenderer> renderer;

  TextFit()
      : b(LocalLibrary(dir.path() / "lib"),
          std::make_shared<CoreJS>(fs::path(VELLS_SOURCE_RESOURCES)),
          {routes::textRoutes(*renderer), {}}) {
    b.db().savePages("default", {{"home", "Home", "builtin", std::nullopt}});
  }

  void post(const std::string& what, const std::string& json) {
    ASSERT_EQ(call(b, "POST", "/api/" + what, json).status, 200) << what;
  }

  JSONValue measure(const std::string& query = "page=home&os=ios") {
    Response r = call(b, "GET", "/api/text-fit?" + query);
    EXPECT_EQ(r.status, 200) << r.body;
    EXPECT_EQ(r.mime, "application/json");
    auto report = JSONValue::tryParse(r.body);
    EXPECT_TRUE(report && report->isObject()) << r.body;
    return report.value_or(JSONValue::Object{});
  }

  // The page's store image, kept when a folder is named, so a person can see
  // that the page is what the test thinks it is.
  void keep(const std::string& name) {
    const char* out = std::getenv("VELLS_TEXT_FIT_OUT");
    if (!out || !*out) return;
    if (auto made = rendering::Compositor(b, *renderer).composite({.os = "ios"}))
      fs::copy_file(made->path, fs::path(out) / (name + ".png"),
                    fs::copy_options::overwrite_existing);
  }

  TempDir dir;
  LocalBackend b;
};
std::unique_ptr<HTMLRenderer> TextFit::renderer;

TEST_F(TextFit, ATitleClampedAtTwoLinesThatNeedsThree) {
  post("texts", R"({"home":{"en":{"title":"Habits\nthat stick around for good"}}})");
  const JSONValue report = measure();
  keep("text-fit-three-lines");
  JSONValue title = *report.find("title");
  // Two lines of 66px at a line height of 1.12 are 147.84 high, and the
  // element, with 6px of ink allowance round them, 159.84: the visible ink
  // ends at the clamp, where three lines would reach 221.76.
  const double height = numbers(title.find("box")).at(3);
  EXPECT_GE(height, 148) << report.dump();
  EXPECT_LE(height, 160);
  title.asObject()->erase("box");
  EXPECT_EQ(title, JSONValue::parse(R"({"lines":3,"maxLines":2,"truncated":true,"fontSize":66,)"
                                    R"("columnWidth":541})"));
  EXPECT_THAT(issuesOf(report),
              ElementsAre("The title is cut off with \"\u2026\": at 66px it needs 3 lines and its "
                          "box shows 2. Shorten it, break it with \\n into at most 2 lines, or "
                          "lower titleSize."));
}

TEST_F(TextFit, AnEmptyTitleAndALongGermanWord) {
  post("texts", R"({"home":{"en":{"title":""},"de":{"title":"Datenschutzgrundverordnung"}}})");
  const JSONValue empty = measure();
  // One line and no ink.
  EXPECT_EQ(empty.find("title")->numberAt("lines"), 1) << empty.dump();
  EXPECT_EQ(numbers(empty.find("title")->find("box")).at(2), 0);
  EXPECT_THAT(issuesOf(empty), IsEmpty());

  const JSONValue report = measure("page=home&os=ios&locale=de");
  const auto issues = issuesOf(report);
  const std::regex wide(
      "The title word \"Datenschutzgrundverordnung\" is ([0-9]+)px wide but the title column is "
      "541px, so it breaks in the middle\\. Use a shorter word or a smaller titleSize\\.");
  std::smatch m;
  ASSERT_TRUE(!issues.empty() && std::regex_match(issues[0], m, wide)) << report.dump();
  EXPECT_GT(std::stoi(m[1]), 600);
}

TEST_F(TextFit, LayersOffTheCanvasTooSmallOrOverTheTitle) {
  writeFile(b.library().layers() / "default" / "sticker.png",
            pngOf(cv::Mat(40, 40, CV_8UC4, cv::Scalar(0, 0, 255, 255))));
  post("texts", R"({"home":{"en":{"title":"Calm habits"}}})");
  // A layer's x and y are its centre; a picture partly off the canvas is a
  // choice. The edge's 1px of grace is the measuring script's own test.
  post("styles", R"({"home":{"gradFrom":"#000000","gradVia":"#000000","gradTo":"#000000","layers":[
    {"id":"off","kind":"text","text":"Just for you","x":-40,"y":700,"w":300,"size":40},
    {"id":"tiny","kind":"text","text":"Small print","x":310,"y":1000,"w":300,"size":20},
    {"id":"dim","kind":"text","text":"Hard to read","x":310,"y":1100,"w":300,"size":40,"color":"#0052cc"},
    {"id":"wide","kind":"text","text":"Unbelievablylongword","x":310,"y":1200,"w":100,"size":40},
    {"id":"ontitle","kind":"text","text":"Hi","x":310,"y":200,"w":300,"size":40},
    {"id":"sticker","kind":"image","asset":"sticker.png","x":-30,"y":500,"w":200}
  ]}})");
  const JSONValue report = measure();
  keep("text-fit-layers");
  EXPECT_THAT(
      issuesOf(report),
      ElementsAre(
          "The text \"Just for you\" (layer off) runs off the canvas: 190px past the left edge.",
          "The text \"Small print\" (layer tiny) is 20px \u2014 too small to read on a store page "
          "(22px or more).",
          MatchesRegex("The text \"Unbelievablylongword\" \\(layer wide\\): the word "
                       "\"Unbelievablylongword\" is wider than its box \\([0-9]+px vs 100px\\)\\. "
                       "Widen the box \\(w\\) or shorten the word\\."),
          "The text \"Hi\" (layer ontitle) overlaps the title.",
          StartsWith("The text \"Hard to read\" (layer dim) colour #0052cc has ")))
      << report.dump();
  EXPECT_EQ(*report.find("colorFixes"),
            JSONValue::parse(R"([{"target":"dim","color":"#FFFFFF"}])"));
  // Every layer is reported, those without issues as well; the picture's
  // height comes from its loaded pixels.
  const JSONValue::Array& layers = *report.find("layers")->asArray();
  ASSERT_EQ(layers.size(), 6u);
  EXPECT_EQ(
      layers[5],
      JSONValue::parse(R"({"id":"sticker","kind":"image","box":[-130,400,200,200],"fontSize":0})"));
}

TEST_F(TextFit, TheIssuesInOrderAndABackgroundPictureHidesTheContrast) {
  post(
      "texts",
      R"({"home":{"en":{"title":"Download now, every habit you care about, tracked in one calm place for the whole week"}}})");
  post(
      "styles",
      R"({"home":{"gradFrom":"#ffffff","gradVia":"#ffffff","gradTo":"#dddddd","gradAngle":180,"titleColor":"#ffffff"}})");
  writeFile(b.library().backgrounds() / "default-home-ios.png",
            pngOf(cv::Mat(20, 10, CV_8UC3, cv::Scalar(255, 255, 255))));
  const JSONValue report = measure();
  keep("text-fit-overlong");
  const auto cutOff = StartsWith("The title is cut off with \"\u2026\": at ");
  EXPECT_THAT(issuesOf(report), ElementsAre(cutOff, kDownload)) << report.dump();
  // The phone is drawn, though empty.
  EXPECT_EQ(numbers(report.find("phone")).size(), 4u);
  // Only the iOS page has a picture. The page's own issues come first, then
  // the contrast and then the copy.
  EXPECT_THAT(issuesOf(measure("page=home&os=android")),
              ElementsAre(cutOff, kContrastWhiteOnWhite, kDownload));
}

TEST_F(TextFit, AMissingPageIsNotFoundAndNothingIsRendered) {
  const int slots = renderer->slotCount();
  Response r = call(b, "GET", "/api/text-fit?page=nosuch&os=ios");
  EXPECT_EQ(r.status, 404);
  EXPECT_EQ(r.body, "Not found");
  r = call(b, "GET", "/api/text-fit?set=other");  // "home" of a set that has no pages
  EXPECT_EQ(r.status, 404);
  EXPECT_EQ(renderer->slotCount(), slots);
}

TEST(TextFitFailure, ARenderFailureIsTheEnginesError) {
  TempDir dir;
  const fs::path missing = dir.path() / "no-browser";
  HTMLRenderer broken(1, [missing] {
    return std::make_unique<rendering::BrowserSlot>(
        [missing] { return std::make_shared<platform::DevToolsClient>(missing); });
  });
  LocalBackend b(LocalLibrary(dir.path() / "lib"),
                 std::make_shared<CoreJS>(fs::path(VELLS_SOURCE_RESOURCES)),
                 {routes::textRoutes(broken), {}});
  b.db().savePages("default", {{"home", "Home", "builtin", std::nullopt}});
  Response r = call(b, "GET", "/api/text-fit");
  EXPECT_EQ(r.status, 500);
  EXPECT_EQ(r.body, "The browser " + missing.string() +
                        " is not installed; run scripts/install-deps.sh or set VELLS_CHROMIUM.");
  EXPECT_EQ(broken.idleCount(), broken.slotCount());  // the slot was given back
}

}  // namespace
}  // namespace vells::testing
