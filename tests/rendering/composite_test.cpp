// The composite pipeline on a real library, script engine (counting fixture) and browser.
#include <gtest/gtest.h>

#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include "backend/images.h"
#include "backend/test_support.h"
#include "rendering/composite.h"
#include "rendering/core_js.h"
#include "routes/page_routes.h"

namespace vells::testing {
namespace {

using rendering::Compositor;
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
    core = std::make_shared<rendering::CoreJS>(dir.path() / "resources");
    b = std::make_unique<backend::LocalBackend>(
        backend::LocalLibrary(dir.path() / "lib"), core,
        backend::RouteFamilies{routes::pageRoutes(*renderer), {}});
    b->db().saveApp({"fixture-app", {}, 1});
    b->db().updateSet({"default", "Default", "fixture-app", std::nullopt});
    const std::string pages = R"({"pages":[{"id":"home"},{"id":"hero"},{"id":"bare"},)"
                              R"({"id":"noname"},{"id":"shot","source":"upload","label":"Shot"}]})";
    EXPECT_EQ(call(*b, "POST", "/api/pages", pages).status, 200);
  }

  int count(const std::string& fn) {
    return static_cast<int>(
        core->callJSON("counts", JSONValue::Object{})->numberAt(fn).value_or(0));
  }

  rendering::CompositeRequest request(const std::string& page, bool check = false) {
    return {.page = page, .os = "ios", .check = check};
  }

  Compositor compositor() { return Compositor(*b, *renderer); }
  fs::path output() const { return b->library().output(); }
  std::string read(const fs::path& path) const { return backend::readFile(path).value_or(""); }

  static std::unique_ptr<HTMLRenderer> renderer;
  TempDir dir;
  std::shared_ptr<rendering::CoreJS> core;
  std::unique_ptr<backend::LocalBackend> b;
};
std::unique_ptr<HTMLRenderer> Pipeline::renderer;

TEST_F(Pipeline, CheckAndThumbOnlyRenderOnlyWhatIsAskedFor) {
  Compositor c = compositor();
  EXPECT_FALSE(c.composite(request("home", true)));  // no phone capture yet
  EXPECT_EQ(count("pageHtml"), 0);
  auto made = c.composite({.page = "home", .os = "ios", .thumbOnly = true});
  ASSERT_TRUE(made && made->ready);
  EXPECT_TRUE(fs::exists(made->thumbPath));
  EXPECT_FALSE(fs::exists(made->path));  // only the thumbnail was asked for

  fs::remove(made->thumbPath);
  auto checked = c.composite(request("home", true));
  ASSERT_TRUE(checked);
  EXPECT_FALSE(checked->ready);  // the capture is there, the thumbnail isn't
  EXPECT_EQ(checked->filename, made->filename);
  EXPECT_EQ(count("compositeHtml"), 1);

  made = c.composite(request("home"));  // a fresh thumbnail leaves the PNG as it is
  const auto pngTime = fs::last_write_time(made->path);
  fs::remove(made->thumbPath);
  c.composite({.page = "home", .os = "ios", .fresh = true, .thumbOnly = true});
  EXPECT_TRUE(fs::exists(made->thumbPath));
  EXPECT_EQ(fs::last_write_time(made->path), pngTime);
}

TEST_F(Pipeline, OutputsHaveTheExactSizesAndNames) {
  auto made = compositor().composite(request("home"));
  ASSERT_TRUE(made);
  cv::Mat png = decode(read(made->path));
  EXPECT_EQ(png.size(), cv::Size(300, 600));
  EXPECT_EQ(png.channels(), 3);  // no alpha
  // The thumbnail is the store image reduced, colours and all.
  cv::Mat thumb = decode(read(made->thumbPath), cv::IMREAD_COLOR);
  ASSERT_EQ(thumb.size(), cv::Size(60, 120));
  cv::Mat reduced;
  cv::resize(png, reduced, thumb.size(), 0, 0, cv::INTER_AREA);
  EXPECT_LT(cv::norm(thumb, reduced, cv::NORM_L1) / static_cast<double>(thumb.total() * 3), 4.0);
  // The phone capture is at the catalogue's phone scale and keeps its alpha.
  cv::Mat phone = decode(read(output() / "default-home-ios-dark-en-phone.png"));
  ASSERT_EQ(phone.type(), CV_8UC4);
  EXPECT_EQ(phone.cols, 200);
  EXPECT_EQ(phone.at<cv::Vec4b>(0, 0)[3], 0);        // a rounded corner: transparent
  EXPECT_EQ(phone.at<cv::Vec4b>(200, 100)[3], 255);  // the screen itself: opaque

  made = compositor().composite(request("noname"));  // no script name: set and page
  ASSERT_TRUE(made);
  EXPECT_EQ(made->thumbPath.filename(), "composite-default-noname.thumb.jpg");
}

TEST_F(Pipeline, ATitleEditReusesThePhoneCaptureAndFreshRedoesIt) {
  Compositor c = compositor();
  auto first = c.composite(request("home"));
  call(*b, "POST", "/api/texts", R"({"home":{"en":{"title":"New"}}})");
  auto second = c.composite(request("home"));
  ASSERT_TRUE(first && second);
  EXPECT_NE(first->filename, second->filename);
  EXPECT_EQ(count("pageHtml"), 1);  // no second phone capture
  EXPECT_EQ(c.composite(request("home"))->filename, second->filename);
  EXPECT_EQ(count("compositeHtml"), 2);  // nothing left to make the third time
  c.composite({.page = "home", .os = "ios", .fresh = true});
  EXPECT_EQ(std::pair(count("pageHtml"), count("compositeHtml")), std::pair(2, 3));
}

