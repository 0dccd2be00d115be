#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <opencv2/imgcodecs.hpp>

#include "backend/images.h"
#include "backend/test_support.h"
#include "routes/html_routes.h"

namespace vells::testing {
namespace {

using backend::LocalBackend;
using backend::LocalLibrary;
using backend::Response;
using rendering::HTMLRenderer;

cv::Mat decode(const std::string& png) {
  cv::Mat raw(1, static_cast<int>(png.size()), CV_8UC1, const_cast<char*>(png.data()));
  return cv::imdecode(raw, cv::IMREAD_UNCHANGED);
}

// A page that fills the viewport with blue and paints a red 4×4 square at its top left.
constexpr const char* kBlue =
    R"(<html><body style="margin:0;background:#0000ff"><div style="width:4px;height:4px;background:#ff0000"></div></body></html>)";
// A red 4×4 square on nothing at all.
constexpr const char* kSquare =
    R"(<html><body style="margin:0"><div style="width:4px;height:4px;background:#ff0000"></div></body></html>)";

class HtmlRoutes : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { renderer = std::make_unique<HTMLRenderer>(1); }
  static void TearDownTestSuite() { renderer.reset(); }
  static std::unique_ptr<HTMLRenderer> renderer;

  HtmlRoutes()
      : core(std::make_shared<FakeCore>()),
        b(LocalLibrary(dir.path() / "lib"), core, routes::htmlRoutes(*renderer)) {
    JSONValue::Object catalog = FakeCore::defaultCatalog();
    catalog["devices"] =
        JSONValue::parse(R"({"ios":{"width":40,"height":60},"android":{"width":50}})");
    core->setCatalog(std::move(catalog));
  }

  Response post(const std::string& url, const std::string& body) {
    return call(b, "POST", url, body);
  }
  std::string error(const Response& r) { return bodyJSON(r).stringAt("error").value_or(""); }
  static std::string layerBody(const std::string& html, const std::string& width,
                               const std::string& height) {
    return R"({"html":)" + JSONValue(html).dump() + R"(,"width":)" + width + R"(,"height":)" +
           height + "}";
  }

