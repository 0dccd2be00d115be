// The generation job as a scheduler, on the fake tools: its slots, its end,
// its failures and its stop.
#include <gtest/gtest.h>

#include <signal.h>

#include <QFile>

#include "assistants/generation_fixture.h"

namespace vells::assistants {
namespace {

using Phase = ScreenshotGenerator::Phase;
using Kind = ScreenshotGenerator::PageState::Kind;

const QString kScreenReply = QStringLiteral(
    "reply {\"titles\":{\"en\":\"Hello\"},\"screens\":{\"ios\":\"<html><body>hi</body></html>\"}}");

class GenerationJobTest : public ::testing::Test {
 protected:
  void discovered(int screens) {
    f.discoverScreens(*job, screens);
    ASSERT_TRUE(waitUntil([&] { return job->phase() != Phase::discovering; }));
    ASSERT_EQ(job->phase(), Phase::choosing) << job->failure().toStdString();
  }

  GenerationFixture f;
  std::unique_ptr<ScreenshotGenerator> job = f.makeJob();
};

TEST_F(GenerationJobTest, AtMostThreeFirstRunsAndTheJobEndsOnlyWhenEveryReviewIsDone) {
  // Fetching the drawn pictures is slow, so a screen spends a while between
  // its drawing and its review in none of runs, queue and drawing.
  f.transport.setAnswer([](const backend::Request& r) {
    if (r.path == "/api/screen") QThread::msleep(250);
    return backend::Response::json(JSONValue::Object{{"ok", true}});
  });
  f.when(QStringLiteral("Here is how the HTML you wrote"),
         QStringLiteral("sleep 150\nreply {\"screens\":{}}"));
  f.when(QStringLiteral("You are making ONE"), QStringLiteral("sleep 300\n") + kScreenReply);
  discovered(7);
  EXPECT_EQ(job->selected.size(), 7U);

  int handedOn = 0;
  bool allDoneWhenHanded = false;
  job->onResults = [&](const ScreenshotGenerator::Results& results, std::function<void()> done) {
    ++handedOn;
    allDoneWhenHanded =
        results.size() == 7 && job->renderedScreens() == 7 && job->runKeys().isEmpty();
    done();
  };
  bool endedEarly = false;
  QObject::connect(job.get(), &ScreenshotGenerator::phaseChanged, [&] {
    if (job->phase() != Phase::finished) return;
    for (const auto& [id, state] : job->pageStates())
      endedEarly = endedEarly || state.kind != Kind::done;
  });
  job->render(f.tool, {QStringLiteral("en")}, {});
  EXPECT_EQ(job->stepTexts().last(), QStringLiteral("Making 7 screens, 3 at a time"));
  ASSERT_TRUE(waitUntil([&] { return job->phase() == Phase::finished; }, std::chrono::seconds(60)));

  EXPECT_EQ(f.mostFirstRunsAtOnce(), ScreenshotGenerator::kMaxFirstRuns);
  EXPECT_EQ(handedOn, 1);
  EXPECT_TRUE(allDoneWhenHanded);
  EXPECT_FALSE(endedEarly);
  EXPECT_TRUE(job->allDone());
  EXPECT_EQ(job->stepTexts().filter(QStringLiteral(": Matches the app")).size(), 7);
  EXPECT_EQ(job->stepTexts().last(), QStringLiteral("All 7 screens made"));
  EXPECT_EQ(f.requestsTo("/api/screen-html"), 7);
  // Every review resumed its own screen's conversation.
  int resumed = 0;
  for (const QJsonObject& entry : f.tools.log())
    resumed +=
        entry.value(QStringLiteral("argv")).toArray().contains(QStringLiteral("--resume")) ? 1 : 0;
  EXPECT_EQ(resumed, 7);
}

TEST_F(GenerationJobTest, FailuresStayWithTheirScreenAndTheJobStillEnds) {
  QByteArray huge = "{\"screens\":{\"ios\":\"<html>";
  huge += QByteArray(5 * 1024 * 1024, 'x');
  huge += "</html>\"}}";
  const QString hugeFile = f.replyFile(QStringLiteral("huge.json"), huge);
  f.when(QStringLiteral("Page id \"s1\""), QStringLiteral("reply I can’t help with that request."));
  f.when(QStringLiteral("Page id \"s2\""), QStringLiteral("reply {\"titles\":{\"en\":\"Half"));
  f.when(QStringLiteral("Page id \"s3\""), QStringLiteral("reply-file ") + hugeFile);
  f.when(QStringLiteral("Page id \"s4\""),
         QStringLiteral("reply {\"screens\":[{\"os\":\"web\",\"html\":\"<p>\"}]}"));
  f.when(QStringLiteral("Page id \"s5\""), QStringLiteral("exit 3"));
  f.when(QStringLiteral("Page id \"s6\""), QStringLiteral("session none\n") + kScreenReply);
  f.when(QStringLiteral("Here is how the HTML you wrote"), QStringLiteral("exit 1"));
  discovered(6);
  job->rating = QString(130 * 1024, QLatin1Char('9'));  // no prompt can carry this
  job->direction = StyleDirection::socialProof;
  job->render(f.tool, {QStringLiteral("en")}, {});
  ASSERT_TRUE(waitUntil([&] { return job->phase() == Phase::finished; }, std::chrono::seconds(30)));
  for (const auto& [id, state] : job->pageStates()) {
    EXPECT_EQ(state.kind, Kind::failed) << id.toStdString();
    EXPECT_TRUE(state.text.startsWith(QStringLiteral("Couldn’t start: ")))
        << state.text.toStdString();
  }

  // The same screens with a prompt that fits.
  job = f.makeJob();
  discovered(6);
  job->render(f.tool, {QStringLiteral("en")}, {});
  ASSERT_TRUE(waitUntil([&] { return job->phase() == Phase::finished; }, std::chrono::seconds(30)));
  const auto& states = job->pageStates();
  EXPECT_EQ(states.at(QStringLiteral("s1")).text,
            QStringLiteral("I can’t help with that request."));
  EXPECT_EQ(states.at(QStringLiteral("s2")).text, QStringLiteral("{\"titles\":{\"en\":\"Half"));
  EXPECT_TRUE(
      states.at(QStringLiteral("s3"))
          .text.startsWith(QStringLiteral("Couldn’t draw the iOS screen: its HTML is over 4 MB")));
  EXPECT_EQ(states.at(QStringLiteral("s4")).text,
            QStringLiteral("The reply had no screen to draw"));
  EXPECT_EQ(states.at(QStringLiteral("s5")).text, QStringLiteral("Stopped with an error"));
  // A failed review never fails its screen.
  EXPECT_EQ(states.at(QStringLiteral("s6")).kind, Kind::done);
  EXPECT_EQ(job->stepTexts().last(), QStringLiteral("1 made, 5 couldn’t be made"));
  EXPECT_EQ(f.requestsTo("/api/screen-html"), 1);
}

TEST_F(GenerationJobTest, StopEndsEveryChildAndNothingAfterItReachesTheSet) {
  // s1 draws and is held in the renderer; s2 ignores SIGTERM and answers
  // late; s3 leaves a grandchild that must go with it.
  f.when(QStringLiteral("Page id \"s1\""), kScreenReply);
  f.when(QStringLiteral("Page id \"s2\""),
         QStringLiteral("ignore-term\nsleep 600\n") + kScreenReply);
  f.when(QStringLiteral("Page id \"s3\""), QStringLiteral("grandchild\nhang"));
  discovered(3);
  f.transport.hold();
  bool handedOn = false;
  job->onResults = [&](const ScreenshotGenerator::Results&, std::function<void()> done) {
    handedOn = true;
    done();
  };
  job->render(f.tool, {QStringLiteral("en")}, {});
  ASSERT_TRUE(waitUntil([&] { return f.transport.running() == 1 && job->runKeys().size() == 2; }));
  ASSERT_TRUE(waitUntil([&] {
    const auto log = f.tools.log();
    return std::any_of(log.begin(), log.end(), [](const QJsonObject& e) {
      return e.contains(QStringLiteral("grandchild"));
    });
  }));
  const int drawsBefore = f.requestsTo("/api/screen-html");
  job->stop();
  EXPECT_EQ(job->phase(), Phase::stopped);
  EXPECT_EQ(job->rowText(QStringLiteral("s1")), QStringLiteral("Not started"));
  f.transport.release();

  ASSERT_TRUE(waitUntil([&] { return job->runningChildren() == 0; }, std::chrono::seconds(8)));
  for (qint64 pid : f.childPids()) {
    EXPECT_TRUE(waitUntil([&] { return !processAlive(pid); }, std::chrono::seconds(3))) << pid;
  }
  // s2 exited late with a good reply: nothing of it is drawn or kept.
  waitUntil([] { return false; }, std::chrono::milliseconds(300));
  EXPECT_EQ(f.requestsTo("/api/screen-html"), drawsBefore);
  EXPECT_FALSE(handedOn);
  EXPECT_EQ(job->phase(), Phase::stopped);
  for (const auto& [id, state] : job->pageStates())
    EXPECT_EQ(state.kind, Kind::waiting) << id.toStdString();
  EXPECT_EQ(job->stepTexts().last(), QStringLiteral("Stopped"));
}

TEST_F(GenerationJobTest, DiscoveryFailsWithASentenceForProseOrAFolderWithNothingToRead) {
  f.when(QStringLiteral("The current directory is the source code"),
         QStringLiteral("reply I looked around but this is not an app."));
  job->discover(f.tool);
  ASSERT_TRUE(waitUntil([&] { return job->phase() != Phase::discovering; }));
  EXPECT_EQ(job->phase(), Phase::failed);
  EXPECT_EQ(job->failure(),
            QStringLiteral(
                "The AI didn’t return a screen list: I looked around but this is not an app."));

  QTemporaryDir empty;
  ScreenshotGenerator nothing(f.client, QStringLiteral("Leafy"), QStringLiteral("leafy"),
                              empty.path(), std::nullopt);
  nothing.discover(f.tool);
  EXPECT_EQ(nothing.phase(), Phase::failed);
  EXPECT_TRUE(nothing.failure().contains(QStringLiteral("holds no files")));
  ScreenshotGenerator missing(f.client, QStringLiteral("Leafy"), QStringLiteral("leafy"),
                              empty.path() + QStringLiteral("/gone"), std::nullopt);
  missing.discover(f.tool);
  EXPECT_TRUE(missing.failure().startsWith(QStringLiteral("Can’t read the folder ")));
}

TEST_F(GenerationJobTest, ASupportlessAppMakesIOSLightWithTheTwoNoticesAndASingularLog) {
  f.when(QStringLiteral("The current directory is the source code"),
         QStringLiteral("reply {\"screens\":[{\"name\":\"Home\"},{\"name\":\"Home\"}]}"));
  f.when(QStringLiteral("You are making ONE"), kScreenReply);
  job->discover(f.tool);
  ASSERT_TRUE(waitUntil([&] { return job->phase() == Phase::choosing; }));
  EXPECT_EQ(job->selected, (std::set<QString>{QStringLiteral("home"), QStringLiteral("home-2")}));
  job->selected = {QStringLiteral("home-2")};
  job->render(f.tool, {QStringLiteral("en"), QStringLiteral("de")}, {});
  EXPECT_EQ(job->stepTexts().last(), QStringLiteral("Making 1 screen, 3 at a time"));
  EXPECT_EQ(job->notices().size(), 2);
  EXPECT_TRUE(job->notices()[0].startsWith(QStringLiteral("No Android version")));
  EXPECT_TRUE(job->notices()[1].startsWith(QStringLiteral("No dark mode")));
  ASSERT_TRUE(waitUntil([&] { return job->phase() == Phase::finished; }));
  std::vector<std::string> queries;
  for (const auto& r : f.transport.requests()) {
    if (r.path == "/api/screen-html")
      queries.push_back(r.query.at("os") + "/" + r.query.at("appearance"));
  }
  EXPECT_EQ(queries, (std::vector<std::string>{"ios/light"}));
}

}  // namespace
}  // namespace vells::assistants
