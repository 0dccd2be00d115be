#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <opencv2/imgcodecs.hpp>
#include <thread>

#include "platform/web/devtools_client.h"
#include "rendering/browser_slot.h"
#include "rendering/html_renderer.h"

namespace vells::rendering {
namespace {

// A slot that renders nothing: the pool's rules need no browser.
class InertSlot : public RenderSlot {
 public:
  explicit InertSlot(int id) : id(id) {}
  void load(const std::string&, CSSSize) override {}
  std::optional<Rect> rect(const std::string&) override { return std::nullopt; }
  JSONValue run(const std::string&) override { return JSONValue(); }
  std::string capturePNG(const Rect&, double, bool) override { return {}; }
  std::string captureJPEG(const Rect&, double, int) override { return {}; }
  int id;
};

int idOf(HTMLRenderer::Lease& lease) {
  return dynamic_cast<InertSlot&>(*lease).id;
}

TEST(RenderPool, SlotCountFollowsTheProcessors) {
  EXPECT_EQ(HTMLRenderer::defaultMaxSlots(1), 2);
  EXPECT_EQ(HTMLRenderer::defaultMaxSlots(3), 2);
  EXPECT_EQ(HTMLRenderer::defaultMaxSlots(4), 2);
  EXPECT_EQ(HTMLRenderer::defaultMaxSlots(7), 3);
  EXPECT_EQ(HTMLRenderer::defaultMaxSlots(8), 4);
  EXPECT_EQ(HTMLRenderer::defaultMaxSlots(64), 4);
}

TEST(RenderPool, IdleSlotsAreReusedLastInFirstOut) {
  int made = 0;
  HTMLRenderer pool(2, [&] { return std::make_unique<InertSlot>(++made); });
  auto a = std::make_unique<HTMLRenderer::Lease>(pool.acquire(false));
  auto b = std::make_unique<HTMLRenderer::Lease>(pool.acquire(true));
  EXPECT_EQ(idOf(*a), 1);
  EXPECT_EQ(idOf(*b), 2);
  a.reset();
  b.reset();  // the last one in
  EXPECT_EQ(pool.idleCount(), 2);
  auto c = pool.acquire(false);
  EXPECT_EQ(idOf(c), 2);
  EXPECT_EQ(made, 2);
  EXPECT_EQ(pool.slotCount(), 2);
}

TEST(RenderPool, ForegroundWaitersGoFirst) {
  HTMLRenderer pool(1, [] { return std::make_unique<InertSlot>(1); });
  auto held = std::make_unique<HTMLRenderer::Lease>(pool.acquire(false));
  std::vector<std::string> order;
  std::mutex orderMutex;
  auto waitFor = [&](bool background, const std::string& name) {
    return std::thread([&, background, name] {
      auto lease = pool.acquire(background);
      std::lock_guard g(orderMutex);
      order.push_back(name);
    });
  };
  auto waitUntilWaiting = [&](int n) {
    while (pool.waitingCount() < n)
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
  };
  std::thread bg1 = waitFor(true, "background 1");
  waitUntilWaiting(1);
  std::thread bg2 = waitFor(true, "background 2");
  waitUntilWaiting(2);
  std::thread fg = waitFor(false, "foreground");
  waitUntilWaiting(3);
  held.reset();
  for (auto* t : {&bg1, &bg2, &fg})
    t->join();
  EXPECT_EQ(order, (std::vector<std::string>{"foreground", "background 1", "background 2"}));
  EXPECT_EQ(pool.slotCount(), 1);
}

// --- With the real headless browser -------------------------------------------------------

struct Pixels {
  cv::Mat mat;
  int channels() const { return mat.channels(); }
  cv::Vec4b at(int x, int y) const {
    if (mat.channels() == 4) return mat.at<cv::Vec4b>(y, x);
    auto c = mat.at<cv::Vec3b>(y, x);
    return {c[0], c[1], c[2], 255};
  }
};

Pixels decodePNG(const std::string& png) {
  cv::Mat raw(1, static_cast<int>(png.size()), CV_8UC1, const_cast<char*>(png.data()));
  return {cv::imdecode(raw, cv::IMREAD_UNCHANGED)};
}

class Browser : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { renderer = std::make_unique<HTMLRenderer>(2); }
  static void TearDownTestSuite() { renderer.reset(); }
  static std::unique_ptr<HTMLRenderer> renderer;
};
std::unique_ptr<HTMLRenderer> Browser::renderer;

constexpr const char* kPhone = R"(<!doctype html><html><body style="margin:0">
<div id="device" style="position:absolute;left:10px;top:20px;width:100px;height:200px">
  <div style="width:100px;height:100px;background:#ff0000"></div>
  <div data-vell="hero" data-vell-plate style="position:absolute;left:10px;top:120px;width:80px;height:40px;background:#00ff00"></div>
</div></body></html>)";

