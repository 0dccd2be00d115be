// The coordinator's rules on the main thread, with the page stood in for by
// what it would be told.
#include <gtest/gtest.h>

#include "preview/preview_coordinator.h"

namespace vells::testing {
namespace {

using preview::PreviewCoordinator;
using preview::PreviewState;

struct Told {
  std::vector<std::string> scripts;
  std::vector<std::uint64_t> seqs;
  std::vector<models::CanvasRects> rects;
  PreviewCoordinator coordinator{[this](const std::string& script, std::uint64_t seq) {
                                   scripts.push_back(script);
                                   seqs.push_back(seq);
                                 },
                                 [this](const models::CanvasRects& r) { rects.push_back(r); }};

  // The state the page was last told, read back from its script.
  JSONValue lastState() const {
    const std::string& s = scripts.back();
    const std::string head = "window.__vells && window.__vells.apply(";
    EXPECT_EQ(s.rfind(head, 0), 0u);
    return JSONValue::parse(s.substr(head.size(), s.size() - head.size() - 2));
  }
};

PreviewState state(double titleSize) {
  PreviewState s;
  s.set = "default";
  s.page = "home";
  s.locale = "en";
  s.title = "Build habits that *stick*";
  s.style.titleSize = titleSize;
  s.boxHeight = 900;
  return s;
}

TEST(PreviewCoordinator, WaitsForReadyAndSendsOnlyTheLastStateThen) {
  Told t;
  EXPECT_TRUE(t.coordinator.load("http://vells.localhost/__vells/preview"));
  EXPECT_FALSE(t.coordinator.load("http://vells.localhost/__vells/preview"));
  t.coordinator.apply(state(40));
  t.coordinator.apply(state(50));
  t.coordinator.apply(state(60));
  EXPECT_TRUE(t.scripts.empty());
  t.coordinator.didReceive("ready", "ready");
  ASSERT_EQ(t.scripts.size(), 1u);
  EXPECT_EQ(t.lastState().find("style")->numberAt("titleSize"), 60);
  EXPECT_EQ(t.lastState().numberAt("seq"), 1);
  EXPECT_EQ(t.lastState().stringAt("os"), "ios");
  EXPECT_EQ(t.lastState().find("hasBg")->asBool() != nullptr, true);
  EXPECT_EQ(t.lastState().find("editing"), nullptr) << "absent optionals are left out";
}

TEST(PreviewCoordinator, KeepsOneStateInFlightAndTheNewestWaiting) {
  Told t;
  t.coordinator.load("base");
  t.coordinator.didReceive("ready", "ready");
  t.coordinator.apply(state(40));
  ASSERT_EQ(t.scripts.size(), 1u);
  // Equal to what the page has: nothing.
  t.coordinator.apply(state(40));
  EXPECT_EQ(t.scripts.size(), 1u);
  // While the frame of 40 is on its way, only the newest waits.
  t.coordinator.apply(state(41));
  t.coordinator.apply(state(42));
  EXPECT_EQ(t.scripts.size(), 1u);
  // A frame of an older state frees nothing.
  t.coordinator.frameShown(0);
  EXPECT_EQ(t.scripts.size(), 1u);
  t.coordinator.frameShown(t.seqs.back());
  ASSERT_EQ(t.scripts.size(), 2u);
  EXPECT_EQ(t.lastState().find("style")->numberAt("titleSize"), 42);
  // Going back to what the page has drops the wish in between.
  t.coordinator.apply(state(43));
  t.coordinator.apply(state(42));
  t.coordinator.giveUpWaiting();
  EXPECT_EQ(t.scripts.size(), 2u);
  EXPECT_FALSE(t.coordinator.pending());
  // A change without a frame is not waited for forever.
  t.coordinator.apply(state(44));
  t.coordinator.giveUpWaiting();
  EXPECT_EQ(t.scripts.size(), 3u);
}

TEST(PreviewCoordinator, ANewPageStartsNotReadyAndGetsTheLastStateAgain) {
  Told t;
  t.coordinator.load("base");
  t.coordinator.didReceive("ready", "ready");
  t.coordinator.apply(state(40));
  t.coordinator.lost();
  EXPECT_FALSE(t.coordinator.isReady());
  EXPECT_FALSE(t.coordinator.applied());
  EXPECT_TRUE(t.coordinator.load("base"));
  t.coordinator.apply(state(40));  // not ready yet: waits
  EXPECT_EQ(t.scripts.size(), 1u);
  t.coordinator.didReceive("ready", "ready");
  ASSERT_EQ(t.scripts.size(), 2u);
  EXPECT_EQ(t.lastState().find("style")->numberAt("titleSize"), 40);
  EXPECT_GT(t.seqs[1], t.seqs[0]) << "numbers keep rising across pages";
}

TEST(PreviewCoordinator, PassesRectsOnAndDropsWhatDoesntRead) {
  Told t;
  t.coordinator.didReceive("rects", "not json");
  t.coordinator.didReceive("rects", "[1,2]");
  EXPECT_TRUE(t.rects.empty());
  t.coordinator.didReceive(
      "rects", R"({"phone":{"cx":10,"cy":20,"w":30,"h":40,"rot":5},"title":null,)"
               R"("layers":[{"id":"a","cx":1,"cy":2,"w":3,"h":4,"rot":0},{"id":"b","cx":"x"}]})");
  ASSERT_EQ(t.rects.size(), 1u);
  EXPECT_EQ(t.rects[0].phone, (models::CanvasBox{10, 20, 30, 40, 5}));
  EXPECT_FALSE(t.rects[0].title);
  ASSERT_EQ(t.rects[0].layers.size(), 1u);
  EXPECT_EQ(t.rects[0].layers[0].id, "a");
  EXPECT_FALSE(t.coordinator.isReady()) << "rects are no ready";
}

TEST(PreviewCoordinator, StateJSONCarriesTheOptionalsOnlyWhenPresent) {
  PreviewState s = state(30);
  s.editing = "title";
  s.authorization = "Bearer x";
  s.os = DeviceOS::android;
  s.theme = ThemeName::light;
  const JSONValue j = s.json();
  EXPECT_EQ(j.stringAt("editing"), "title");
  EXPECT_EQ(j.stringAt("authorization"), "Bearer x");
  EXPECT_EQ(j.stringAt("os"), "android");
  EXPECT_EQ(j.stringAt("theme"), "light");
  EXPECT_EQ(j.numberAt("boxHeight"), 900);
  EXPECT_TRUE(j.find("style")->find("layers")->isArray());
}

}  // namespace
}  // namespace vells::testing
