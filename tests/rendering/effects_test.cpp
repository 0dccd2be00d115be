// The effects flattening without a browser: filter parsing, the homography,
// the image filters over real OpenCV, the drawing of one element, and the
// conversation of flatten() with a page that answers like the page script.

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
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

// --- Filters ------------------------------------------------------------------------------

Effects::Blur blurOf(const Effects::Filter& f) {
  return std::get<Effects::Blur>(f);
}
Effects::DropShadow shadowOf(const Effects::Filter& f) {
  return std::get<Effects::DropShadow>(f);
}

TEST(EffectsParse, BlurAndDropShadowAsChromiumComputesThem) {
  auto blur = Effects::parse("blur(4px)");
  ASSERT_TRUE(blur);
  ASSERT_EQ(blur->size(), 1u);
  EXPECT_EQ(blurOf((*blur)[0]).radius, 4);

  auto black = Effects::parse("drop-shadow(rgb(0, 0, 0) 2px 3px 0px)");
  ASSERT_TRUE(black);
  ASSERT_EQ(black->size(), 1u);
  EXPECT_EQ(shadowOf((*black)[0]), (Effects::DropShadow{{0, 0, 0, 1}, 2, 3, 0}));

  auto soft = Effects::parse("drop-shadow(rgba(0, 0, 0, 0.28) 0px 5px 7px)");
  ASSERT_TRUE(soft);
  EXPECT_EQ(shadowOf((*soft)[0]), (Effects::DropShadow{{0, 0, 0, 0.28}, 0, 5, 7}));
  EXPECT_DOUBLE_EQ(Effects::bleed(*soft), 15.5);
}

TEST(EffectsParse, SeveralFunctionsInOrderWithNestedParentheses) {
  auto list = Effects::parse(
      "drop-shadow(rgba(10, 20, 30, 0.5) -1.5px 2px 3px) blur(2.25px) "
      "drop-shadow(rgb(255, 0, 0) 4px 0px)");
  ASSERT_TRUE(list);
  ASSERT_EQ(list->size(), 3u);
  EXPECT_EQ(shadowOf((*list)[0]),
            (Effects::DropShadow{{10 / 255.0, 20 / 255.0, 30 / 255.0, 0.5}, -1.5, 2, 3}));
  EXPECT_EQ(blurOf((*list)[1]).radius, 2.25);
  EXPECT_EQ(shadowOf((*list)[2]), (Effects::DropShadow{{1, 0, 0, 1}, 4, 0, 0}));  // radius 0
}

TEST(EffectsParse, AnythingElseFailsTheWholeList) {
  for (const char* text : {
           "blur(4px) sepia(1)",  // unknown function after a good one
           "url(#shadow)",        // unknown function
           "grayscale(1)",
           "blur()",  // no number
           "blur(px)",
           "blur(4em)",                                // not pixels
           "blur(4px",                                 // never closed
           "drop-shadow(rgb(0, 0, 0) 2px)",            // one number
           "drop-shadow(rgb(0, 0, 0))",                // none
           "drop-shadow(rgb(0, 0, 0) 2px three 1px)",  // a word among them
           "drop-shadow(black 2px 3px)",               // colour without parentheses
           "drop-shadow(2px 3px 4px)",
           "drop-shadow(rgb(0, 0) 2px 3px)",              // colour with two numbers
           "drop-shadow(color(srgb 0 0 0) 2px 3px 1px)",  // colour not in numbers
       }) {
    EXPECT_FALSE(Effects::parse(text)) << text;
  }
}

TEST(EffectsColor, NumbersBetweenTheParentheses) {
  EXPECT_EQ(Effects::cssColor("rgb(255, 51, 0)"), (Effects::RGBA{1, 0.2, 0, 1}));
  EXPECT_EQ(Effects::cssColor("rgba(0, 0, 0, 0.28)"), (Effects::RGBA{0, 0, 0, 0.28}));
  EXPECT_EQ(Effects::cssColor("  rgba( 255 ,255,  0 , 0 ) "), (Effects::RGBA{1, 1, 0, 0}));
  // The name isn't looked at; only the numbers count.
  EXPECT_EQ(Effects::cssColor("(0, 255, 0)"), (Effects::RGBA{0, 1, 0, 1}));
  for (const char* text : {"red", "#ff0000", "rgb(1, 2)", "rgb(1, x, 3)", "rgb(0 0 0)",
                           "rgb(1, 2, 3,)", "rgb(50%, 0, 0)", "rgb)1, 2, 3(", ""}) {
    EXPECT_FALSE(Effects::cssColor(text)) << text;
  }
}

