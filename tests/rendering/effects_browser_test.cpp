// The page script in the real browser, and flattening against the browser's own drawing.

#include <gtest/gtest.h>

#include <opencv2/core.hpp>

#include "platform/image/image.h"
#include "rendering/effects.h"
#include "rendering/html_renderer.h"

namespace vells::rendering {
namespace {

constexpr double kM = Effects::M;

class EffectsInBrowser : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { renderer = std::make_unique<HTMLRenderer>(1); }
  static void TearDownTestSuite() { renderer.reset(); }

  // Loads `html` as flatten() expects it: the view grown by the margin, the page opened.
  static HTMLRenderer::Lease open(const std::string& html, CSSSize canvas) {
    auto slot = renderer->acquire(platform::Priority::interactive);
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
  for (const auto& e : v.asArray() ? *v.asArray() : JSONValue::Array{})
    out.push_back(e.asNumber() ? *e.asNumber() : NAN);
  return out;
}

cv::Mat captureCanvas(RenderSlot& slot, CSSSize canvas, double scale) {
  auto image = platform::Image::decodePNG(
      slot.capturePNG({kM, kM, canvas.width, canvas.height}, scale * canvas.width, false));
  EXPECT_TRUE(image);
  return image ? image->renderRGBA8(platform::integralRect(image->extent())) : cv::Mat();
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
  // Deepest first; 2D rotations count only under a perspective, hidden elements not at all.
  EXPECT_EQ(slot->run("return __fx.scan()"), JSONValue::parse(R"json([
    {"filter": "", "transformed": true},
    {"filter": "drop-shadow(rgb(0, 0, 0) 2px 3px 0px)", "transformed": false},
    {"filter": "blur(2px)", "transformed": false},
    {"filter": "", "transformed": true}])json"));
  // Which elements those are: their untransformed boxes, less the margin (Effects::M, 480).
  EXPECT_EQ(slot->run("return [0, 1, 2, 3].map(i => { const b = __fx.isolate(i).box; "
                      "__fx.replace(i, null); return [b[0] - 480, b[1] - 480, b[2], b[3]]; })"),
            JSONValue::parse("[[100, 100, 100, 100], [10, 300, 50, 50], [10, 300, 100, 100], "
                             "[200, 400, 100, 100]]"));
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
  ASSERT_EQ(slot->run("return __fx.scan().length"), JSONValue(1));
  const std::string before =
      "const c = document.getElementById('card'), b = document.body.style, "
      "r = document.getElementById('root').style; return [c.style.transform, c.style.filter, "
      "c.style.visibility, c.style.display, b.visibility, b.background, b.overflow, r.overflow, "
      "document.images.length]";
  const JSONValue styles = slot->run(before);

  // The box, and the ink: the child 30 to the left, the shadow 4 + 10 + 2 = 16 all round.
  EXPECT_EQ(slot->run("const r = __fx.isolate(0); return [r.box, r.ink]"),
            JSONValue::parse("[[520, 530, 100, 60], [490, 514, 146, 92]]"));

  // Alone on transparency: the page's green and red are gone, the card is flat and sharp.
  const cv::Mat px = captureCanvas(*slot, {300, 300}, 1);
  EXPECT_EQ(px.at<cv::Vec4b>(51, 41), (cv::Vec4b{0, 0, 255, 255}));  // the card's corner
  EXPECT_EQ(px.at<cv::Vec4b>(200, 200)[3], 0);                       // no page behind
  EXPECT_EQ(px.at<cv::Vec4b>(70, 15), (cv::Vec4b{0, 0, 0, 255}));    // the child, beyond the card

  slot->run("return __fx.replace(0, null)");
  EXPECT_EQ(slot->run(before), styles);
  // And the page draws as before, with the browser's own effects.
  EXPECT_EQ(captureCanvas(*slot, {300, 300}, 1).at<cv::Vec4b>(200, 200),
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
  // The browser's bounding box of the transformed element is that of our corners.
  const std::vector<double> off = numbersOf(slot->run(R"js(
    const t = document.getElementById('t').getBoundingClientRect(), c = __fx.isolate(0).corners;
    const x = c.map(p => p[0]), y = c.map(p => p[1]), min = Math.min, max = Math.max;
    return [min(...x) - t.left, min(...y) - t.top, max(...x) - t.right, max(...y) - t.bottom])js"));
  ASSERT_EQ(off.size(), 4u);
  for (int k = 0; k < 4; ++k)
    EXPECT_NEAR(off[k], 0, 0.05) << k;
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
  // The child's picture went into the parent before the parent was drawn, and took its place.
  EXPECT_EQ(slot->run(R"js(const o = document.getElementById('outer');
    const i = document.getElementById('inner'), tag = (e) => e.previousElementSibling?.tagName;
    return [document.images.length, i.parentElement.id, tag(i), getComputedStyle(i).display,
            tag(o), getComputedStyle(o).display])js"),
            JSONValue::parse(R"([2, "outer", "IMG", "none", "IMG", "none"])"));
}

// Effects stand out of the flow, as on the composite pages, and hold plain content: while
// a child is isolated its ancestors' effects still act on it, so it would be drawn twice.
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

TEST_F(EffectsInBrowser, FlattenedPageLooksLikeTheBrowsersOwn) {
  const CSSSize canvas{300, 400};
  const double scale = 2;
  auto draw = [&](const char* shadowRadius, bool flatten) {
    auto slot = open(effectsPage(shadowRadius), canvas);
    if (flatten) {
      Effects::flatten(*slot, canvas, scale);
      // Everything that had an effect is a picture now, and nothing else is left to do.
      EXPECT_EQ(slot->run("return [document.images.length, __fx.scan().length]"),
                JSONValue::parse("[3, 0]"));
    }
    return captureCanvas(*slot, canvas, scale);
  };
  // Chromium's shadow blur takes the radius as sigma, ours (as WebKit) half of it:
  // the browser is shown the shadow we mean.
  const cv::Mat reference = draw("5px", false), flattened = draw("10px", true);
  ASSERT_EQ(reference.size(), cv::Size(600, 800));
  cv::Mat diff;
  cv::absdiff(reference, flattened, diff);
  EXPECT_LT(cv::norm(cv::mean(diff), cv::NORM_INF), 3);
  // And around the blur, the shadow and the tilt, so that a small one can't hide in the whole.
  for (cv::Rect area :
       {cv::Rect(8, 8, 300, 240), cv::Rect(300, 40, 300, 260), cv::Rect(80, 280, 440, 520)}) {
    EXPECT_LT(cv::norm(cv::mean(diff(area)), cv::NORM_INF), 2) << area;
  }
  // Not the same picture by accident: the effects are there in both.
  cv::Mat blank(reference.size(), reference.type(), cv::Scalar(221, 228, 238, 255));
  cv::absdiff(reference, blank, diff);
  EXPECT_GT(cv::mean(diff)[0], 20);
}

}  // namespace
}  // namespace vells::rendering
