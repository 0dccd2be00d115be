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
  void load(const std::string&, CSSSize) override {}
  std::optional<Rect> rect(const std::string&) override { return std::nullopt; }
  JSONValue run(const std::string&) override { return JSONValue(); }
  std::string capturePNG(const Rect&, double, bool) override { return {}; }
  std::string captureJPEG(const Rect&, double, int) override { return {}; }
};

TEST(RenderPool, IdleSlotsLastInFirstOutAndForegroundWaitersFirst) {
  int made = 0;
  HTMLRenderer pool(2, [&] { return ++made, std::make_unique<InertSlot>(); });
  std::optional<HTMLRenderer::Lease> held(pool.acquire(platform::Priority::interactive)),
      other(pool.acquire(platform::Priority::background));
  RenderSlot* last = &**other;
  held.reset();
  other.reset();  // the last one in is the first out
  held.emplace(pool.acquire(platform::Priority::interactive));
  other.emplace(pool.acquire(platform::Priority::interactive));
  EXPECT_EQ(&**held, last);
  EXPECT_EQ(made, 2);

  std::vector<std::string> order;
  std::mutex orderMutex;
  std::vector<std::thread> waiters;
  using platform::Priority;
  for (auto [priority, name] : {std::pair{Priority::background, "background 1"},
                                {Priority::background, "background 2"},
                                {Priority::interactive, "foreground"}}) {
    waiters.emplace_back([&, priority, name] {
      auto lease = pool.acquire(priority);
      std::lock_guard g(orderMutex);
      order.push_back(name);
    });
    while (pool.waitingCount() < static_cast<int>(waiters.size()))
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  held.reset();
  for (auto& t : waiters)
    t.join();
  EXPECT_EQ(order, (std::vector<std::string>{"foreground", "background 1", "background 2"}));
}

// What `f` throws: its kind and words; absent when it throws nothing.
using Thrown = std::pair<RenderError::Kind, std::string>;
using K = RenderError::Kind;
template <class F>
std::optional<Thrown> thrown(F f) {
  try {
    f();
  } catch (const RenderError& e) {
    return Thrown(e.kind(), e.what());
  }
  return std::nullopt;
}

cv::Mat decode(const std::string& bytes, int flags = cv::IMREAD_UNCHANGED) {
  cv::Mat raw(1, static_cast<int>(bytes.size()), CV_8UC1, const_cast<char*>(bytes.data()));
  return cv::imdecode(raw, flags);
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
const auto kHero = std::make_pair("[data-vell=\"hero\"]", "[data-vell=\"hero\"]");

TEST_F(Browser, CapturesScriptsAndReloads) {
  auto slot = renderer->acquire(platform::Priority::interactive);
  slot->load(kPhone, {200, 300});
  const Rect device{10, 20, 100, 200};
  ASSERT_EQ(slot->rect("\"#device\""), device);

  cv::Mat clear = decode(slot->capturePNG(device, 300, false));
  ASSERT_EQ(clear.type(), CV_8UC4);
  EXPECT_EQ(clear.size(), cv::Size(300, 600));
  EXPECT_EQ(clear.at<cv::Vec4b>(150, 150), (cv::Vec4b{0, 0, 255, 255}));  // red, as BGRA
  EXPECT_EQ(clear.at<cv::Vec4b>(590, 5)[3], 0);                           // empty: transparent

  cv::Mat solid = decode(slot->capturePNG(device, 1241.6, true));
  EXPECT_EQ(solid.channels(), 3);
  EXPECT_EQ(solid.size(), cv::Size(1242, 2483));  // round(1241.6 × 200 ÷ 100)
  EXPECT_EQ(decode(slot->captureJPEG(device, 400, 80)).size(), cv::Size(400, 800));

  for (auto [r, width] : {std::pair{Rect{0, 0, 0, 100}, 100.0},
                          {Rect{0, 0, 100, 0}, 100.0},
                          {Rect{0, 0, 100, 100}, 0.2}}) {
    EXPECT_EQ(thrown([&] { slot->capturePNG(r, width, false); }),
              Thrown(K::snapshot, "The headless browser returned no image."))
        << "nothing, or less than a pixel: " << r.width << "x" << r.height << " at " << width;
  }

  EXPECT_EQ(slot->run("return [innerWidth, {a: null}];"), JSONValue::parse(R"([200,{"a":null}])"));
  const auto error = thrown([&] { slot->run("throw new TypeError('nope');"); });
  EXPECT_NE(error.value_or(Thrown()).second.find("TypeError: nope"), std::string::npos);
  slot->load("<p>second</p>", {100, 100});  // shows nothing of the first
  EXPECT_FALSE(slot->rect("\"#device\""));
}

TEST_F(Browser, PhoneAndHero) {
  PhoneCapture c =
      renderer->renderPhoneAndHero(kPhone, {200, 300}, 2, kHero, platform::Priority::interactive);
  EXPECT_EQ(decode(c.phone).at<cv::Vec4b>(280, 100)[3], 0);  // hero hidden in the phone picture
  ASSERT_TRUE(c.hero && c.heroRect);
  EXPECT_EQ(c.heroRect->rect, (Rect{20, 140, 80, 40}));
  EXPECT_TRUE(c.heroRect->plate);
  cv::Mat hero = decode(*c.hero, cv::IMREAD_COLOR);
  EXPECT_EQ(hero.cols, 160);
  EXPECT_EQ(hero.at<cv::Vec3b>(40, 80), (cv::Vec3b{0, 255, 0}));

  std::string flat = kPhone;
  flat.replace(flat.find("height:40px"), 11, "height:0px");
  PhoneCapture noHero =
      renderer->renderPhoneAndHero(flat, {200, 300}, 1, kHero, platform::Priority::background);
  EXPECT_FALSE(noHero.hero || noHero.heroRect);  // no height: no hero, and no failure

  const auto noDevice = thrown([&] { renderer->renderDevice("<p>none</p>", {100, 100}, 1); });
  EXPECT_EQ(noDevice, Thrown(K::missing, "#device was not found in the rendered page."));
  EXPECT_EQ(renderer->idleCount(), renderer->slotCount());  // every path released its slot
}

TEST_F(Browser, CrashDuringLoadThenARecovery) {
  auto lease = renderer->acquire(platform::Priority::interactive);
  auto* slot = dynamic_cast<BrowserSlot*>(&*lease);
  ASSERT_NE(slot, nullptr);
  slot->load("<p>warm</p>", {100, 100});
  std::thread crasher([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(700));
    slot->crashRenderer();
  });
  const auto quit = thrown([&] { slot->load("<script>for (;;) {}</script>", {100, 100}); });
  EXPECT_EQ(quit, Thrown(K::load, "The page failed to load: the web content process quit"));
  crasher.join();
  slot->load(std::string(kPhone) + R"(<img src="data:image/png;base64,AAAA">)", {200, 300});
  EXPECT_TRUE(slot->rect("\"#device\""));
}

TEST(BrowserProcess, ADeadBrowserIsReplacedAndNothingOutlivesTheRenderer) {
  pid_t first, second;
  {
    HTMLRenderer renderer(1);
    renderer.renderDevice(kPhone, {200, 300}, 1);
    first = renderer.browser()->pid();
    ASSERT_GT(first, 0);  // never kill(0): that would be this process group
    ::kill(-first, SIGKILL);
    for (int i = 0; i < 200 && renderer.browser()->pid() == first; ++i)
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_NO_THROW(renderer.renderDevice(kPhone, {200, 300}, 1));
    second = renderer.browser()->pid();
    EXPECT_NE(second, first);
    EXPECT_EQ(::kill(second, 0), 0);
  }
  EXPECT_NE(::kill(second, 0), 0);  // reaped: not even a zombie
  // Its renderers were killed with it; the system reaps them a moment later.
  for (int i = 0; i < 500 && ::kill(-second, 0) == 0; ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  EXPECT_NE(::kill(-second, 0), 0);
}

// Browsers are started by whichever worker first needs one; that worker may
// be gone long before the browser is done.
TEST(BrowserProcess, OutlivesTheThreadThatStartedIt) {
  std::unique_ptr<platform::DevToolsClient> client;
  std::thread starter([&] {
    client =
        std::make_unique<platform::DevToolsClient>(platform::DevToolsClient::defaultExecutable());
  });
  starter.join();
  ASSERT_TRUE(client);
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  EXPECT_TRUE(client->alive());
  EXPECT_NO_THROW(
      client->call("Browser.getVersion", JSONValue::Object{}, {}, std::chrono::seconds(10)));
}

}  // namespace
}  // namespace vells::rendering