TEST(EffectsBleed, SumOfWhatEachFilterReaches) {
  EXPECT_EQ(Effects::bleed({}), 0);
  EXPECT_EQ(Effects::bleed({Effects::Blur{4}}), 12);
  // max(|dx|, |dy|) + 1.5 × radius, the sign of the offsets aside.
  EXPECT_EQ(Effects::bleed({Effects::DropShadow{{}, -6, 2, 2}}), 9);
  EXPECT_EQ(Effects::bleed({Effects::Blur{1}, Effects::DropShadow{{}, 0, 5, 7}}), 18.5);
}

// --- Homography ---------------------------------------------------------------------------

const std::vector<Point> kSquare = {{0, 0}, {100, 0}, {100, 100}, {0, 100}};

TEST(EffectsHomography, IdentityAndAKnownProjectiveMap) {
  auto same = Homography::solve(kSquare, kSquare);
  ASSERT_TRUE(same);
  const double identity[8] = {1, 0, 0, 0, 1, 0, 0, 0};
  for (int k = 0; k < 8; ++k) {
    EXPECT_NEAR(same->h[k], identity[k], 1e-12) << k;
  }

  Homography known;
  const double h[8] = {0.9, 0.2, 30, -0.1, 1.1, 12, 0.0015, -0.0008};
  std::copy(h, h + 8, known.h);
  std::vector<Point> from = {{10, 20}, {310, 5}, {290, 410}, {-20, 380}};
  std::vector<Point> to;
  for (const Point& p : from) {
    to.push_back(known.map(p.x, p.y));
  }
  auto solved = Homography::solve(from, to);
  ASSERT_TRUE(solved);
  for (int k = 0; k < 8; ++k) {
    EXPECT_NEAR(solved->h[k], h[k], 1e-9 * std::max(1.0, std::abs(h[k])));
  }
  // And any other point goes where the known map sends it.
  const Point a = solved->map(123, 234), b = known.map(123, 234);
  EXPECT_NEAR(a.x, b.x, 1e-7);
  EXPECT_NEAR(a.y, b.y, 1e-7);
  // The inverse problem gives the way back.
  auto back = Homography::solve(to, from);
  ASSERT_TRUE(back);
  const Point c = back->map(a.x, a.y);
  EXPECT_NEAR(c.x, 123, 1e-7);
  EXPECT_NEAR(c.y, 234, 1e-7);
}

TEST(EffectsHomography, NoneForDegenerateOrMiscountedPoints) {
  const std::vector<Point> line = {{0, 0}, {10, 10}, {20, 20}, {30, 30}};
  EXPECT_FALSE(Homography::solve(kSquare, line));
  EXPECT_FALSE(Homography::solve(line, kSquare));
  const std::vector<Point> three(kSquare.begin(), kSquare.begin() + 3);
  std::vector<Point> five = kSquare;
  five.push_back({50, 50});
  EXPECT_FALSE(Homography::solve(three, three));
  EXPECT_FALSE(Homography::solve(five, five));
  EXPECT_FALSE(Homography::solve(kSquare, five));
  EXPECT_FALSE(Homography::solve({}, {}));
}

// --- Image filters ------------------------------------------------------------------------

// Straight RGBA pictures built pixel by pixel.
cv::Mat canvas(int w, int h, cv::Vec4b fill = {0, 0, 0, 0}) {
  return cv::Mat(h, w, CV_8UC4, fill);
}

cv::Mat box(int w, int h, cv::Rect inside, cv::Vec4b color) {
  cv::Mat m = canvas(w, h);
  m(inside).setTo(color);
  return m;
}

// Alpha of the pixel in row y, column x of an 8-bit RGBA picture.
int alphaAt(const cv::Mat& m, int y, int x) {
  return m.at<cv::Vec4b>(y, x)[3];
}

