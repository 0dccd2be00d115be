// The effects flattening without a browser: parsing, maps, filters, flatten().

#include <gtest/gtest.h>

#include <map>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <regex>

#include "platform/base64.h"
#include "platform/image/image.h"
#include "rendering/effects.h"

namespace vells::rendering {
namespace {

using platform::Image;
using Point = Homography::Point;
using Blur = Effects::Blur;
using Shadow = Effects::DropShadow;

TEST(EffectsParse, OnlyBlurAndDropShadowAsChromiumComputesThem) {
  const struct {
    const char* text;
    std::vector<Effects::Filter> filters;
    double bleed;  // per filter: 3 × blur; max(|dx|, |dy|) + 1.5 × shadow radius
  } cases[] = {
      {"drop-shadow(rgba(0, 0, 0, 0.28) 0px 5px 7px)", {Shadow{{0, 0, 0, 0.28}, 0, 5, 7}}, 15.5},
      {"drop-shadow(rgba(10, 20, 30, 0.5) -3px 2px 3px) blur(2.25px) "
       "drop-shadow(rgb(255, 0, 0) 4px 0px)",
       {Shadow{{10 / 255.0, 20 / 255.0, 30 / 255.0, 0.5}, -3, 2, 3}, Blur{2.25},
        Shadow{{1, 0, 0, 1}, 4, 0, 0}},
       7.5 + 6.75 + 4},
  };
  for (const auto& c : cases) {
    auto list = Effects::parse(c.text);
    ASSERT_TRUE(list) << c.text;
    EXPECT_EQ(*list, c.filters) << c.text;
    EXPECT_DOUBLE_EQ(Effects::bleed(*list), c.bleed) << c.text;
  }
  // Anything else fails the whole list.
  for (const char* text :
       {"blur(4px) sepia(1)", "url(#shadow)", "grayscale(1)", "blur()", "blur(px)", "blur(4em)",
        "blur(4px", "drop-shadow(rgb(0, 0, 0) 2px)", "drop-shadow(rgb(0, 0, 0))",
        "drop-shadow(rgb(0, 0, 0) 2px three 1px)", "drop-shadow(black 2px 3px)",
        "drop-shadow(2px 3px 4px)", "drop-shadow(rgb(0, 0) 2px 3px)",
        "drop-shadow(color(srgb 0 0 0) 2px 3px 1px)", "drop-shadow(rgb(0 0 0) 2px 3px)",
        "drop-shadow(rgb(50%, 0, 0) 2px 3px)", "drop-shadow(rgb(1, 2, 3,) 2px 3px)"}) {
    EXPECT_FALSE(Effects::parse(text)) << text;
  }
}

TEST(EffectsHomography, SolvesAKnownMapAndNoneForCollinearOrMiscounted) {
  Homography known;
  const double h[8] = {0.9, 0.2, 30, -0.1, 1.1, 12, 0.0015, -0.0008};
  std::copy(h, h + 8, known.h);
  const std::vector<Point> from = {{10, 20}, {310, 5}, {290, 410}, {-20, 380}};
  std::vector<Point> to;
  for (const Point& p : from)
    to.push_back(known.map(p.x, p.y));
  auto solved = Homography::solve(from, to);
  ASSERT_TRUE(solved);
  const Point a = solved->map(123, 234), b = known.map(123, 234);  // any other point
  EXPECT_LT(std::hypot(a.x - b.x, a.y - b.y), 1e-7);

  const std::vector<Point> line = {{0, 0}, {10, 10}, {20, 20}, {30, 30}};
  EXPECT_FALSE(Homography::solve(from, line));
  EXPECT_FALSE(Homography::solve(line, from));
  EXPECT_FALSE(Homography::solve({from.begin(), from.begin() + 3}, {to.begin(), to.begin() + 3}));
}

cv::Mat box(int w, int h, cv::Rect inside, cv::Vec4b color) {
  cv::Mat m(h, w, CV_8UC4, cv::Vec4b{0, 0, 0, 0});
  m(inside).setTo(color);
  return m;
}

TEST(ImageFilters, BlursGrowBy3SigmaAndMatchADirectGaussian) {
  // Edges of every direction, a hole, a translucent part.
  cv::Mat shape = box(400, 300, {60, 50, 200, 120}, {255, 40, 0, 255});
  cv::circle(shape, {280, 200}, 60, cv::Scalar(0, 120, 255, 200), cv::FILLED);
  shape({100, 80, 40, 40}).setTo(cv::Scalar::all(0));
  const Image image = Image::fromRGBA8(shape);
  EXPECT_EQ(image.blurred(0).extent(), image.extent());
  for (double sigma : {1.5, 9.0, 40.0}) {
    const Image fast = image.blurred(sigma);
    EXPECT_EQ(fast.extent(), cv::Rect2d(-3 * sigma, -3 * sigma, 400 + 6 * sigma, 300 + 6 * sigma));
    const cv::Rect all = platform::integralRect(fast.extent());
    cv::Mat ours, reference, diff;
    fast.render(all).convertTo(ours, CV_32FC4);
    image.render(all).convertTo(reference, CV_32FC4);
    cv::GaussianBlur(reference, reference, cv::Size(), sigma, sigma, cv::BORDER_CONSTANT);
    cv::absdiff(ours, reference, diff);
    EXPECT_LT(cv::norm(diff, cv::NORM_INF), 3) << sigma;  // levels of 255
    EXPECT_LT(cv::norm(cv::mean(diff), cv::NORM_INF), 0.3) << sigma;
  }
}

struct Drawn {
  Rect rect;
  cv::Mat rgba;  // straight RGBA
  double scale;
  cv::Vec4b at(double x, double y) const {
    return rgba.at<cv::Vec4b>(static_cast<int>((y - rect.y) * scale),
                              static_cast<int>((x - rect.x) * scale));
  }
};

std::vector<Point> cornersOf(const Rect& r) {
  return {{r.x, r.y}, {r.x + r.width, r.y}, {r.x + r.width, r.y + r.height}, {r.x, r.y + r.height}};
}

const Rect kLayout{520, 510, 40, 30};
const Rect kWide{0, 0, 2000, 2000};
const cv::Vec4b kBlue{0, 0, 255, 255};

// Draws a blue element of 40 × 30 CSS pixels at (520, 510), captured with a
// margin of `m` around it, as flatten() hands it to render().
std::optional<Drawn> draw(double scale, std::vector<Effects::Filter> filters = {},
                          std::vector<Point> corners = cornersOf(kLayout), Rect clip = kWide,
                          int m = 10) {
  const int s = static_cast<int>(scale);
  const Image picture = Image::fromRGBA8(
      box((40 + 2 * m) * s, (30 + 2 * m) * s, {m * s, m * s, 40 * s, 30 * s}, kBlue));
  const Rect region{520.0 - m, 510.0 - m, 40.0 + 2 * m, 30.0 + 2 * m};
  auto r = Effects::render(picture, region, kLayout, corners, filters, clip, scale);
  if (!r) return std::nullopt;
  const std::string prefix = "data:image/png;base64,",
                    png = platform::base64Decode(r->src.substr(prefix.size())).value_or("");
  EXPECT_EQ(r->src.rfind(prefix, 0), 0u);
  cv::Mat raw(1, static_cast<int>(png.size()), CV_8UC1, const_cast<char*>(png.data()));
  cv::Mat rgba, bgra = cv::imdecode(raw, cv::IMREAD_UNCHANGED);
  cv::cvtColor(bgra, rgba, cv::COLOR_BGRA2RGBA);
  return Drawn{r->rect, rgba, scale};
}

TEST(EffectsRender, FiltersGrowThePictureAtTheScale) {
  auto blur = draw(2, {Blur{4}}, cornersOf(kLayout), kWide, 24);
  ASSERT_TRUE(blur);
  EXPECT_EQ(blur->rect, (Rect{496 - 12, 486 - 12, 88 + 24, 78 + 24}));  // by its bleed
  // A soft edge of sigma 4 CSS pixels: half on the edge, a quarter 2.75 outside, in blue.
  EXPECT_NEAR(blur->at(520, 525)[3], 134, 8);
  EXPECT_NEAR(blur->at(517, 525)[3], 63, 8);
  EXPECT_EQ(blur->at(517, 525)[2], 255);
  EXPECT_EQ(blur->at(505, 525)[3], 0);

  // A shadow under the element, sigma half its radius, its middle as dark as its colour.
  auto soft = draw(3, {Shadow{{1, 0, 0, 0.5}, 0, 10, 4}});
  ASSERT_TRUE(soft);
  EXPECT_EQ(soft->rect, (Rect{504, 500, 72, 66}));  // blur reach 3 × 2, offset 10 down
  EXPECT_EQ(soft->at(530, 520), kBlue);
  EXPECT_EQ(soft->at(540, 545)[0], 255);
  EXPECT_NEAR(soft->at(540, 545)[3], 127, 3);  // 2.4 sigma inside the shadow
}

TEST(EffectsRender, PlaceClipAndPerspective) {
  auto same = draw(2);  // untransformed: its place and pixels exactly
  ASSERT_TRUE(same);
  EXPECT_EQ(same->rect, (Rect{510, 500, 60, 50}));
  EXPECT_EQ(cv::norm(same->rgba, box(120, 100, {20, 20, 80, 60}, kBlue), cv::NORM_INF), 0);

  auto cut = draw(2, {}, cornersOf(kLayout), {530, 0, 1000, 520.5});
  ASSERT_TRUE(cut);
  EXPECT_EQ(cut->rect, (Rect{530, 500, 40, 20.5}));
  EXPECT_FALSE(draw(2, {}, cornersOf(kLayout), {0, 0, 100, 100}));

  // Twice the size, moved: the whole region goes with the element.
  auto moved = draw(2, {}, cornersOf({600, 700, 80, 60}));
  ASSERT_TRUE(moved);
  EXPECT_EQ(moved->rect, (Rect{580, 680, 120, 100}));
  EXPECT_EQ(moved->at(599, 699)[3], 0);

  // A tilt: the far side shorter. The picture is the corners' bounding box.
  auto tilt = draw(2, {}, {{520, 510}, {560, 515}, {560, 535}, {520, 540}}, kWide, 0);
  ASSERT_TRUE(tilt);
  EXPECT_EQ(tilt->rect, kLayout);
  EXPECT_EQ(tilt->at(521, 511)[3], 255);
  EXPECT_EQ(tilt->at(559, 511)[3], 0);  // above the short side
  EXPECT_EQ(tilt->at(559, 539)[3], 0);  // below it

  EXPECT_FALSE(draw(2, {}, {{520, 510}, {540, 510}, {560, 510}, {580, 510}}));  // no map
}

// Answers like the page script would, from tables, and records every call.
class ScriptedPage : public PageSlot {
 public:
  JSONValue scan = JSONValue::Array{};
  std::map<std::size_t, JSONValue> isolates;
  std::string failOn;  // a call starting so throws as a failing page script would
  std::vector<std::string> scripts;
  std::vector<std::pair<Rect, double>> captures;