TEST_F(Browser, TransparentAndOpaqueCaptures) {
  auto slot = renderer->acquire(false);
  slot->load(kPhone, {200, 300});
  auto device = slot->rect("\"#device\"");
  ASSERT_TRUE(device);
  EXPECT_EQ(*device, (Rect{10, 20, 100, 200}));

  Pixels clear = decodePNG(slot->capturePNG(*device, 300, false));
  ASSERT_EQ(clear.channels(), 4);
  EXPECT_EQ(clear.mat.cols, 300);
  EXPECT_EQ(clear.mat.rows, 600);
  EXPECT_EQ(clear.at(150, 150), (cv::Vec4b{0, 0, 255, 255}));  // red, as BGRA
  EXPECT_EQ(clear.at(5, 590)[3], 0);                           // empty page: transparent

  Pixels solid = decodePNG(slot->capturePNG(*device, 1241.6, true));
  EXPECT_EQ(solid.channels(), 3);
  EXPECT_EQ(solid.mat.cols, 1242);
  EXPECT_EQ(solid.mat.rows, 2483);  // round(1241.6 × 200 ÷ 100)

  std::string jpeg = slot->captureJPEG(*device, 400, 80);
  cv::Mat raw(1, static_cast<int>(jpeg.size()), CV_8UC1, jpeg.data());
  cv::Mat thumb = cv::imdecode(raw, cv::IMREAD_COLOR);
  EXPECT_EQ(thumb.cols, 400);
  EXPECT_EQ(thumb.rows, 800);

  for (Rect empty : {Rect{0, 0, 0, 100}, Rect{0, 0, 100, 0}, Rect{0, 0, 100, 100}}) {
    try {
      slot->capturePNG(empty, empty.width == 100 && empty.height == 100 ? 0.2 : 100, false);
      FAIL() << "captured an empty rectangle";
    } catch (const RenderError& e) {
      EXPECT_EQ(e.kind(), RenderError::Kind::snapshot);
      EXPECT_STREQ(e.what(), "WebKit returned no image.");
    }
  }
}

TEST_F(Browser, PhoneAndHero) {
  PhoneCapture c = renderer->renderPhoneAndHero(
      kPhone, {200, 300}, 2, std::make_pair("[data-vell=\"hero\"]", "[data-vell=\"hero\"]"), false);
  Pixels phone = decodePNG(c.phone);
  EXPECT_EQ(phone.mat.cols, 200);
  EXPECT_EQ(phone.at(100, 280)[3], 0);  // the hero was hidden for the phone picture
  ASSERT_TRUE(c.hero);
  ASSERT_TRUE(c.heroRect);
  EXPECT_EQ(c.heroRect->rect, (Rect{20, 140, 80, 40}));
  EXPECT_TRUE(c.heroRect->plate);
  Pixels hero = decodePNG(*c.hero);
  EXPECT_EQ(hero.mat.cols, 160);
  EXPECT_EQ(hero.at(80, 40), (cv::Vec4b{0, 255, 0, 255}));

  // A hero with no height is no hero, and no failure.
  std::string flat = kPhone;
  flat.replace(flat.find("height:40px"), 11, "height:0px");
  PhoneCapture noHero = renderer->renderPhoneAndHero(
      flat, {200, 300}, 1, std::make_pair("[data-vell=\"hero\"]", "[data-vell=\"hero\"]"), true);
  EXPECT_FALSE(noHero.hero);
  EXPECT_FALSE(noHero.heroRect);

  try {
    renderer->renderDevice("<p>no device here</p>", {100, 100}, 1);
    FAIL();
  } catch (const RenderError& e) {
    EXPECT_STREQ(e.what(), "#device was not found in the rendered page.");
  }
  EXPECT_EQ(renderer->idleCount(), renderer->slotCount());  // every path released its slot
}