cv::Mat decodeRaw(const std::string& png) {
  cv::Mat raw(1, static_cast<int>(png.size()), CV_8UC1, const_cast<char*>(png.data()));
  return cv::imdecode(raw, cv::IMREAD_UNCHANGED);
}

TEST(ImageFilters, PNGRoundTripKeepsChannelsAndStraightAlpha) {
  cv::Mat rgba = canvas(3, 2);
  rgba.at<cv::Vec4b>(0, 0) = {255, 0, 0, 255};   // red
  rgba.at<cv::Vec4b>(0, 1) = {0, 0, 255, 128};   // half blue
  rgba.at<cv::Vec4b>(1, 2) = {10, 200, 30, 51};  // faint green
  const std::string png = platform::encodePNG(rgba);
  ASSERT_FALSE(png.empty());

  // Other decoders see the same colours: OpenCV's BGRA order is undone.
  cv::Mat other = decodeRaw(png);
  ASSERT_EQ(other.type(), CV_8UC4);
  EXPECT_EQ(other.at<cv::Vec4b>(0, 0), (cv::Vec4b{0, 0, 255, 255}));

  auto image = Image::decodePNG(png);
  ASSERT_TRUE(image);
  EXPECT_EQ(image->extent(), cv::Rect2d(0, 0, 3, 2));
  cv::Mat back = image->renderRGBA8({0, 0, 3, 2});
  EXPECT_EQ(back.at<cv::Vec4b>(0, 0), rgba.at<cv::Vec4b>(0, 0));
  EXPECT_EQ(back.at<cv::Vec4b>(0, 1), rgba.at<cv::Vec4b>(0, 1));
  // Premultiplied inside: faint colours come back within what 8 bits of alpha hold.
  for (int c = 0; c < 4; ++c) {
    EXPECT_NEAR(back.at<cv::Vec4b>(1, 2)[c], rgba.at<cv::Vec4b>(1, 2)[c], 3) << c;
  }
  EXPECT_EQ(image->render({0, 0, 3, 2}).at<cv::Vec4b>(0, 1), (cv::Vec4b{0, 0, 128, 128}));
  // The picture's own PNG, from any rectangle, reads back the same.
  auto again = Image::decodePNG(image->encodePNG({0, 0, 3, 2}));
  ASSERT_TRUE(again);
  EXPECT_EQ(cv::norm(again->render({0, 0, 3, 2}), image->render({0, 0, 3, 2}), cv::NORM_INF), 0);
  auto shifted = Image::decodePNG(image->encodePNG({-1, 0, 3, 2}));
  ASSERT_TRUE(shifted);
  EXPECT_EQ(shifted->renderRGBA8({0, 0, 3, 2}).at<cv::Vec4b>(0, 1), rgba.at<cv::Vec4b>(0, 0));
  EXPECT_FALSE(Image::decodePNG("not a picture"));
  EXPECT_FALSE(Image::decodePNG(""));
  EXPECT_EQ(platform::pngDataURL("abc"), "data:image/png;base64,YWJj");
}

TEST(ImageFilters, BlurKeepsTheInkAndGrowsTheExtent) {
  const Image square = Image::fromRGBA8(box(120, 120, {40, 40, 40, 40}, {255, 255, 255, 255}));
  for (double sigma : {1.5, 6.0, 12.0, 30.0}) {
    const Image blurred = square.blurred(sigma);
    const double reach = 3 * sigma;
    EXPECT_EQ(blurred.extent(), cv::Rect2d(-reach, -reach, 120 + 2 * reach, 120 + 2 * reach));
    const cv::Rect all = platform::integralRect(blurred.extent());
    const cv::Mat px = blurred.render(all);
    // The ink stays, but for the tails a Gaussian cut at 3 sigma loses (about
    // half a percent on each side) and those too faint for 8 bits.
    EXPECT_NEAR(cv::sum(px)[3] / 255, 1600, 1600 * 0.02) << sigma;
    // Symmetric about the square's centre, which is (60, 60) on the plane.
    const int cx = 60 - all.x, cy = 60 - all.y;
    for (int d : {19, 20, 25}) {
      EXPECT_NEAR(alphaAt(px, cy, cx - d - 1), alphaAt(px, cy, cx + d), 1) << sigma << " " << d;
      EXPECT_NEAR(alphaAt(px, cy - d - 1, cx), alphaAt(px, cy + d, cx), 1) << sigma << " " << d;
    }
    // Just outside an edge the ink is less than half, and more than nothing.
    EXPECT_LT(alphaAt(px, cy, cx + 20), 128) << sigma;
    EXPECT_GT(alphaAt(px, cy, cx + 20), 10) << sigma;
  }
  EXPECT_EQ(square.blurred(0).extent(), square.extent());
}

