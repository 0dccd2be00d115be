// The page script in the real headless browser, and the whole flattening
// measured against the browser's own drawing of the same page.

#include <gtest/gtest.h>

#include <iostream>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include "platform/image/image.h"
#include "rendering/effects.h"
#include "rendering/html_renderer.h"
#include "rendering/js_string.h"

namespace vells::rendering {
namespace {

constexpr double kM = Effects::M;

class EffectsInBrowser : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { renderer = std::make_unique<HTMLRenderer>(1); }
  static void TearDownTestSuite() { renderer.reset(); }

  // Loads `html` as flatten() expects it: the view larger by the margin on
  // every side, the script in, the page opened.
  static HTMLRenderer::Lease open(const std::string& html, CSSSize canvas) {
    auto slot = renderer->acquire(false);
    slot->load(html, {canvas.width + 2 * kM, canvas.height + 2 * kM});
    slot->run(Effects::script());
    slot->run("__fx.open()");
    return slot;
  }

  static std::unique_ptr<HTMLRenderer> renderer;
};
std::unique_ptr<HTMLRenderer> EffectsInBrowser::renderer;

std::vector<double> numbersOf(const JSONValue& v) {
  std::vector<double> out;
  if (const auto* a = v.asArray()) {
    for (const auto& e : *a) {
      out.push_back(e.asNumber() ? *e.asNumber() : NAN);
    }
  }
  return out;
}

constexpr const char* kScanPage = R"html(<!doctype html><html><body style="margin:0">
<div id="root" style="position:relative;width:400px;height:600px">
  <div id="flat" style="transform:rotate(10deg);width:50px;height:50px;background:red"></div>
  <div id="stage" style="perspective:500px;position:absolute;left:100px;top:100px;width:200px;height:200px">
    <div id="tilted2d" style="transform:rotate(5deg);width:100px;height:100px;background:blue"></div>
  </div>
  <div id="outer" style="filter:blur(2px);position:absolute;left:10px;top:300px;width:100px;height:100px;background:green">
    <div id="inner" style="filter:drop-shadow(rgb(0, 0, 0) 2px 3px 0px);width:50px;height:50px;background:yellow"></div>
  </div>
  <div id="gone" style="display:none;filter:blur(3px)"></div>
  <div id="turned" style="transform:rotateY(30deg);position:absolute;left:200px;top:400px;width:100px;height:100px;background:purple"></div>
</div></body></html>)html";

TEST_F(EffectsInBrowser, ScanFindsFiltersAnd3DDeepestFirst) {
  auto slot = open(kScanPage, {400, 600});
  const JSONValue found = slot->run("return __fx.scan()");
  // A 2D rotation alone isn't 3D; under a perspective it is. Hidden elements
  // don't count. Deeper first, document order among equals.
  EXPECT_EQ(found, JSONValue::parse(R"json([
    {"filter": "", "transformed": true},
    {"filter": "drop-shadow(rgb(0, 0, 0) 2px 3px 0px)", "transformed": false},
    {"filter": "blur(2px)", "transformed": false},
    {"filter": "", "transformed": true}])json"));
  // Which elements those are: their untransformed boxes, the page moved by the margin.
  const double boxes[4][4] = {
      {100, 100, 100, 100}, {10, 300, 50, 50}, {10, 300, 100, 100}, {200, 400, 100, 100}};
  for (int i = 0; i < 4; ++i) {
    const JSONValue r = slot->run("return __fx.isolate(" + std::to_string(i) + ")");
    const std::vector<double> box = numbersOf(*r.find("box"));
    EXPECT_EQ(box,
              (std::vector<double>{kM + boxes[i][0], kM + boxes[i][1], boxes[i][2], boxes[i][3]}))
        << i;
    slot->run("return __fx.replace(" + std::to_string(i) + ", null)");
  }
}