TEST_F(Pipeline, HeroRecordsWithAndWithoutAHero) {
  Compositor c = compositor();
  ASSERT_TRUE(c.composite(request("hero")));
  EXPECT_EQ(JSONValue::parse(read(output() / "default-hero-ios-dark-en-hero.json")),
            JSONValue::parse(R"({"x":10,"y":20,"width":40,"height":20,"plate":true})"));
  EXPECT_EQ(decode(read(output() / "default-hero-ios-dark-en-hero.png")).cols, 80);

  // A page planned with a hero whose screen has none: the record is null, and it holds.
  ASSERT_TRUE(c.composite(request("bare")));
  EXPECT_EQ(read(output() / "default-bare-ios-dark-en-hero.json"), "null");
  call(*b, "POST", "/api/texts", R"({"bare":{"en":{"title":"Changed"}}})");
  ASSERT_TRUE(c.composite(request("bare")));
  EXPECT_EQ(count("pageHtml"), 2);  // one capture each

  fs::remove(output() / "default-hero-ios-dark-en-hero.png");  // a record without its picture
  call(*b, "POST", "/api/texts", R"({"hero":{"en":{"title":"Again"}}})");
  EXPECT_TRUE(c.composite(request("hero")));  // no hero, and the composite is still made
}

TEST_F(Pipeline, UploadedPagesAndPictures) {
  Compositor c = compositor();
  auto made = c.composite(request("shot"));  // no screen file at all
  ASSERT_TRUE(made);
  EXPECT_TRUE(fs::exists(made->path));
  EXPECT_EQ(count("pageHtml"), 0);

  // The most particular screen file wins: theme and locale, theme, then neither.
  const fs::path screens = b->library().screens();
  for (const char* name :
       {"default-shot-ios.png", "dark/default-shot-ios-en.jpg", "light/default-shot-ios.png"}) {
    writeFile(screens / name, read(made->path));
  }
  for (auto [theme, locale, found] : {std::tuple{"dark", "en", "dark/default-shot-ios-en.jpg"},
                                      {"light", "de", "light/default-shot-ios.png"},
                                      {"dark", "de", "default-shot-ios.png"}}) {
    EXPECT_EQ(backend::findScreen(b->library(), "default", "shot", "ios", locale, theme),
              screens / found);
  }
  EXPECT_FALSE(backend::findScreen(b->library(), "default", "shot", "android", "en", "dark"));

  // A screen file changes the uploaded page's name.
  fs::remove(screens / "dark" / "default-shot-ios-en.jpg");
  EXPECT_NE(c.composite(request("shot"))->filename, made->filename);
}

TEST_F(Pipeline, Routes) {
  for (const char* url :
       {"/composite?page=nosuch&os=ios", "/vell?page=nosuch", "/preview?page=nosuch"}) {
    EXPECT_EQ(call(*b, "GET", url).status, 404) << url;
  }
  EXPECT_EQ(count("pagePlan"), 0);

  // The phone picture, once; none for an uploaded page without a screen.
  auto r = call(*b, "GET", "/vell?page=home&os=ios");
  ASSERT_EQ(r.status, 200) << r.body;
  EXPECT_EQ(decode(r.body).cols, 300);  // scale 3
  EXPECT_EQ(call(*b, "GET", "/vell?page=home&os=ios").body, r.body);
  EXPECT_EQ(count("pageHtml"), 1);
  EXPECT_EQ(call(*b, "GET", "/vell?page=shot&os=ios").body, "No screen uploaded for this page");

  r = call(*b, "GET", "/composite?page=home&os=ios&thumb=1&dl=1");
  ASSERT_EQ(r.status, 200) << r.body;
  EXPECT_EQ(r.mime, "image/png");
  const std::string etag = r.headers.at("ETag"), name = etag.substr(1, etag.size() - 2);
  EXPECT_EQ(r.headers.at("Content-Disposition"), "attachment; filename=" + etag);
  r = call(*b, "GET", "/composite?page=home&os=ios&thumb=1");
  EXPECT_EQ(r.mime + " " + r.headers.at("ETag"), "image/jpeg \"thumb-" + name + "\"");
  auto conditional = backend::requestFromURL("/composite?page=home&os=ios");
  conditional.ifNoneMatch = etag;
  EXPECT_EQ(b->handle(conditional).status, 304);
  r = call(*b, "GET", "/composite?page=home&os=iphone");  // Android
  EXPECT_NE(r.headers.at("ETag").find("-android-dark-"), std::string::npos);

  EXPECT_EQ(call(*b, "GET", "/api/hero?page=hero&os=ios").status, 404);
  compositor().composite(request("hero"));
  r = call(*b, "GET", "/api/hero?page=hero&os=ios");
  EXPECT_EQ(std::to_string(r.status) + " " + r.mime, "200 image/png");

  EXPECT_EQ(call(*b, "POST", "/api/decor?page=nosuch", "{}").body,
            R"({"error":"Unknown page","ok":false})");
  r = call(*b, "POST", "/api/decor?page=home", R"({"style":{"decor":"none"}})");
  EXPECT_EQ(r.status, 500);  // the fixture has no decor function: its words come back
  EXPECT_NE(r.body.find("Unknown function: decor"), std::string::npos);
}

}  // namespace
}  // namespace vells::testing