TEST(ImageFilters, LargeBlursMatchADirectGaussian) {
  // Shapes with edges of every direction and a hole.
  cv::Mat shape = canvas(400, 300);
  cv::rectangle(shape, {60, 50, 200, 120}, cv::Scalar(255, 40, 0, 255), cv::FILLED);
  cv::circle(shape, {280, 200}, 60, cv::Scalar(0, 120, 255, 200), cv::FILLED);
  cv::rectangle(shape, {100, 80, 40, 40}, cv::Scalar(0, 0, 0, 0), cv::FILLED);
  const Image image = Image::fromRGBA8(shape);
  for (double sigma : {9.0, 20.0, 40.0}) {
    const Image fast = image.blurred(sigma);
    const cv::Rect all = platform::integralRect(fast.extent());
    cv::Mat ours;
    fast.render(all).convertTo(ours, CV_32FC4);
    // The same pixels, blurred the slow way.
    cv::Mat reference;
    image.render(all).convertTo(reference, CV_32FC4);
    cv::GaussianBlur(reference, reference, cv::Size(), sigma, sigma, cv::BORDER_CONSTANT);
    cv::Mat diff;
    cv::absdiff(ours, reference, diff);
    double worst = 0;
    cv::minMaxLoc(diff.reshape(1), nullptr, &worst);
    const cv::Scalar mean = cv::mean(diff);
    for (int c = 0; c < 4; ++c) {
      EXPECT_LT(mean[c], 0.3) << sigma;  // levels of 255
    }
    EXPECT_LT(worst, 3) << sigma;
  }
}

// --- One element drawn --------------------------------------------------------------------

struct Drawn {
  Rect rect;
  cv::Mat rgba;  // straight RGBA
};

Drawn decodeRendered(const Effects::Rendered& r) {
  const std::string prefix = "data:image/png;base64,";
  EXPECT_EQ(r.src.rfind(prefix, 0), 0u);
  auto png = platform::base64Decode(r.src.substr(prefix.size()));
  EXPECT_TRUE(png);
  cv::Mat bgra = decodeRaw(png.value_or(""));
  cv::Mat rgba;
  if (!bgra.empty()) cv::cvtColor(bgra, rgba, cv::COLOR_BGRA2RGBA);
  return {r.rect, rgba};
}

std::vector<Point> cornersOf(const Rect& r) {
  return {{r.x, r.y}, {r.x + r.width, r.y}, {r.x + r.width, r.y + r.height}, {r.x, r.y + r.height}};
}

// An element of 40 × 30 CSS pixels at (520, 510) of the page, captured with a
// margin of 10 around it at `scale`: what flatten() hands to render().
struct Element {
  double scale = 2;
  Rect layout{520, 510, 40, 30};
  Rect region{510, 500, 60, 50};
  cv::Vec4b color{0, 0, 255, 255};
  Image picture() const {
    const int s = static_cast<int>(scale);
    return Image::fromRGBA8(box(60 * s, 50 * s, {10 * s, 10 * s, 40 * s, 30 * s}, color));
  }
};
const Rect kWideClip{0, 0, 2000, 2000};

// The CSS pixel (x, y) of a drawn picture.
cv::Vec4b at(const Drawn& d, double scale, double x, double y) {
  return d.rgba.at<cv::Vec4b>(static_cast<int>((y - d.rect.y) * scale),
                              static_cast<int>((x - d.rect.x) * scale));
}

TEST(EffectsRender, AnUntransformedElementKeepsItsPlaceAndPixels) {
  const Element e;
  auto r =
      Effects::render(e.picture(), e.region, e.layout, cornersOf(e.layout), {}, kWideClip, e.scale);
  ASSERT_TRUE(r);
  const Drawn d = decodeRendered(*r);
  EXPECT_EQ(d.rect, e.region);
  ASSERT_EQ(d.rgba.cols, 120);
  ASSERT_EQ(d.rgba.rows, 100);
  cv::Mat expected = box(120, 100, {20, 20, 80, 60}, e.color);
  EXPECT_EQ(cv::norm(d.rgba, expected, cv::NORM_INF), 0);
}

