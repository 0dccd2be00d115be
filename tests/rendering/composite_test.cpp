// The composite pipeline's stages on a real library, the real script engine
// (with a small fixture script whose calls can be counted) and the real browser.
#include <gtest/gtest.h>

#include <opencv2/imgcodecs.hpp>

#include "backend/test_support.h"
#include "rendering/composite.h"
#include "rendering/core_js.h"
#include "rendering/page_routes.h"

namespace vells::testing {
namespace {

using backend::LocalBackend;
using backend::LocalLibrary;
using rendering::CompositeRequest;
using rendering::Compositor;
using rendering::CoreJS;
using rendering::HTMLRenderer;

cv::Mat decode(const std::string& bytes, int flags = cv::IMREAD_UNCHANGED) {
  cv::Mat raw(1, static_cast<int>(bytes.size()), CV_8UC1, const_cast<char*>(bytes.data()));
  return cv::imdecode(raw, flags);
}

class Pipeline : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { renderer = std::make_unique<HTMLRenderer>(2); }
  static void TearDownTestSuite() { renderer.reset(); }

  Pipeline() {
    fs::create_directories(dir.path() / "resources" / "assets");
    fs::copy_file(fs::path(VELLS_TEST_FIXTURES) / "pipeline-core.js",
                  dir.path() / "resources" / "core.js");
    core = std::make_shared<CoreJS>(dir.path() / "resources");
    backend::RouteFamilies routes;
    routes.exact = rendering::pageRoutes(*renderer);
    b = std::make_unique<LocalBackend>(LocalLibrary(dir.path() / "lib"), core, std::move(routes));
    b->db().saveApp({"fixture-app", {}, 1});
    b->db().updateSet({"default", "Default", "fixture-app", std::nullopt});
    EXPECT_EQ(call(*b, "POST", "/api/pages",
                   R"({"pages":[{"id":"home"},{"id":"hero"},{"id":"bare"},{"id":"noname"},)"
                   R"({"id":"shot","source":"upload","label":"Shot"}]})")
                  .status,
              200);
  }

  int count(const std::string& fn) {
    return static_cast<int>(
        core->callJSON("counts", JSONValue::Object{})->numberAt(fn).value_or(0));
  }

  CompositeRequest request(const std::string& page, bool check = false) {
    CompositeRequest r;
    r.page = page;
    r.os = "ios";
    r.check = check;
    return r;
  }

  Compositor compositor() { return Compositor(*b, *renderer); }
  fs::path output() const { return b->library().output(); }