  TempDir dir;
  std::shared_ptr<FakeCore> core;
  LocalBackend b;
};
std::unique_ptr<HTMLRenderer> HtmlRoutes::renderer;

TEST_F(HtmlRoutes, ScreenHtmlStoresAnOpaqueScreenAtThreeTimesTheDevice) {
  const fs::path dark = b.library().screens() / "dark";
  writeFile(dark / "s1-home-ios-de.jpg", "an older upload");

  Response r = post("/api/screen-html?set=s1&page=home&os=ios&locale=de&appearance=dark",
                    JSONValue(JSONValue::Object{{"html", kBlue}}).dump());
  ASSERT_EQ(r.status, 200) << r.body;
  EXPECT_EQ(bodyJSON(r), JSONValue::parse(R"({"ok":true,"width":120,"height":180})"));
  EXPECT_FALSE(fs::exists(dark / "s1-home-ios-de.jpg"));
  const auto png = backend::readFile(dark / "s1-home-ios-de.png");
  ASSERT_TRUE(png);
  cv::Mat image = decode(*png);
  EXPECT_EQ(image.cols, 120);
  EXPECT_EQ(image.rows, 180);
  EXPECT_EQ(image.channels(), 3);                                    // opaque
  EXPECT_EQ(image.at<cv::Vec3b>(100, 100), (cv::Vec3b{255, 0, 0}));  // blue, as BGR
  EXPECT_EQ(image.at<cv::Vec3b>(5, 5), (cv::Vec3b{0, 0, 255}));      // the red square, scaled

  // Found and served like an uploaded screen.
  Response served = call(b, "GET", "/api/screen?set=s1&page=home&os=ios&locale=de&appearance=dark");
  EXPECT_EQ(served.body, *png);
  EXPECT_EQ(served.mime, "image/png");
}

TEST_F(HtmlRoutes, ScreenHtmlRefusesBadRequestsAndStoresNothing) {
  const std::string blue = JSONValue(JSONValue::Object{{"html", kBlue}}).dump();
  struct Case {
    std::string url, body, error;
  };
  for (const Case& c : std::vector<Case>{
           {"/api/screen-html?os=ios", blue, "Need page and html"},
           {"/api/screen-html?page=&os=ios", blue, "Need page and html"},
           {"/api/screen-html?page=home", R"({"html":" \n\t\r "})", "Need page and html"},
           {"/api/screen-html?page=home", R"({"html":42})", "Need page and html"},
           {"/api/screen-html?page=home", R"(["<p>x</p>"])", "Need page and html"},
           {"/api/screen-html?page=home", "", "Need page and html"},
           {"/api/screen-html?page=home", R"({"html":"<p>x</p>")", "Bad JSON body"},
           {"/api/screen-html?page=../../x", blue, "Names may not contain \"/\""},
           {"/api/screen-html?page=home&set=a/b", blue, "Names may not contain \"/\""},
       }) {
    Response r = post(c.url, c.body);
    EXPECT_EQ(r.status, 400) << c.url << " " << c.body;
    EXPECT_EQ(error(r), c.error) << c.url << " " << c.body;
  }
  EXPECT_TRUE(backend::files(b.library().screens()).empty());
  EXPECT_EQ(renderer->idleCount(), renderer->slotCount());
}

TEST_F(HtmlRoutes, LayerHtmlSizeBounds) {
  struct Case {
    std::string width, height;
    int status;
  };
  for (const Case& c : std::vector<Case>{{"7", "8", 400},
                                         {"8", "8", 200},
                                         {"1400", "8", 200},
                                         {"1401", "8", 400},
                                         {"8", "7", 400},
                                         {"8", "1401", 400},
                                         {"7.6", "8", 200},
                                         {"7.4", "8", 400},
                                         {"1400.4", "8", 200},
                                         {"\"100\"", "100", 400},
                                         {"null", "100", 400}}) {
    Response r = post("/api/layer-html?set=s1", layerBody(kSquare, c.width, c.height));
    EXPECT_EQ(r.status, c.status) << c.width << "×" << c.height << ": " << r.body;
    if (c.status == 400) {
      EXPECT_EQ(error(r), "Need html, and width and height between 8 and 1400");
    }
  }
  Response r = post("/api/layer-html?set=s1", layerBody(kSquare, "7.6", "8"));
  const JSONValue answer = bodyJSON(r);
  EXPECT_EQ(answer.numberAt("width"), 8);  // the rounded size
  EXPECT_EQ(answer.numberAt("height"), 8);
  cv::Mat image =
      decode(*backend::readFile(b.library().layers() / "s1" / *answer.stringAt("asset")));
  EXPECT_EQ(image.cols, 16);
  EXPECT_EQ(image.rows, 16);

  for (const std::string& body :
       {layerBody("  \n ", "100", "100"), std::string(R"({"width":100,"height":100})"),
        std::string("[1,2]")}) {
    r = post("/api/layer-html", body);
    EXPECT_EQ(r.status, 400) << body;
    EXPECT_EQ(error(r), "Need html, and width and height between 8 and 1400") << body;
  }
  r = post("/api/layer-html", "{\"html\":");
  EXPECT_EQ(r.status, 400);
  EXPECT_EQ(error(r), "Bad JSON body");
  EXPECT_FALSE(fs::exists(b.library().layers() / "default"));
}

TEST_F(HtmlRoutes, LayerHtmlIsATransparentContentNamedAsset) {
  Response r = post("/api/layer-html?set=Spring%20sale", layerBody(kSquare, "10", "20"));
  ASSERT_EQ(r.status, 200) << r.body;
  const JSONValue answer = bodyJSON(r);
  const std::string asset = *answer.stringAt("asset");
  EXPECT_EQ(answer,
            JSONValue::parse(R"({"ok":true,"asset":")" + asset + R"(","width":10,"height":20})"));
  const fs::path file = b.library().layers() / "Spring_sale" / asset;
  const auto png = backend::readFile(file);
  ASSERT_TRUE(png);
  EXPECT_EQ(asset, backend::sha(*png) + ".png");

  cv::Mat image = decode(*png);
  ASSERT_EQ(image.channels(), 4);
  EXPECT_EQ(image.cols, 20);
  EXPECT_EQ(image.rows, 40);
  EXPECT_EQ(image.at<cv::Vec4b>(2, 2), (cv::Vec4b{0, 0, 255, 255}));  // red
  EXPECT_EQ(image.at<cv::Vec4b>(30, 15)[3], 0);                       // nothing: transparent

  Response served = call(b, "GET", "/api/layer-asset?set=Spring%20sale&asset=" + asset);
  EXPECT_EQ(served.status, 200);
  EXPECT_EQ(served.body, *png);
  EXPECT_EQ(served.mime, "image/png");
  EXPECT_EQ(served.headers.at("Cache-Control"), "public, max-age=31536000, immutable");
}

// The failure paths, with a page that fails like a browser whose renderer died.
class FailingSlot : public rendering::RenderSlot {
 public:
  void load(const std::string&, rendering::CSSSize) override {
    throw rendering::RenderError::load("the web content process quit");
  }
  std::optional<rendering::Rect> rect(const std::string&) override { return std::nullopt; }
  JSONValue run(const std::string&) override { return JSONValue(); }
  std::string capturePNG(const rendering::Rect&, double, bool) override { return {}; }
  std::string captureJPEG(const rendering::Rect&, double, int) override { return {}; }
};

TEST(HtmlRoutesFailures, ARenderFailureStoresNothingAndFreesTheSlot) {
  TempDir dir;
  HTMLRenderer failing(1, [] { return std::make_unique<FailingSlot>(); });
  LocalBackend b(LocalLibrary(dir.path() / "lib"), std::make_shared<FakeCore>(),
                 routes::htmlRoutes(failing));

  Response r = call(b, "POST", "/api/screen-html?page=home",
                    JSONValue(JSONValue::Object{{"html", kBlue}}).dump());
  EXPECT_EQ(r.status, 500);
  EXPECT_EQ(r.body, "The page failed to load: the web content process quit");
  EXPECT_TRUE(backend::files(b.library().screens()).empty());

  r = call(b, "POST", "/api/layer-html", R"({"html":"<p>x</p>","width":10,"height":10})");
  EXPECT_EQ(r.status, 500);
  EXPECT_EQ(bodyJSON(r), JSONValue::parse(R"({"ok":false,"error":"Render failed"})"));
  EXPECT_FALSE(fs::exists(b.library().layers() / "default"));
  EXPECT_EQ(failing.slotCount(), 1);
  EXPECT_EQ(failing.idleCount(), 1);  // given back on the failing paths too
}

}  // namespace
}  // namespace vells::testing