TEST_F(EffectsInBrowser, IsolateShowsOneElementAndReplaceRestoresIt) {
  auto slot = open(R"html(<!doctype html><html><body style="margin:0;background:rgb(255, 0, 0)">
<div id="root" style="position:relative;width:300px;height:300px;overflow:hidden;background:rgb(0, 255, 0)">
  <div id="card" style="position:absolute;left:40px;top:50px;width:100px;height:60px;
       background:rgb(0, 0, 255);transform:rotateX(20deg);filter:blur(1px);visibility:visible;
       box-shadow:rgba(0, 0, 0, 0.5) 3px -4px 10px 2px">
    <div style="position:absolute;left:-30px;top:10px;width:20px;height:20px;background:#000"></div>
  </div>
</div></body></html>)html",
                   {300, 300});
  ASSERT_EQ(numbersOf(slot->run("return __fx.scan().map(e => e.filter.length)")).size(), 1u);
  const std::string before =
      "const c = document.getElementById('card'), b = document.body.style, "
      "r = document.getElementById('root').style; return [c.style.transform, c.style.filter, "
      "c.style.visibility, c.style.display, b.visibility, b.background, b.overflow, r.overflow, "
      "document.images.length]";
  const JSONValue styles = slot->run(before);

  const JSONValue r = slot->run("return __fx.isolate(0)");
  const std::vector<double> box = numbersOf(*r.find("box"));
  EXPECT_EQ(box, (std::vector<double>{kM + 40, kM + 50, 100, 60}));
  // The ink: the child 30 to the left, the shadow reaching 4 + 10 + 2 = 16 all round.
  EXPECT_EQ(numbersOf(*r.find("ink")),
            (std::vector<double>{kM + 10, kM + 50 - 16, 100 + 30 + 16, 60 + 32}));
  const auto* corners = r.find("corners")->asArray();
  ASSERT_EQ(corners->size(), 4u);
  // Without perspective a rotation about x only shortens the element, about its middle.
  const double shorter = 60 * std::cos(20 * M_PI / 180);
  const double top = kM + 80 - shorter / 2;
  const double expected[4][2] = {
      {kM + 40, top}, {kM + 140, top}, {kM + 140, top + shorter}, {kM + 40, top + shorter}};
  for (int k = 0; k < 4; ++k) {
    const std::vector<double> c = numbersOf((*corners)[k]);
    EXPECT_NEAR(c[0], expected[k][0], 1e-4) << k;
    EXPECT_NEAR(c[1], expected[k][1], 1e-4) << k;
  }

  // Alone on transparency: the page's green and red are gone, the card is flat and sharp.
  auto shown = platform::Image::decodePNG(slot->capturePNG({kM, kM, 300, 300}, 300, false));
  ASSERT_TRUE(shown);
  const cv::Mat px = shown->renderRGBA8({0, 0, 300, 300});
  EXPECT_EQ(px.at<cv::Vec4b>(51, 41), (cv::Vec4b{0, 0, 255, 255}));  // the card's corner
  EXPECT_EQ(px.at<cv::Vec4b>(200, 200)[3], 0);                       // no page behind
  EXPECT_EQ(px.at<cv::Vec4b>(70, 15), (cv::Vec4b{0, 0, 0, 255}));    // the child, beyond the card

  slot->run("return __fx.replace(0, null)");
  EXPECT_EQ(slot->run(before), styles);
  // And the page draws as before, with the browser's own effects.
  auto again = platform::Image::decodePNG(slot->capturePNG({kM, kM, 300, 300}, 300, false));
  ASSERT_TRUE(again);
  EXPECT_EQ(again->renderRGBA8({0, 0, 300, 300}).at<cv::Vec4b>(200, 200),
            (cv::Vec4b{0, 255, 0, 255}));
}

TEST_F(EffectsInBrowser, CornersMatchTheBrowsersOwnProjection) {
  auto slot = open(R"html(<!doctype html><html><body style="margin:0">
<div style="position:absolute;left:50px;top:40px;width:300px;height:200px;perspective:400px;perspective-origin:30% 70%">
  <div id="t" style="margin:20px;width:160px;height:120px;background:#888;
       transform:rotateY(35deg) rotateX(-15deg) translateZ(20px);transform-origin:40% 60%"></div>
</div></body></html>)html",
                   {400, 300});
  ASSERT_EQ(slot->run("return __fx.scan().length"), JSONValue(1));
  const JSONValue bounds = slot->run(
      "const r = document.getElementById('t').getBoundingClientRect(); "
      "return [r.left, r.top, r.right, r.bottom]");
  const JSONValue r = slot->run("return __fx.isolate(0)");
  slot->run("return __fx.replace(0, null)");
  double x0 = INFINITY, y0 = INFINITY, x1 = -INFINITY, y1 = -INFINITY;
  for (const JSONValue& c : *r.find("corners")->asArray()) {
    const std::vector<double> p = numbersOf(c);
    x0 = std::min(x0, p[0]), y0 = std::min(y0, p[1]);
    x1 = std::max(x1, p[0]), y1 = std::max(y1, p[1]);
  }
  // The browser's bounding box of the transformed element is that of our corners.
  const std::vector<double> b = numbersOf(bounds);
  EXPECT_NEAR(x0, b[0], 0.05);
  EXPECT_NEAR(y0, b[1], 0.05);
  EXPECT_NEAR(x1, b[2], 0.05);
  EXPECT_NEAR(y1, b[3], 0.05);
  EXPECT_GT(y1 - y0, 0);
}

TEST_F(EffectsInBrowser, NestedFiltersGoInsideOut) {
  auto slot = open(R"html(<!doctype html><html><body style="margin:0">
<div id="outer" style="position:absolute;left:20px;top:20px;width:100px;height:100px;
     background:#00f;filter:blur(1px)">
  <div id="inner" style="position:absolute;left:10px;top:10px;width:30px;height:30px;
       background:#ff0;filter:blur(2px)"></div>
</div></body></html>)html",
                   {200, 200});
  Effects::flatten(*slot, {200, 200}, 1);
  // The child's picture went into the parent before the parent was drawn,
  // and the parent's picture took the parent's place.
  EXPECT_EQ(slot->run(R"js(
    const outer = document.getElementById('outer'), inner = document.getElementById('inner');
    return [document.images.length, inner.previousElementSibling?.tagName,
            inner.parentElement.id, getComputedStyle(inner).display,
            outer.previousElementSibling?.tagName, getComputedStyle(outer).display,
            document.body.style.visibility, document.body.style.overflow])js"),
            JSONValue::parse(R"json([2, "IMG", "outer", "none", "IMG", "none", "", ""])json"));
}