TEST(EffectsRender, ABlurGrowsThePictureByItsBleed) {
  const Element e;
  const std::vector<Effects::Filter> blur = {Effects::Blur{4}};
  const Rect region{510 - 14, 500 - 14, 60 + 28, 50 + 28};  // ink + 2 + bleed
  Element wide = e;
  wide.region = region;
  const int s = 2;
  const Image picture =
      Image::fromRGBA8(box(88 * s, 78 * s, {24 * s, 24 * s, 40 * s, 30 * s}, e.color));
  auto r = Effects::render(picture, region, e.layout, cornersOf(e.layout), blur, kWideClip, s);
  ASSERT_TRUE(r);
  const Drawn d = decodeRendered(*r);
  EXPECT_EQ(d.rect, (Rect{region.x - 12, region.y - 12, region.width + 24, region.height + 24}));
  // The edge is soft: half coverage on it, the middle still full.
  EXPECT_NEAR(at(d, s, 520, 525)[3], 128, 8);
  EXPECT_EQ(at(d, s, 540, 525)[3], 255);
  EXPECT_LT(at(d, s, 517, 525)[3], 128);
  EXPECT_GT(at(d, s, 517, 525)[3], 10);
  EXPECT_EQ(at(d, s, 505, 525)[3], 0);
  // The colour stays blue however faint.
  EXPECT_EQ(at(d, s, 517, 525)[2], 255);
}

TEST(EffectsRender, ADropShadowLandsAtItsOffsetTimesTheScale) {
  Element e;
  e.scale = 3;
  const Effects::DropShadow black{{0, 0, 0, 1}, 6, 4, 0};
  auto r = Effects::render(e.picture(), e.region, e.layout, cornersOf(e.layout), {black}, kWideClip,
                           e.scale);
  ASSERT_TRUE(r);
  const Drawn d = decodeRendered(*r);
  // The region and the shadow: 6 more to the right, 4 more below.
  EXPECT_EQ(d.rect, (Rect{510, 500, 66, 54}));
  EXPECT_EQ(d.rgba.cols, 198);
  // The element on top, its shadow 6 right and 4 down, nothing beyond.
  EXPECT_EQ(at(d, e.scale, 530, 520), (cv::Vec4b{0, 0, 255, 255}));
  EXPECT_EQ(at(d, e.scale, 562, 520), (cv::Vec4b{0, 0, 0, 255}));
  EXPECT_EQ(at(d, e.scale, 565.9, 543.9), (cv::Vec4b{0, 0, 0, 255}));
  EXPECT_EQ(at(d, e.scale, 566.1, 530)[3], 0);
  EXPECT_EQ(at(d, e.scale, 530, 544.1)[3], 0);
  EXPECT_EQ(at(d, e.scale, 525.9, 541)[3], 0);
  EXPECT_EQ(at(d, e.scale, 526.1, 541), (cv::Vec4b{0, 0, 0, 255}));

  // A soft shadow: sigma half the radius, its middle as dark as its colour.
  const Effects::DropShadow soft{{1, 0, 0, 0.5}, 0, 10, 4};
  auto s = Effects::render(e.picture(), e.region, e.layout, cornersOf(e.layout), {soft}, kWideClip,
                           e.scale);
  ASSERT_TRUE(s);
  const Drawn ds = decodeRendered(*s);
  // The shadow's blur reaches 3 × 6 pixels (6 CSS) beyond it, the offset 10 down.
  EXPECT_EQ(ds.rect, (Rect{504, 500, 72, 66}));
  const cv::Vec4b below = at(ds, e.scale, 540, 545);  // 2.4 sigma inside the shadow
  EXPECT_EQ(below[0], 255);
  EXPECT_NEAR(below[3], 127, 3);
  EXPECT_NEAR(at(ds, e.scale, 540, 550)[3], 60, 6);  // the shadow's own edge: about half
}