  static std::unique_ptr<HTMLRenderer> renderer;
  TempDir dir;
  std::shared_ptr<CoreJS> core;
  std::unique_ptr<LocalBackend> b;
};
std::unique_ptr<HTMLRenderer> Pipeline::renderer;

TEST_F(Pipeline, CheckRendersNothing) {
  Compositor c = compositor();
  EXPECT_FALSE(c.composite(request("home", true)));  // no phone capture yet
  EXPECT_EQ(count("pageHtml"), 0);

  auto thumbOnly = request("home");
  thumbOnly.thumbOnly = true;
  auto made = c.composite(thumbOnly);
  ASSERT_TRUE(made && made->ready);
  EXPECT_TRUE(fs::exists(made->thumbPath));
  EXPECT_FALSE(fs::exists(made->path));  // only the thumbnail was asked for

  fs::remove(made->thumbPath);
  auto checked = c.composite(request("home", true));
  ASSERT_TRUE(checked);
  EXPECT_FALSE(checked->ready);  // the capture is there, the thumbnail isn't
  EXPECT_EQ(checked->filename, made->filename);
  EXPECT_EQ(count("compositeHtml"), 1);
}

TEST_F(Pipeline, OutputsHaveTheExactSizesAndNoAlpha) {
  auto made = compositor().composite(request("home"));
  ASSERT_TRUE(made);
  cv::Mat png = decode(*backend::readFile(made->path));
  EXPECT_EQ(png.cols, 300);
  EXPECT_EQ(png.rows, 600);
  EXPECT_EQ(png.channels(), 3);
  cv::Mat thumb = decode(*backend::readFile(made->thumbPath), cv::IMREAD_COLOR);
  EXPECT_EQ(thumb.cols, 60);
  EXPECT_EQ(thumb.rows, 120);
  EXPECT_EQ(made->thumbPath.filename().string(),
            made->filename.substr(0, made->filename.size() - 4) + ".thumb.jpg");
  // The phone capture is at the catalogue's phone scale and keeps its alpha.
  cv::Mat phone = decode(*backend::readFile(output() / "default-home-ios-dark-en-phone.png"));
  EXPECT_EQ(phone.cols, 200);
  ASSERT_EQ(phone.channels(), 4);
  EXPECT_EQ(phone.at<cv::Vec4b>(0, 0)[3], 0);        // a rounded corner: transparent
  EXPECT_EQ(phone.at<cv::Vec4b>(200, 100)[3], 255);  // the screen itself: opaque
}

TEST_F(Pipeline, ATitleEditReusesThePhoneCapture) {
  Compositor c = compositor();
  auto first = c.composite(request("home"));
  ASSERT_TRUE(first);
  call(*b, "POST", "/api/texts", R"({"home":{"en":{"title":"New"}}})");
  auto second = c.composite(request("home"));
  ASSERT_TRUE(second);
  EXPECT_NE(first->filename, second->filename);
  EXPECT_EQ(count("pageHtml"), 1);  // no second phone capture
  EXPECT_EQ(count("compositeHtml"), 2);
  auto again = c.composite(request("home"));
  EXPECT_EQ(again->filename, second->filename);
  EXPECT_EQ(count("compositeHtml"), 2);  // nothing left to make

  auto fresh = request("home");
  fresh.fresh = true;
  c.composite(fresh);
  EXPECT_EQ(count("pageHtml"), 2);
  EXPECT_EQ(count("compositeHtml"), 3);
}

TEST_F(Pipeline, ThumbOnlyWithFreshLeavesThePng) {
  Compositor c = compositor();
  auto made = c.composite(request("home"));
  const auto pngBefore = *backend::readFile(made->path);
  const auto pngTime = fs::last_write_time(made->path);
  fs::remove(made->thumbPath);
  auto thumb = request("home");
  thumb.thumbOnly = true;
  thumb.fresh = true;
  c.composite(thumb);
  EXPECT_TRUE(fs::exists(made->thumbPath));
  EXPECT_EQ(fs::last_write_time(made->path), pngTime);
  EXPECT_EQ(*backend::readFile(made->path), pngBefore);
}

TEST_F(Pipeline, HeroRecordsWithAndWithoutAHero) {
  Compositor c = compositor();
  ASSERT_TRUE(c.composite(request("hero")));
  auto record =
      JSONValue::parse(*backend::readFile(output() / "default-hero-ios-dark-en-hero.json"));
  EXPECT_EQ(record, JSONValue::parse(R"({"x":10,"y":20,"width":40,"height":20,"plate":true})"));
  cv::Mat hero = decode(*backend::readFile(output() / "default-hero-ios-dark-en-hero.png"));
  EXPECT_EQ(hero.cols, 80);

  // A page planned with a hero whose screen has none: the record is null, and it holds.
  ASSERT_TRUE(c.composite(request("bare")));
  EXPECT_EQ(*backend::readFile(output() / "default-bare-ios-dark-en-hero.json"), "null");
  const int captures = count("pageHtml");
  call(*b, "POST", "/api/texts", R"({"bare":{"en":{"title":"Changed"}}})");
  ASSERT_TRUE(c.composite(request("bare")));
  EXPECT_EQ(count("pageHtml"), captures);

  // A record whose picture was deleted: no hero, and the composite is still made.
  fs::remove(output() / "default-hero-ios-dark-en-hero.png");
  call(*b, "POST", "/api/texts", R"({"hero":{"en":{"title":"Again"}}})");
  EXPECT_TRUE(c.composite(request("hero")));
}

TEST_F(Pipeline, UploadedPagesAndPictures) {
  Compositor c = compositor();
  auto made = c.composite(request("shot"));  // no screen file at all
  ASSERT_TRUE(made);
  EXPECT_TRUE(fs::exists(made->path));
  EXPECT_EQ(count("pageHtml"), 0);

  const auto& lib = b->library();
  writeFile(lib.screens() / "default-shot-ios.png", *backend::readFile(made->path));
  writeFile(lib.screens() / "dark" / "default-shot-ios-en.jpg", "not really a jpeg");
  writeFile(lib.screens() / "light" / "default-shot-ios.png", "light");
  EXPECT_EQ(c.findScreen("default", "shot", "ios", "dark", "en"),
            lib.screens() / "dark" / "default-shot-ios-en.jpg");
  EXPECT_EQ(c.findScreen("default", "shot", "ios", "light", "de"),
            lib.screens() / "light" / "default-shot-ios.png");
  EXPECT_EQ(c.findScreen("default", "shot", "ios", "dark", "de"),
            lib.screens() / "default-shot-ios.png");
  EXPECT_FALSE(c.findScreen("default", "shot", "android", "dark", "en"));

  writeFile(lib.backgrounds() / "home-ios.jpg", "legacy");
  EXPECT_EQ(c.findPageImage(lib.backgrounds(), "default", "home", "ios"),
            lib.backgrounds() / "home-ios.jpg");
  EXPECT_FALSE(c.findPageImage(lib.backgrounds(), "other", "home", "ios"));
  writeFile(lib.backgrounds() / "default-home-ios.webp", "new");
  EXPECT_EQ(c.findPageImage(lib.backgrounds(), "default", "home", "ios"),
            lib.backgrounds() / "default-home-ios.webp");

  // A screen file changes the uploaded page's name.
  fs::remove(lib.screens() / "dark" / "default-shot-ios-en.jpg");
  auto withScreen = c.composite(request("shot"));
  EXPECT_NE(withScreen->filename, made->filename);
}

TEST_F(Pipeline, NamesWithoutAScriptName) {
  auto made = compositor().composite(request("noname"));
  ASSERT_TRUE(made);
  EXPECT_EQ(made->filename, "composite-default-noname.png");
  EXPECT_EQ(made->thumbPath.filename(), "composite-default-noname.thumb.jpg");
}

TEST_F(Pipeline, CompositeRoute) {
  auto r = call(*b, "GET", "/composite?page=nosuch&os=ios");
  EXPECT_EQ(r.status, 404);
  EXPECT_EQ(count("pagePlan"), 0);

  r = call(*b, "GET", "/composite?page=home&os=ios&thumb=1&dl=1");
  ASSERT_EQ(r.status, 200) << r.body;
  EXPECT_EQ(r.mime, "image/png");
  const std::string name = r.headers.at("ETag").substr(1, r.headers.at("ETag").size() - 2);
  EXPECT_EQ(r.headers.at("Content-Disposition"), "attachment; filename=\"" + name + "\"");

  r = call(*b, "GET", "/composite?page=home&os=ios&thumb=1");
  EXPECT_EQ(r.mime, "image/jpeg");
  EXPECT_EQ(r.headers.at("ETag"), "\"thumb-" + name + "\"");

  auto request = backend::requestFromURL("/composite?page=home&os=ios");
  request.ifNoneMatch = "\"" + name + "\"";
  r = b->handle(request);
  EXPECT_EQ(r.status, 304);
  EXPECT_TRUE(r.body.empty());

  // "os=iphone" is Android, "fresh=true" is not fresh.
  r = call(*b, "GET", "/composite?page=home&os=iphone");
  EXPECT_NE(r.headers.at("ETag").find("-android-dark-"), std::string::npos);
  const int made = count("compositeHtml");
  call(*b, "GET", "/composite?page=home&os=iphone&fresh=true");
  EXPECT_EQ(count("compositeHtml"), made);
}

TEST_F(Pipeline, VellHeroPreviewAndDecorRoutes) {
  auto r = call(*b, "GET", "/vell?page=shot&os=ios");
  EXPECT_EQ(r.status, 404);
  EXPECT_EQ(r.body, "No screen uploaded for this page");
  r = call(*b, "GET", "/vell?page=home&os=ios");
  ASSERT_EQ(r.status, 200) << r.body;
  EXPECT_EQ(decode(r.body).cols, 300);  // scale 3
  EXPECT_EQ(call(*b, "GET", "/vell?page=home&os=ios").body, r.body);
  EXPECT_EQ(count("pageHtml"), 1);
  EXPECT_EQ(call(*b, "GET", "/vell?page=nosuch").status, 404);

  EXPECT_EQ(call(*b, "GET", "/api/hero?page=hero&os=ios").status, 404);
  compositor().composite(request("hero"));
  r = call(*b, "GET", "/api/hero?page=hero&os=ios");
  EXPECT_EQ(r.status, 200);
  EXPECT_EQ(r.mime, "image/png");

  r = call(*b, "POST", "/api/decor?page=nosuch", "{}");
  EXPECT_EQ(r.status, 404);
  EXPECT_EQ(r.body, R"({"error":"Unknown page","ok":false})");
  EXPECT_EQ(call(*b, "POST", "/api/decor?page=home", "[1").status, 400);
  const int plans = count("pagePlan");
  r = call(*b, "POST", "/api/decor?page=home", R"({"style":{"decor":"none"}})");
  EXPECT_EQ(count("pagePlan"), plans);  // no plan is read without decoration
  EXPECT_EQ(r.status, 500);             // the fixture has no decor function: its words come back
  EXPECT_NE(r.body.find("Unknown function: decor"), std::string::npos);

  EXPECT_EQ(call(*b, "GET", "/preview?page=nosuch").status, 404);
}

}  // namespace
}  // namespace vells::testing
