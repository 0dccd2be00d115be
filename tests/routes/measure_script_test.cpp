// The measuring script on small hand-made pages in the real headless browser,
// for the cases the store image never lays out: no phone, no clamp, words of
// equal width, a title past the edge.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "rendering/html_renderer.h"
#include "routes/measure_script.h"

namespace vells::routes {
namespace {

using rendering::HTMLRenderer;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class MeasureScript : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { renderer = std::make_unique<HTMLRenderer>(1); }
  static void TearDownTestSuite() { renderer.reset(); }
  static std::unique_ptr<HTMLRenderer> renderer;

  // A 400 by 600 page of `body`, in a monospaced face so that widths are known.
  static JSONValue measure(const std::string& body) {
    const std::string html =
        "<!DOCTYPE html><html><head><style>html,body{margin:0}body{font-family:monospace}"
        "</style></head><body>" +
        body + "</body></html>";
    return JSONValue::parse(renderer->measureText(html, {400, 600}, std::string(kMeasureScript)));
  }
  static std::vector<std::string> issues(const JSONValue& report) {
    std::vector<std::string> out;
    for (const JSONValue& v : *report.find("issues")->asArray())
      out.push_back(*v.asString());
    return out;
  }
};
std::unique_ptr<HTMLRenderer> MeasureScript::renderer;

TEST_F(MeasureScript, NoPhoneAndNoClamp) {
  const JSONValue report = measure(
      R"(<div style="width:300px"><div data-vell-title style="font-size:48px;line-height:1.25;padding:5px">Hi</div></div>)"
      R"(<div data-vell-layer="a" style="position:absolute;left:10px;top:300px;width:200px;font-size:30px">Plain</div>)");
  EXPECT_TRUE(report.find("phone")->isNull());
  EXPECT_THAT(issues(report), IsEmpty());
  // Without a clamp the box shows two lines; the column is the parent's width less the padding.
  JSONValue title = *report.find("title");
  title.asObject()->erase("box");
  EXPECT_EQ(title, JSONValue::parse(R"({"lines":1,"maxLines":2,"truncated":false,"fontSize":48,)"
                                    R"("columnWidth":290})"));
  const JSONValue& layer = report.find("layers")->asArray()->at(0);
  EXPECT_EQ(layer.stringAt("kind"), "text");
  EXPECT_EQ(layer.numberAt("fontSize"), 30);
  EXPECT_EQ(layer.find("box")->asArray()->at(0), 10);
  // No title element: no title.
  EXPECT_TRUE(measure("<p>Nothing to measure</p>").find("title")->isNull());
}

TEST_F(MeasureScript, OfTwoEquallyWideWordsTheFirstIsNamed) {
  // Twelve characters of a monospaced face at 48px: wider than the column of 290.
  const JSONValue report = measure(
      R"(<div style="width:300px"><div data-vell-title style="font-size:48px;padding:5px;overflow-wrap:break-word">MMMMMMMMMMMM WWWWWWWWWWWW</div></div>)");
  const auto all = issues(report);
  ASSERT_EQ(all.size(), 1u) << report.dump();
  EXPECT_THAT(all[0], ::testing::StartsWith("The title word \"MMMMMMMMMMMM\" is "));
  EXPECT_THAT(all[0], ::testing::EndsWith(
                          "px wide but the title column is 290px, so it breaks in the middle. "
                          "Use a shorter word or a smaller titleSize."));
}

TEST_F(MeasureScript, ASmallTitlePastTheEdgeAndOverThePhone) {
  const JSONValue report = measure(
      R"(<div data-vell-phone style="position:absolute;left:50px;top:40px;width:300px;height:500px"></div>)"
      R"(<div style="position:absolute;left:-20px;top:20px;width:600px"><div data-vell-title style="font-size:30px;line-height:1;white-space:nowrap">A title that is far too long</div></div>)");
  EXPECT_EQ(*report.find("phone"), JSONValue::parse("[50,40,300,500]"));
  const auto all = issues(report);
  ASSERT_EQ(all.size(), 3u) << report.dump();
  // 28 characters of 18px each run from -20 to 484.
  EXPECT_THAT(all[0], ::testing::MatchesRegex("The title runs off the canvas: 20px past the left "
                                              "edge, [0-9]+px past the right edge\\."));
  EXPECT_THAT(all[1], ::testing::MatchesRegex(
                          "The title's text overlaps the phone by [0-9]+px vertically\\."));
  EXPECT_EQ(
      all[2],
      "The title is 30px \u2014 too small to read on a store page (keep it at 40px or more).");
}

TEST_F(MeasureScript, LayersByKindWithTheEdgeTolerance) {
  const JSONValue report = measure(
      R"(<img data-vell-layer="pic" alt="" src="data:image/svg+xml,%3Csvg xmlns='http://www.w3.org/2000/svg' width='10' height='10'/%3E" style="position:absolute;left:-50px;top:-50px;width:100px;height:100px">)"
      R"(<div data-vell-layer="one" style="position:absolute;left:-1px;top:100px;width:100px;font-size:24px">One</div>)"
      R"(<div data-vell-layer="two" style="position:absolute;left:301.5px;top:200px;width:100px;font-size:24px">Two</div>)"
      R"(<div data-vell-layer="low" style="position:absolute;left:10px;top:590px;width:300px;font-size:24px">   )" +
      std::string(45, 'x') + R"(   </div>)");
  const std::string quoted = "The text \"" + std::string(40, 'x') + "\" (layer low)";
  EXPECT_THAT(issues(report),
              ElementsAre(
                  // "one" overhangs by exactly 1 pixel, "two" by 1.5.
                  "The text \"Two\" (layer two) runs off the canvas: 2px past the right edge.",
                  ::testing::MatchesRegex("The text \"x{40}\" \\(layer low\\) runs off the canvas: "
                                          "[0-9]+px below the bottom edge\\."),
                  ::testing::StartsWith(quoted + ": the word \"" + std::string(45, 'x') +
                                        "\" is wider than its box (")));
  const JSONValue::Array& layers = *report.find("layers")->asArray();
  ASSERT_EQ(layers.size(), 4u);
  EXPECT_EQ(layers[0], JSONValue::parse(
                           R"({"id":"pic","kind":"image","box":[-50,-50,100,100],"fontSize":0})"));
  EXPECT_EQ(layers[1].stringAt("kind"), "text");
  EXPECT_EQ(layers[1].numberAt("fontSize"), 24);
}

}  // namespace
}  // namespace vells::routes