TEST(EffectsRender, TheClipCutsAndThePerspectiveMoves) {
  const Element e;
  // Only what lies in the clip is drawn.
  auto cut = Effects::render(e.picture(), e.region, e.layout, cornersOf(e.layout), {},
                             Rect{530, 0, 1000, 520.5}, e.scale);
  ASSERT_TRUE(cut);
  EXPECT_EQ(decodeRendered(*cut).rect, (Rect{530, 500, 40, 20.5}));
  EXPECT_FALSE(Effects::render(e.picture(), e.region, e.layout, cornersOf(e.layout), {},
                               Rect{0, 0, 100, 100}, e.scale));

  // Twice the size, moved: the whole region goes with the element.
  const Rect twice{600, 700, 80, 60};
  auto moved =
      Effects::render(e.picture(), e.region, e.layout, cornersOf(twice), {}, kWideClip, e.scale);
  ASSERT_TRUE(moved);
  const Drawn dm = decodeRendered(*moved);
  EXPECT_EQ(dm.rect, (Rect{580, 680, 120, 100}));
  EXPECT_EQ(at(dm, e.scale, 601, 701), e.color);
  EXPECT_EQ(at(dm, e.scale, 679, 759), e.color);
  EXPECT_EQ(at(dm, e.scale, 599, 699)[3], 0);

  // A tilt: the far side shorter. The picture is the corners' bounding box.
  const std::vector<Point> tilted = {{520, 510}, {560, 515}, {560, 535}, {520, 540}};
  const Image full = Image::fromRGBA8(canvas(80, 60, e.color));
  auto tilt = Effects::render(full, e.layout, e.layout, tilted, {}, kWideClip, e.scale);
  ASSERT_TRUE(tilt);
  const Drawn dt = decodeRendered(*tilt);
  EXPECT_EQ(dt.rect, (Rect{520, 510, 40, 30}));
  EXPECT_EQ(at(dt, e.scale, 540, 525)[3], 255);
  EXPECT_EQ(at(dt, e.scale, 559, 511)[3], 0);  // above the short side
  EXPECT_EQ(at(dt, e.scale, 559, 539)[3], 0);  // below it
  EXPECT_EQ(at(dt, e.scale, 521, 511)[3], 255);

  const std::vector<Point> flat = {{520, 510}, {540, 510}, {560, 510}, {580, 510}};
  EXPECT_FALSE(Effects::render(e.picture(), e.region, e.layout, flat, {}, kWideClip, e.scale));
}

// --- flatten() against a scripted page ----------------------------------------------------

// Answers like the page script would, from tables, and records every call.
class ScriptedPage : public PageSlot {
 public:
  JSONValue scan = JSONValue::Array{};
  std::map<std::size_t, JSONValue> isolates;
  std::function<void(const std::string&)> onRun;
  std::vector<std::string> scripts;
  std::vector<std::pair<Rect, double>> captures;