  JSONValue run(const std::string& body) override {
    scripts.push_back(body);
    if (!failOn.empty() && body.rfind(failOn, 0) == 0) throw RenderError::engine("boom");
    if (body == "return __fx.scan()") return scan;
    const std::string isolate = "return __fx.isolate(";
    if (body.rfind(isolate, 0) == 0) return isolates[std::stoul(body.substr(isolate.size()))];
    return JSONValue();
  }

  // A picture of the right size with an opaque middle.
  std::string capturePNG(const Rect& rect, double pixelWidth, bool opaque) override {
    EXPECT_FALSE(opaque);
    captures.push_back({rect, pixelWidth});
    const int w = static_cast<int>(std::lround(pixelWidth));
    const int h = static_cast<int>(std::lround(pixelWidth * rect.height / rect.width));
    return platform::encodePNG(box(w, h, {w / 4, h / 4, w / 2, h / 2}, {200, 100, 50, 255}));
  }

  // The page calls after the script, open() and scan(), shortened.
  std::vector<std::string> calls() const {
    std::vector<std::string> out;
    static const std::regex call("^return __fx\\."), url("\"data:image/png;base64,[^\"]+\"");
    for (std::size_t k = 3; k < scripts.size(); ++k) {
      out.push_back(std::regex_replace(std::regex_replace(scripts[k], call, ""), url, "URL"));
    }
    return out;
  }
};

JSONValue entry(const std::string& filter, bool transformed = false) {
  return JSONValue::Object{{"filter", filter}, {"transformed", transformed}};
}

JSONValue numbers(std::initializer_list<double> v) {
  return JSONValue::Array(v.begin(), v.end());
}

JSONValue isolated(const Rect& box, const std::vector<Point>& corners,
                   std::optional<Rect> ink = std::nullopt) {
  JSONValue::Array c;
  for (const Point& p : corners)
    c.push_back(numbers({p.x, p.y}));
  JSONValue v =
      JSONValue::Object{{"box", numbers({box.x, box.y, box.width, box.height})}, {"corners", c}};
  if (ink) v["ink"] = numbers({ink->x, ink->y, ink->width, ink->height});
  return v;
}

TEST(EffectsFlatten, APageWithoutEffectsCostsOneScan) {
  for (const JSONValue& answer : {JSONValue(JSONValue::Array{}), JSONValue(), JSONValue("x")}) {
    ScriptedPage page;
    page.scan = answer;
    Effects::flatten(page, {400, 800}, 2);
    EXPECT_EQ(page.scripts,
              (std::vector<std::string>{Effects::script(), "__fx.open()", "return __fx.scan()"}));
    EXPECT_TRUE(page.captures.empty());
  }
}

TEST(EffectsFlatten, EveryIsolateIsMatchedByOneReplace) {
  ScriptedPage page;
  const Rect box{500, 500, 100, 50};
  page.scan = JSONValue::Array{
      entry("blur(2px)"),                              // 0: drawn
      entry("blur(4px) sepia(1)"),                     // 1: left to the browser, never isolated
      entry("", true),                                 // 2: isolate answers nonsense
      entry("blur(1px)"),                              // 3: wholly outside the viewport
      entry("", true),                                 // 4: corners on a line
      entry("drop-shadow(rgb(0, 0, 0) 2px 3px 0px)"),  // 5: box of no height
      entry("", true),                                 // 6: corners missing one
  };
  page.isolates[0] = isolated(box, cornersOf(box));
  page.isolates[2] = JSONValue::Object{{"box", numbers({1, 2, 3})}};
  page.isolates[3] = isolated({-400, 10, 100, 50}, cornersOf({-400, 10, 100, 50}));
  page.isolates[4] = isolated(box, {{500, 500}, {550, 500}, {600, 500}, {650, 500}});
  page.isolates[5] = isolated({500, 500, 100, 0}, cornersOf({500, 500, 100, 0}));
  page.isolates[6] = isolated(box, {{500, 500}, {600, 500}, {600, 550}});

  Effects::flatten(page, {400, 800}, 2);

  const std::string restore = ", '', 0, 0, 0, 0)";
  EXPECT_EQ(page.calls(), (std::vector<std::string>{
                              "isolate(0)", "replace(0, URL, 486, 486, 128, 78)", "isolate(2)",
                              "replace(2, null)", "isolate(3)", "replace(3" + restore, "isolate(4)",
                              "replace(4" + restore, "isolate(5)", "replace(5" + restore,
                              "isolate(6)", "replace(6, null)"}));
  // The drawn one at its region and scale; the collinear one before its map failed.
  ASSERT_EQ(page.captures.size(), 2u);
  EXPECT_EQ(page.captures[0], (std::pair<Rect, double>{{492, 492, 116, 66}, 232}));
  EXPECT_EQ(page.captures[1].first, (Rect{498, 498, 104, 54}));
}

TEST(EffectsFlatten, RegionsFollowTheInkAndStayInTheViewport) {
  ScriptedPage page;
  const Rect box{450.25, 1000, 100, 300};
  page.scan = JSONValue::Array{entry("drop-shadow(rgba(0, 0, 0, 0.28) 0px 5px 7px)"), entry("")};
  // The ink holds a child that hangs out to the left and a box-shadow far below.
  page.isolates[0] = isolated(box, cornersOf(box), Rect{440.25, 1000, 110, 840});
  page.isolates[1] = isolated({10, 20, 30, 40}, {{12, 20}, {38, 22}, {40, 58}, {10, 60}});
  page.isolates[1]["ink"] = "not numbers";
  Effects::flatten(page, {393, 852}, 1.5);
  ASSERT_EQ(page.captures.size(), 2u);
  // Grown by 2 + 15.5, cut at the viewport's bottom (852 + 960), then whole pixels.
  EXPECT_EQ(page.captures[0], (std::pair<Rect, double>{{422, 982, 146, 1812 - 982}, 1.5 * 146}));
  EXPECT_EQ(page.captures[1].first, (Rect{8, 18, 34, 44}));  // without usable ink, the box

  // The clip (the canvas grown by 8) cuts left and below, the shadow's blur reaches above, the
  // width (160 output pixels) is the shortest exact decimal. The second is outside the clip.
  EXPECT_EQ(page.calls(), (std::vector<std::string>{
                              "isolate(0)", "replace(0, URL, 472, 976, 106.66666666666667, 364)",
                              "isolate(1)", "replace(1, '', 0, 0, 0, 0)"}));
}

TEST(EffectsFlatten, PageErrorsEndTheWork) {
  ScriptedPage page;
  page.scan = JSONValue::Array{entry("blur(1px)"), entry("blur(1px)")};
  page.isolates[0] = isolated({500, 500, 10, 10}, cornersOf({500, 500, 10, 10}));
  page.failOn = "return __fx.replace(0";
  EXPECT_THROW(Effects::flatten(page, {400, 800}, 1), RenderError);
  EXPECT_EQ(page.calls().back().rfind("replace(0", 0), 0u);  // nothing after it
}

}  // namespace
}  // namespace vells::rendering
