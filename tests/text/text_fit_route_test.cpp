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
#include "text/text_routes.h"

namespace vells::testing {
namespace {

using backend::LocalBackend;
using backend::LocalLibrary;
using backend::Response;
using rendering::CoreJS;
using rendering::HTMLRenderer;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

const std::string kContrastWhiteOnWhite =
    "The title colour #ffffff has 1.0:1 contrast against the background behind it \u2014 below "
    "the 4.5:1 needed to read it. Use a darker/lighter colour (#0B0B0F passes) or change the "
    "background there.";
const std::string kExclamation =
    "The title has an exclamation mark \u2014 store captions read stronger without one.";
const std::string kDownload =
    "The title asks people to download \u2014 never put a call to download on a screenshot.";

std::vector<std::string> strings(const JSONValue& array) {
  std::vector<std::string> out;
  if (!array.isArray()) return out;
  for (const JSONValue& v : *array.asArray())
    out.push_back(v.asString() ? *v.asString() : "?");
  return out;
}

std::vector<double> numbers(const JSONValue* array) {
  std::vector<double> out;
  if (!array || !array->isArray()) return out;
  for (const JSONValue& v : *array->asArray())
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
      : core(std::make_shared<CoreJS>(fs::path(VELLS_SOURCE_RESOURCES))),
        b(LocalLibrary(dir.path() / "lib"), core, {text::textRoutes(*renderer), {}}) {
    b.db().savePages("default", {{"home", "Home", "builtin", std::nullopt}});
  }

  void texts(const std::string& json) {
    ASSERT_EQ(call(b, "POST", "/api/texts", json).status, 200);
  }
  void styles(const std::string& json) {
    ASSERT_EQ(call(b, "POST", "/api/styles", json).status, 200);
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
    rendering::CompositeRequest request;
    request.os = "ios";
    auto made = rendering::Compositor(b, *renderer).composite(request);
    if (made)
      fs::copy_file(made->path, fs::path(out) / (name + ".png"),
                    fs::copy_options::overwrite_existing);
  }

  TempDir dir;
  std::shared_ptr<CoreJS> core;
  LocalBackend b;
};
std::unique_ptr<HTMLRenderer> TextFit::renderer;

TEST_F(TextFit, AnOverlongWhiteTitleOnALightGradientThatAsksForADownload) {
  texts(
      R"({"home":{"en":{"title":"Download now! Every habit you care about, tracked in one calm place for the whole week"}}})");
  styles(
      R"({"home":{"gradFrom":"#ffffff","gradVia":"#ffffff","gradTo":"#dddddd","gradAngle":180,"titleColor":"#ffffff"}})");
  const JSONValue report = measure();
  keep("text-fit-overlong");

  const JSONValue* title = report.find("title");
  ASSERT_TRUE(title && title->isObject()) << report.dump();
  EXPECT_EQ(title->boolAt("truncated"), true);
  EXPECT_EQ(title->numberAt("fontSize"), 66);
  EXPECT_EQ(title->numberAt("maxLines"), 2);
  const int lines = static_cast<int>(title->numberAt("lines").value_or(0));
  EXPECT_GT(lines, 2);

  const std::vector<std::string> issues = strings(*report.find("issues"));
  ASSERT_EQ(issues.size(), 4u) << report.dump();
  EXPECT_EQ(issues[0], "The title is cut off with \"\u2026\": at 66px it needs " +
                           std::to_string(lines) +
                           " lines and its box shows 2. Shorten it, break it with \\n into at most "
                           "2 lines, or lower titleSize.");
  EXPECT_EQ(issues[1], kContrastWhiteOnWhite);
  EXPECT_EQ(issues[2], kExclamation);
  EXPECT_EQ(issues[3], kDownload);
  EXPECT_EQ(*report.find("colorFixes"),
            JSONValue::parse(R"([{"target":"title","color":"#0B0B0F"}])"));
  EXPECT_EQ(numbers(report.find("phone")).size(), 4u);
  EXPECT_THAT(*report.find("layers")->asArray(), IsEmpty());
}

TEST_F(TextFit, ATitleClampedAtTwoLinesThatNeedsThree) {
  texts(R"({"home":{"en":{"title":"Habits\nthat stick around for good"}}})");
  const JSONValue report = measure();
  keep("text-fit-three-lines");
  const JSONValue& title = *report.find("title");
  EXPECT_EQ(title.numberAt("lines"), 3) << report.dump();
  EXPECT_EQ(title.numberAt("maxLines"), 2);
  EXPECT_EQ(title.boolAt("truncated"), true);
  // Two lines of 66px at a line height of 1.12 are 147.84 high, and the
  // element, with 6px of ink allowance round them, 159.84: the visible ink
  // ends at the clamp, where three lines would reach 221.76.
  const auto box = numbers(title.find("box"));
  ASSERT_EQ(box.size(), 4u);
  EXPECT_GE(box[3], 148);
  EXPECT_LE(box[3], 160);
  EXPECT_EQ(title.numberAt("columnWidth"), 541);
  EXPECT_THAT(strings(*report.find("issues")),
              ElementsAre("The title is cut off with \"\u2026\": at 66px it needs 3 lines and its "
                          "box shows 2. Shorten it, break it with \\n into at most 2 lines, or "
                          "lower titleSize."));
  EXPECT_THAT(*report.find("colorFixes")->asArray(), IsEmpty());
}

TEST_F(TextFit, ALongGermanWordBreaksInTheMiddle) {
  texts(R"({"home":{"de":{"title":"Datenschutzgrundverordnung"}}})");
  const JSONValue report = measure("page=home&os=ios&locale=de");
  const auto issues = strings(*report.find("issues"));
  ASSERT_FALSE(issues.empty()) << report.dump();
  std::smatch m;
  ASSERT_TRUE(std::regex_match(
      issues[0], m,
      std::regex("The title word \"Datenschutzgrundverordnung\" is ([0-9]+)px wide but the title "
                 "column is 541px, so it breaks in the middle\\. Use a shorter word or a smaller "
                 "titleSize\\.")))
      << issues[0];
  EXPECT_GT(std::stoi(m[1]), 600);
}

TEST_F(TextFit, AnEmptyTitleHasOneLineAndNoInk) {
  texts(R"({"home":{"en":{"title":""}}})");
  const JSONValue report = measure();
  const JSONValue& title = *report.find("title");
  EXPECT_EQ(title.numberAt("lines"), 1) << report.dump();
  EXPECT_EQ(title.boolAt("truncated"), false);
  const auto box = numbers(title.find("box"));
  ASSERT_EQ(box.size(), 4u);
  EXPECT_EQ(box[2], 0);
  EXPECT_THAT(strings(*report.find("issues")), IsEmpty());
}

TEST_F(TextFit, TextLayersOffTheCanvasTooSmallOrOverTheTitle) {
  texts(R"({"home":{"en":{"title":"Calm habits"}}})");
  // A layer's x and y are its centre; each is 300 wide.
  styles(R"({"home":{"gradFrom":"#000000","gradVia":"#000000","gradTo":"#000000","layers":[
    {"id":"off","kind":"text","text":"Just for you","x":-40,"y":700,"w":300,"size":40},
    {"id":"edge","kind":"text","text":"One","x":149,"y":800,"w":300,"size":40},
    {"id":"over","kind":"text","text":"Two","x":148.5,"y":900,"w":300,"size":40},
    {"id":"tiny","kind":"text","text":"Small print","x":310,"y":1000,"w":300,"size":20},
    {"id":"dim","kind":"text","text":"Hard to read","x":310,"y":1100,"w":300,"size":40,"color":"#0052cc"},
    {"id":"wide","kind":"text","text":"Unbelievablylongword","x":310,"y":1200,"w":100,"size":40},
    {"id":"ontitle","kind":"text","text":"Hi","x":310,"y":200,"w":300,"size":40}
  ]}})");
  const JSONValue report = measure();
  keep("text-fit-layers");
  const auto issues = strings(*report.find("issues"));
  ASSERT_GE(issues.size(), 6u) << report.dump();
  EXPECT_EQ(issues[0],
            "The text \"Just for you\" (layer off) runs off the canvas: 190px past the left edge.");
  // "edge" overhangs by exactly 1 pixel: no issue. "over" by 1.5.
  EXPECT_EQ(issues[1],
            "The text \"Two\" (layer over) runs off the canvas: 2px past the left edge.");
  EXPECT_EQ(issues[2],
            "The text \"Small print\" (layer tiny) is 20px \u2014 too small to read on "
            "a store page (22px or more).");
  std::smatch m;
  ASSERT_TRUE(std::regex_match(issues[3], m,
                               std::regex("The text \"Unbelievablylongword\" \\(layer wide\\): "
                                          "the word \"Unbelievablylongword\" is wider than its "
                                          "box \\(([0-9]+)px vs 100px\\)\\. Widen the box \\(w\\) "
                                          "or shorten the word\\.")))
      << issues[3];
  EXPECT_EQ(issues[4], "The text \"Hi\" (layer ontitle) overlaps the title.");
  EXPECT_THAT(issues[5], StartsWith("The text \"Hard to read\" (layer dim) colour #0052cc has "));
  EXPECT_EQ(issues.size(), 6u);
  EXPECT_EQ(*report.find("colorFixes"),
            JSONValue::parse(R"([{"target":"dim","color":"#FFFFFF"}])"));

  const JSONValue::Array& layers = *report.find("layers")->asArray();
  ASSERT_EQ(layers.size(), 7u);
  EXPECT_EQ(layers[0].stringAt("id"), "off");
  EXPECT_EQ(layers[0].stringAt("kind"), "text");
  EXPECT_EQ(layers[0].numberAt("fontSize"), 40);
  EXPECT_EQ(numbers(layers[0].find("box"))[0], -190);
  EXPECT_EQ(numbers(layers[0].find("box"))[2], 300);
  EXPECT_EQ(layers[3].numberAt("fontSize"), 20);
}

TEST_F(TextFit, AnImageLayerOffTheCanvasIsAChoice) {
  const std::string png = pngOf(cv::Mat(40, 40, CV_8UC4, cv::Scalar(0, 0, 255, 255)));
  writeFile(b.library().layers() / "default" / "sticker.png", png);
  styles(
      R"({"home":{"layers":[{"id":"sticker","kind":"image","asset":"sticker.png","x":-30,"y":300,"w":200}]}})");
  const JSONValue report = measure();
  const JSONValue::Array& layers = *report.find("layers")->asArray();
  ASSERT_EQ(layers.size(), 1u) << report.dump();
  EXPECT_EQ(layers[0].stringAt("kind"), "image");
  EXPECT_EQ(layers[0].numberAt("fontSize"), 0);
  EXPECT_EQ(numbers(layers[0].find("box")), (std::vector<double>{-130, 200, 200, 200}));
  EXPECT_THAT(strings(*report.find("issues")), IsEmpty());
}

TEST_F(TextFit, ABackgroundPictureHidesTheContrastButNotTheCopy) {
  texts(R"({"home":{"en":{"title":"Download it"}}})");
  styles(
      R"({"home":{"gradFrom":"#ffffff","gradVia":"#ffffff","gradTo":"#ffffff","titleColor":"#ffffff"}})");
  EXPECT_THAT(strings(*measure().find("issues")), ElementsAre(kContrastWhiteOnWhite, kDownload));

  writeFile(b.library().backgrounds() / "default-home-ios.png",
            pngOf(cv::Mat(20, 10, CV_8UC3, cv::Scalar(255, 255, 255))));
  const JSONValue report = measure();
  EXPECT_THAT(strings(*report.find("issues")), ElementsAre(kDownload));
  EXPECT_THAT(*report.find("colorFixes")->asArray(), IsEmpty());
  // Only the iOS page has a picture.
  EXPECT_THAT(strings(*measure("page=home&os=android").find("issues")),
              Contains(kContrastWhiteOnWhite));
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
                 {text::textRoutes(broken), {}});
  b.db().savePages("default", {{"home", "Home", "builtin", std::nullopt}});
  Response r = call(b, "GET", "/api/text-fit");
  EXPECT_EQ(r.status, 500);
  EXPECT_EQ(r.body, "The browser " + missing.string() +
                        " is not installed; run scripts/install-deps.sh or set VELLS_CHROMIUM.");
  EXPECT_EQ(broken.idleCount(), broken.slotCount());  // the slot was given back
}

}  // namespace
}  // namespace vells::testing