// --- Against the browser's own drawing --------------------------------------------------------

// Effects stand out of the flow, as on the composite pages: a flattened
// element leaves the flow for its picture. The effects hold plain content:
// while a child is isolated its ancestors' filters and transforms still act on
// it, so a filtered child of an effect is drawn with its parent's effect twice.
std::string effectsPage(const std::string& shadowRadius) {
  return R"html(<!doctype html><html><body style="margin:0;background:#fff">
<div id="canvas" style="position:relative;width:300px;height:400px;overflow:hidden;
     background:linear-gradient(#dde4ee, #eeddcc)">
  <div style="position:absolute;left:24px;top:24px;width:110px;height:80px;background:#e33;
       border-radius:10px;filter:blur(6px)"></div>
  <div style="position:absolute;left:160px;top:30px;width:110px;height:90px;background:#38f;
       border-radius:14px;filter:drop-shadow(rgba(0, 0, 0, 0.5) 4px 8px )html" +
         shadowRadius + R"html()">
    <div style="position:absolute;left:20px;top:25px;width:50px;height:30px;background:#ff0"></div>
  </div>
  <div style="position:absolute;left:50px;top:150px;width:200px;height:220px;perspective:600px">
    <div style="width:200px;height:220px;border-radius:18px;
         background:linear-gradient(45deg, #f80, #08f);transform:rotateY(28deg) rotateX(8deg)">
      <div style="position:absolute;left:40px;top:40px;right:40px;height:60px;background:#fff"></div>
    </div>
  </div>
</div></body></html>)html";
}

cv::Mat captureCanvas(RenderSlot& slot, CSSSize canvas, double scale) {
  auto image = platform::Image::decodePNG(
      slot.capturePNG({kM, kM, canvas.width, canvas.height}, scale * canvas.width, false));
  EXPECT_TRUE(image);
  if (!image) return {};
  cv::Mat px;
  image->renderRGBA8(platform::integralRect(image->extent())).convertTo(px, CV_32FC4);
  return px;
}

TEST_F(EffectsInBrowser, FlattenedPageLooksLikeTheBrowsersOwn) {
  const CSSSize canvas{300, 400};
  const double scale = 2;
  cv::Mat reference, flattened;
  {
    // Chromium blurs a drop shadow with the radius as its standard deviation;
    // ours takes half the radius, as WebKit draws it. The browser is shown the
    // shadow we mean.
    auto slot = open(effectsPage("5px"), canvas);
    reference = captureCanvas(*slot, canvas, scale);
  }
  {
    auto slot = open(effectsPage("10px"), canvas);
    Effects::flatten(*slot, canvas, scale);
    // Everything that had an effect is a picture now, and the page holds nothing else to do.
    EXPECT_EQ(slot->run("return document.images.length"), JSONValue(3));
    EXPECT_EQ(slot->run("return __fx.scan().length"), JSONValue(0));
    flattened = captureCanvas(*slot, canvas, scale);
  }
  ASSERT_EQ(reference.size(), cv::Size(600, 800));
  ASSERT_EQ(flattened.size(), reference.size());
  cv::Mat diff;
  cv::absdiff(reference, flattened, diff);
  const cv::Scalar mean = cv::mean(diff);
  for (int c = 0; c < 4; ++c) {
    EXPECT_LT(mean[c], 3) << "channel " << c;
  }
  // And where each effect is, so that a small one can't hide in the whole.
  const struct {
    const char* name;
    cv::Rect2d css;
  } areas[] = {
      {"blur", {4, 4, 150, 120}}, {"shadow", {150, 20, 150, 130}}, {"tilt", {40, 140, 220, 260}}};
  for (const auto& area : areas) {
    const cv::Scalar m = cv::mean(diff(cv::Rect(area.css.x * scale, area.css.y * scale,
                                                area.css.width * scale, area.css.height * scale)));
    for (int c = 0; c < 4; ++c) {
      EXPECT_LT(m[c], 2) << area.name << " channel " << c;
    }
    std::cout << area.name << ": " << m[0] << " " << m[1] << " " << m[2] << " " << m[3] << "\n";
  }
  // Not the same picture by accident: the effects are there in both.
  cv::Mat blank(reference.size(), reference.type(), cv::Scalar(221, 228, 238, 255));
  cv::absdiff(reference, blank, diff);
  EXPECT_GT(cv::mean(diff)[0], 20);
  std::cout << "mean difference per channel: " << mean[0] << " " << mean[1] << " " << mean[2] << " "
            << mean[3] << "\n";
}

}  // namespace
}  // namespace vells::rendering
