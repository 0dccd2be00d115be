// The preview page in the real browser: what it loads and asks for as states
// change, what it reports, and a browser that is killed coming back.
#include <gtest/gtest.h>
#include <signal.h>

#include <QSignalSpy>
#include <thread>

#include "preview/preview_library.h"

namespace vells::testing {
namespace {

using preview::PreviewEngine;
using preview::PreviewState;

struct PreviewPage : ::testing::Test {
  PreviewLibrary lib;
  RequestLog log;
  std::unique_ptr<PreviewEngine> engine;
  std::vector<models::CanvasRects> rects;

  void SetUp() override {
    PreviewEngine::Options options;
    options.resourceDir = VELLS_SOURCE_RESOURCES;
    options.requestSeen = log.tap();
    engine = std::make_unique<PreviewEngine>(lib.backend, options);
    QObject::connect(engine.get(), &PreviewEngine::rectsReported,
                     [this](const models::CanvasRects& r) { rects.push_back(r); });
  }

  // Applies `s` and waits until a frame shows it.
  bool show(const PreviewState& s, int ms = 30000) {
    engine->apply(s);
    return spinUntil(
        [&] {
          const auto& c = engine->coordinator();
          return c.applied() == s && !c.pending() && engine->frameSequence() >= c.lastSequence();
        },
        ms);
  }
};

TEST_F(PreviewPage, DrawsTheStateAndAsksOnlyForWhatChanged) {
  PreviewState s = lib.state("home", "en", 600);
  ASSERT_TRUE(show(s)) << "no frame from the preview";
  EXPECT_EQ(engine->frame().size(), QSize(277, 600));
  EXPECT_EQ(engine->frame().devicePixelRatio(), 1.0);
  EXPECT_FALSE(engine->restarting());
  ASSERT_TRUE(spinUntil([&] { return log.count("/api/decor") == 1; }));
  EXPECT_EQ(log.count("/preview"), 1);
  if (const char* dir = std::getenv("VELLS_PREVIEW_FRAMES"))
    engine->frame().save(QString(dir) + "/page-home.png");

  // A state equal to the one shown is not sent.
  const int sent = engine->coordinator().sentCount();
  engine->apply(s);
  spinFor(50);
  EXPECT_EQ(engine->coordinator().sentCount(), sent);

  // Ten title sizes in quick succession: no screen reload, one decoration at most.
  const int decorBefore = log.count("/api/decor");
  for (int i = 0; i < 10; ++i) {
    s.style.titleSize = 56 + i;
    engine->apply(s);
    spinFor(16);
  }
  ASSERT_TRUE(show(s));
  spinFor(500);
  EXPECT_EQ(log.count("/preview"), 1);
  EXPECT_LE(log.count("/api/decor") - decorBefore, 1);
  EXPECT_EQ(engine->coordinator().applied(), s) << "the last state is the one shown";

  // A new version of the screen reloads it, once.
  s.previewVersion = 1;
  ASSERT_TRUE(show(s));
  ASSERT_TRUE(spinUntil([&] { return log.count("/preview") == 2; }));
  spinFor(300);
  EXPECT_EQ(log.count("/preview"), 2);

  // The title's ink is reported; an empty title reports none.
  ASSERT_TRUE(spinUntil([&] { return !rects.empty() && rects.back().title.has_value(); }));
  EXPECT_TRUE(rects.back().phone.has_value());
  s.title = "  ";
  rects.clear();
  ASSERT_TRUE(show(s));
  ASSERT_TRUE(spinUntil([&] { return !rects.empty(); }));
  EXPECT_FALSE(rects.back().title.has_value());
  EXPECT_TRUE(rects.back().phone.has_value());
}

TEST_F(PreviewPage, ALateDecorationLosesToANewerOne) {
  PreviewState s = lib.state("home", "en", 500);
  ASSERT_TRUE(show(s));
  ASSERT_TRUE(spinUntil([&] { return log.count("/api/decor") == 1; }));
  spinFor(600);
  const QImage decorated = engine->frame();

  // The next decoration is slow; the one after it is not.
  std::atomic<int> decors{0};
  {
    std::lock_guard g(log.mutex);
    log.delay = [&](const std::string& url) {
      if (url.find("/api/decor") != std::string::npos && decors++ == 0)
        std::this_thread::sleep_for(std::chrono::milliseconds(1500));
    };
  }
  s.style.titleSize = 60;
  ASSERT_TRUE(show(s));
  spinFor(400);  // the slow request is on its way
  s.style.decor = "none";
  ASSERT_TRUE(show(s));
  ASSERT_TRUE(spinUntil([&] { return decors == 2; }));
  spinFor(400);
  const QImage newest = engine->frame();
  spinFor(1800);  // the slow answer has come and gone
  const QImage after = engine->frame();
  if (const char* dir = std::getenv("VELLS_PREVIEW_FRAMES")) {
    decorated.save(QString(dir) + "/decor-old.png");
    after.save(QString(dir) + "/decor-after.png");
  }
  EXPECT_GT(meanDifference(decorated, newest), 0.5) << "the decoration should have changed";
  EXPECT_LT(meanDifference(newest, after), 0.5) << "the late answer was drawn";
}

TEST_F(PreviewPage, AKilledBrowserComesBackWithTheLastState) {
  PreviewState s = lib.state("detail", "de", 400);
  ASSERT_TRUE(show(s));
  const int pid = engine->browserPid();
  ASSERT_GT(pid, 0);
  QSignalSpy restarting(engine.get(), &PreviewEngine::restartingChanged);
  ::kill(pid, SIGKILL);
  ASSERT_TRUE(spinUntil([&] { return engine->restarting(); }, 5000));
  EXPECT_FALSE(engine->frame().isNull()) << "the last frame stays up";
  ASSERT_TRUE(spinUntil([&] { return !engine->restarting(); }, 30000));
  EXPECT_NE(engine->browserPid(), pid);
  EXPECT_GT(engine->browserPid(), 0);
  EXPECT_EQ(engine->coordinator().applied(), s);
  EXPECT_EQ(restarting.count(), 2);
  // And it goes on working.
  s.style.gradAngle = 20;
  EXPECT_TRUE(show(s));
}

}  // namespace
}  // namespace vells::testing