  JSONValue run(const std::string& body) override {
    scripts.push_back(body);
    if (onRun) onRun(body);
    if (body == "return __fx.scan()") return scan;
    std::smatch m;
    static const std::regex isolate(R"(^return __fx\.isolate\((\d+)\)$)");
    if (std::regex_match(body, m, isolate)) return isolates[std::stoul(m[1])];
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

  // The page calls after the script, open() and scan(), data URLs shortened.
  std::vector<std::string> calls() const {
    std::vector<std::string> out;
    for (std::size_t k = 3; k < scripts.size(); ++k) {
      std::string s = scripts[k];
      static const std::regex url("\"data:image/png;base64,[A-Za-z0-9+/=]+\"");
      out.push_back(std::regex_replace(s, url, "URL"));
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
  for (const Point& p : corners) {
    c.push_back(numbers({p.x, p.y}));
  }
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
    ASSERT_EQ(page.scripts.size(), 3u);
    EXPECT_EQ(page.scripts[0], Effects::script());
    EXPECT_EQ(page.scripts[1], "__fx.open()");
    EXPECT_EQ(page.scripts[2], "return __fx.scan()");
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
  JSONValue three = isolated(box, cornersOf(box));
  (*three["corners"].asArray()).pop_back();
  page.isolates[6] = three;

  Effects::flatten(page, {400, 800}, 2);

  const std::string restore = ", '', 0, 0, 0, 0)";
  // bleed 6: the region is the box grown by 8; the picture by 2 more... and the blur's reach.
  EXPECT_EQ(page.calls(), (std::vector<std::string>{
                              "return __fx.isolate(0)",
                              "return __fx.replace(0, URL, 486, 486, 128, 78)",
                              "return __fx.isolate(2)",
                              "return __fx.replace(2, null)",
                              "return __fx.isolate(3)",
                              "return __fx.replace(3" + restore,
                              "return __fx.isolate(4)",
                              "return __fx.replace(4" + restore,
                              "return __fx.isolate(5)",
                              "return __fx.replace(5" + restore,
                              "return __fx.isolate(6)",
                              "return __fx.replace(6, null)",
                          }));
  // Only the drawn element was captured, at its region and the output scale.
  ASSERT_EQ(page.captures.size(), 2u);
  EXPECT_EQ(page.captures[0].first, (Rect{492, 492, 116, 66}));
  EXPECT_EQ(page.captures[0].second, 232);
  // The collinear one was captured before its map turned out impossible.
  EXPECT_EQ(page.captures[1].first, (Rect{498, 498, 104, 54}));
}

TEST(EffectsFlatten, RegionsFollowTheInkAndStayInTheViewport) {
  ScriptedPage page;
  const Rect box{450.25, 1000, 100, 300};
  page.scan = JSONValue::Array{entry("drop-shadow(rgba(0, 0, 0, 0.28) 0px 5px 7px)"), entry("")};
  // The ink holds a child that hangs out to the left and a box-shadow far below.
  page.isolates[0] = isolated(box, cornersOf(box), Rect{440.25, 1000, 110, 840});
  page.isolates[1] =
      JSONValue::Object{{"box", numbers({10, 20, 30, 40})},
                        {"ink", "not numbers"},
                        {"corners", JSONValue::Array{numbers({12, 20}), numbers({38, 22}),
                                                     numbers({40, 58}), numbers({10, 60})}}};
  Effects::flatten(page, {393, 852}, 1.5);
  ASSERT_EQ(page.captures.size(), 2u);
  // Grown by 2 + 15.5, cut at the viewport's bottom (852 + 960), then whole pixels.
  EXPECT_EQ(page.captures[0].first, (Rect{422, 982, 146, 1812 - 982}));
  EXPECT_EQ(page.captures[0].second, 1.5 * 146);
  // Without usable ink the box is the ink.
  EXPECT_EQ(page.captures[1].first, (Rect{8, 18, 34, 44}));

  // The numbers written back are the shortest that read back exactly.
  const std::vector<std::string> calls = page.calls();
  ASSERT_EQ(calls.size(), 4u);
  std::smatch m;
  ASSERT_TRUE(std::regex_match(
      calls[1], m, std::regex(R"(return __fx\.replace\(0, URL, (\S+), (\S+), (\S+), (\S+)\))")));
  // Left and below, the clip (the canvas grown by 8) cuts the picture; above,
  // the shadow starts 7.5 - 3 × 5.25 output pixels over the region; the
  // width is 160 output pixels, which has no short decimal in CSS pixels.
  EXPECT_EQ(m[1], "472");
  EXPECT_EQ(m[2], "976");
  EXPECT_EQ(m[3], "106.66666666666667");
  EXPECT_EQ(m[4], "364");
  EXPECT_EQ(calls[3], "return __fx.replace(1, '', 0, 0, 0, 0)");  // outside the clip
}

TEST(EffectsFlatten, PageErrorsEndTheWork) {
  ScriptedPage page;
  page.scan = JSONValue::Array{entry("blur(1px)"), entry("blur(1px)")};
  page.isolates[0] = isolated({500, 500, 10, 10}, cornersOf({500, 500, 10, 10}));
  page.onRun = [](const std::string& body) {
    if (body.rfind("return __fx.replace(0", 0) == 0) {
      throw RenderError::engine("A script in the page failed: boom");
    }
  };
  EXPECT_THROW(Effects::flatten(page, {400, 800}, 1), RenderError);
  EXPECT_EQ(page.calls().back().rfind("return __fx.replace(0", 0), 0u);  // nothing after it
}

}  // namespace
}  // namespace vells::rendering