TEST_F(Browser, BrokenImagesFontsAndScripts) {
  auto slot = renderer->acquire(false);
  slot->load(
      R"(<img src="data:image/png;base64,AAAA"><div id="device" style="width:10px;height:10px"></div>)",
      {100, 100});
  EXPECT_TRUE(slot->rect("\"#device\""));
  EXPECT_EQ(slot->run("return innerWidth + 'x' + innerHeight;"), JSONValue("100x100"));
  EXPECT_EQ(slot->run("return {a: [1, true, null]};"), JSONValue::parse(R"({"a":[1,true,null]})"));
  EXPECT_TRUE(slot->run("return undefined;").isNull());
  EXPECT_FALSE(slot->rect("\"#nothing\""));
  try {
    slot->run("throw new TypeError('nope');");
    FAIL();
  } catch (const RenderError& e) {
    EXPECT_NE(std::string(e.what()).find("TypeError: nope"), std::string::npos);
  }
  // A page loaded after another shows nothing of the first.
  slot->load("<p>second</p>", {100, 100});
  EXPECT_FALSE(slot->rect("\"#device\""));
}

TEST_F(Browser, CrashDuringLoadThenARecovery) {
  auto lease = renderer->acquire(false);
  auto* slot = dynamic_cast<BrowserSlot*>(&*lease);
  ASSERT_NE(slot, nullptr);
  slot->load("<p>warm</p>", {100, 100});
  std::thread crasher([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(700));
    slot->crashRenderer();
  });
  try {
    // A page that never finishes loading: its script never returns.
    slot->load("<script>for (;;) {}</script>", {100, 100});
    ADD_FAILURE() << "a load whose renderer crashed succeeded";
  } catch (const RenderError& e) {
    EXPECT_EQ(e.kind(), RenderError::Kind::load);
    EXPECT_STREQ(e.what(), "The page failed to load: the web content process quit");
  }
  crasher.join();
  slot->load(kPhone, {200, 300});
  EXPECT_TRUE(slot->rect("\"#device\""));
}

TEST(BrowserProcess, NothingOutlivesTheRenderer) {
  pid_t pid;
  {
    HTMLRenderer renderer(1);
    renderer.renderDevice(kPhone, {200, 300}, 1);
    pid = renderer.browser()->pid();
    ASSERT_GT(pid, 0);
    EXPECT_EQ(::kill(pid, 0), 0);
  }
  EXPECT_NE(::kill(pid, 0), 0);  // reaped: not even a zombie
  // Its renderers were killed with it; the system reaps them a moment later.
  bool groupGone = false;
  for (int i = 0; i < 500 && !groupGone; ++i) {
    groupGone = ::kill(-pid, 0) != 0;
    if (!groupGone) std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  EXPECT_TRUE(groupGone);
}

TEST(BrowserProcess, ADeadBrowserIsReplacedOnTheNextRender) {
  HTMLRenderer renderer(1);
  renderer.renderDevice(kPhone, {200, 300}, 1);
  const pid_t first = renderer.browser()->pid();
  ::kill(-first, SIGKILL);
  for (int i = 0; i < 200 && renderer.browser()->pid() == first; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  EXPECT_NO_THROW(renderer.renderDevice(kPhone, {200, 300}, 1));
  EXPECT_NE(renderer.browser()->pid(), first);
}

}  // namespace
}  // namespace vells::rendering
