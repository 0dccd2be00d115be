#include "assistants/agent_run.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QJsonArray>
#include <QTemporaryDir>
#include <memory>

#include "assistants/agent_arguments.h"
#include "assistants/assistant_error.h"
#include "assistants/fake_tools.h"

namespace vells::assistants {
namespace {

QString script(const QString& directives) {
  return QStringLiteral("Change the page.\nFAKE SCRIPT\n") + directives;
}

// One run of a fake tool with everything it reported.
struct Outcome {
  QStringList texts;
  QStringList calls;
  int results = 0;
  bool exited = false;
  bool ok = false;
  QString reply;
};

class AgentRunTest : public ::testing::Test {
 protected:
  std::unique_ptr<AgentRun> makeRun(AITool tool, Outcome& outcome, bool streamText = true) {
    auto run = std::make_unique<AgentRun>(tool);
    if (streamText) run->onText = [&outcome](const QString& piece) { outcome.texts << piece; };
    run->onToolCall = [&outcome](const ToolCall& call) { outcome.calls << call.name; };
    run->onToolResult = [&outcome](bool) { ++outcome.results; };
    run->onExit = [&outcome](bool ok, const QString& reply) {
      EXPECT_FALSE(outcome.exited) << "onExit came twice";
      outcome.exited = true;
      outcome.ok = ok;
      outcome.reply = reply;
    };
    return run;
  }

  AgentRequest request(AITool tool, const QString& prompt) {
    AgentRequest r;
    r.binary = tools.install(rawValue(tool));
    r.folder = work.path();
    r.prompt = prompt;
    return r;
  }

  FakeTools tools;
  QTemporaryDir work;
  const QString loginPath = QStringLiteral("/login/bin:/usr/bin:/bin");
};

TEST_F(AgentRunTest, EachToolGetsItsExactVectorFolderAndLoginPathAndResumesAsItShould) {
  for (AITool tool : kAllTools) {
    QFile::remove(tools.logPath());
    Outcome first;
    auto run = makeRun(tool, first);
    AgentRequest r = request(tool, QStringLiteral("Make it shorter"));
    r.system = QStringLiteral("Standing instructions");
    r.images = {work.filePath(QStringLiteral("current.jpg"))};
    run->start(r, loginPath);
    ASSERT_TRUE(waitUntil([&] { return first.exited; }));
    EXPECT_TRUE(first.ok);
    EXPECT_EQ(first.reply, QStringLiteral("Fake %1 reply").arg(rawValue(tool)));
    EXPECT_EQ(run->ending(), AgentRun::Ending::exited);
    ASSERT_TRUE(run->sessionId());

    // The second turn goes on with the first one's conversation, except on Gemini.
    Outcome second;
    auto next = makeRun(tool, second);
    r.resume = run->sessionId();
    next->start(r, loginPath);
    ASSERT_TRUE(waitUntil([&] { return second.exited; }));

    const auto log = tools.log();
    ASSERT_EQ(log.size(), 2u);
    for (size_t turn = 0; turn < 2; ++turn) {
      EXPECT_EQ(log[turn]["cwd"].toString(), work.path());
      EXPECT_EQ(log[turn]["path"].toString(), loginPath);
      // Its own process group.
      EXPECT_EQ(log[turn]["pgid"].toInt(), log[turn]["pid"].toInt());
    }
    const QStringList firstVector = log[0]["argv"].toVariant().toStringList();
    const QStringList secondVector = log[1]["argv"].toVariant().toStringList();
    const qsizetype named = firstVector.indexOf(QStringLiteral("--session-id"));
    const QString geminiFirst = named >= 0 ? firstVector.value(named + 1) : QString();
    r.resume.reset();
    EXPECT_EQ(firstVector, agentArguments(tool, r, true, geminiFirst));
    switch (tool) {
      case AITool::claude:
        EXPECT_EQ(*run->sessionId(), QStringLiteral("claude-session-1"));
        EXPECT_EQ(secondVector.at(secondVector.indexOf(QStringLiteral("--resume")) + 1),
                  QStringLiteral("claude-session-1"));
        break;
      case AITool::codex:
        EXPECT_EQ(secondVector.mid(0, 7),
                  (QStringList{"exec", "resume", "--json", "--skip-git-repo-check", "-c",
                               "sandbox_mode=\"read-only\"", "codex-thread-1"}));
        break;
      case AITool::gemini: {
        // A new conversation every time, named before the start.
        EXPECT_FALSE(secondVector.contains(QStringLiteral("--resume")));
        EXPECT_FALSE(secondVector.contains(QStringLiteral("gemini-session-1")));
        const QString secondSession =
            secondVector.at(secondVector.indexOf(QStringLiteral("--session-id")) + 1);
        EXPECT_NE(secondSession, geminiFirst);
        EXPECT_EQ(secondSession.size(), 36);
        EXPECT_EQ(secondSession, secondSession.toLower());
        // The stream's own session replaces the one it was started with.
        EXPECT_EQ(*run->sessionId(), QStringLiteral("gemini-session-1"));
        break;
      }
    }
  }
}

TEST_F(AgentRunTest, GeminiSessionIsKnownBeforeTheChildAnswers) {
  Outcome outcome;
  auto run = makeRun(AITool::gemini, outcome);
  run->start(request(AITool::gemini, script(QStringLiteral("sleep 200\nexit 0"))), std::nullopt);
  ASSERT_TRUE(run->sessionId());
  EXPECT_EQ(run->sessionId()->size(), 36);
  ASSERT_TRUE(waitUntil([&] { return outcome.exited; }));
}

TEST_F(AgentRunTest, LinesSplitInsideCharactersAndObjectsArriveWhole) {
  Outcome outcome;
  auto run = makeRun(AITool::claude, outcome);
  // "Grüße" with its "ü" (c3 bc) cut between two writes, and an object cut in two.
  run->start(request(AITool::claude,
                     script(QStringLiteral(
                         "part {\"type\":\"stream_event\",\"event\":{\"delta\":{\"type\":\"text_"
                         "delta\",\"text\":\"Gr\nhex c3\nsleep 100\nhex bc\nsleep 100\n"
                         "out ße\"}}}\n"
                         "part {\"type\":\"result\",\"resu\nsleep 100\n"
                         "out lt\":\"Grüße\",\"is_error\":false}\nexit 0"))),
             std::nullopt);
  ASSERT_TRUE(waitUntil([&] { return outcome.exited; }));
  EXPECT_EQ(outcome.texts, QStringList{QStringLiteral("Grüße")});
  EXPECT_TRUE(outcome.ok);
  EXPECT_EQ(outcome.reply, QStringLiteral("Grüße"));
}

TEST_F(AgentRunTest, FailuresReachTheOwnerAsNotOk) {
  struct Case {
    const char* directives;
    bool ok;
    const char* reply;
  };
  const Case cases[] = {
      // Exits with a failing status after a good result.
      {"out {\"type\":\"result\",\"result\":\"half\"}\nexit 3", false, "half"},
      // The stream says it failed although the status is 0.
      {"out {\"type\":\"result\",\"result\":\"Not signed in\",\"is_error\":true}\nexit 0", false,
       "Not signed in"},
      // Garbage only.
      {"out Traceback (most recent call last):\nhex ff00ff\nexit 0", true, ""},
      // An unterminated last line is never read.
      {"part {\"type\":\"result\",\"result\":\"cut\"}\nexit 0", true, ""},
      // A flood of 24 MiB without a line feed, then a real answer.
      {"flood 3145728 xxxxxxxx\nout \nout {\"type\":\"result\",\"result\":\"after\"}\nexit 0", true,
       "after"},
  };
  for (const Case& c : cases) {
    Outcome outcome;
    auto run = makeRun(AITool::claude, outcome, false);
    run->start(request(AITool::claude, script(QString::fromUtf8(c.directives))), std::nullopt);
    ASSERT_TRUE(waitUntil([&] { return outcome.exited; })) << c.directives;
    EXPECT_EQ(outcome.ok, c.ok) << c.directives;
    EXPECT_EQ(outcome.reply, QString::fromUtf8(c.reply)) << c.directives;
    EXPECT_EQ(run->ending(), AgentRun::Ending::exited);
  }
}

TEST_F(AgentRunTest, StopLeavesNoProcessOfTheGroupEvenOneIgnoringSigterm) {
  for (const bool stubborn : {false, true}) {
    QFile::remove(tools.logPath());
    Outcome outcome;
    auto run = makeRun(AITool::claude, outcome);
    const QString ignore = stubborn ? QStringLiteral("ignore-term\n") : QString();
    run->start(request(AITool::claude,
                       script(ignore +
                              QStringLiteral("grandchild\n"
                                             "out {\"type\":\"stream_event\",\"event\":{\"delta\":{"
                                             "\"type\":\"text_delta\",\"text\":\"Working\"}}}\n"
                                             "hang"))),
               std::nullopt);
    ASSERT_TRUE(waitUntil([&] { return !outcome.texts.isEmpty(); }));
    const auto log = tools.log();
    ASSERT_EQ(log.size(), 2u);
    const qint64 tool = log[0]["pid"].toInteger();
    const qint64 grandchild = log[1]["grandchild"].toInteger();
    ASSERT_TRUE(processAlive(grandchild));

    run->stop();
    ASSERT_TRUE(waitUntil([&] { return outcome.exited; }, std::chrono::seconds(6)));
    EXPECT_FALSE(outcome.ok);
    EXPECT_EQ(run->ending(), AgentRun::Ending::stopped);
    EXPECT_TRUE(waitUntil([&] { return !processAlive(grandchild); }, std::chrono::seconds(4)))
        << (stubborn ? "stubborn " : "") << "grandchild survived the stop";
    EXPECT_FALSE(processAlive(tool));
  }
}

TEST_F(AgentRunTest, AToolThatNeverAnswersIsStoppedAtItsTimeLimit) {
  Outcome outcome;
  auto run = makeRun(AITool::codex, outcome);
  run->setLimits({std::chrono::seconds(30), std::chrono::milliseconds(300)});
  run->start(request(AITool::codex, script(QStringLiteral("ignore-term\nhang"))), std::nullopt);
  ASSERT_TRUE(waitUntil([&] { return outcome.exited; }, std::chrono::seconds(6)));
  EXPECT_FALSE(outcome.ok);
  EXPECT_EQ(run->ending(), AgentRun::Ending::timedOut);
}

TEST_F(AgentRunTest, ARequestTooLongFailsBeforeAnythingStarts) {
  Outcome outcome;
  auto run = makeRun(AITool::claude, outcome);
  AgentRequest r = request(AITool::claude, QString(qsizetype{200} * 1024, QLatin1Char('a')));
  EXPECT_THROW(run->start(r, std::nullopt), AssistantError);
  EXPECT_FALSE(run->isRunning());
  waitUntil([] { return false; }, std::chrono::milliseconds(100));
  EXPECT_FALSE(QFile::exists(tools.logPath()));
  EXPECT_FALSE(outcome.exited);
}

TEST_F(AgentRunTest, AMissingToolOrFolderIsASentenceNotACrash) {
  Outcome outcome;
  auto run = makeRun(AITool::gemini, outcome);
  AgentRequest r = request(AITool::gemini, QStringLiteral("hi"));
  r.binary = work.filePath(QStringLiteral("gone/gemini"));
  try {
    run->start(r, std::nullopt);
    FAIL() << "a missing tool started";
  } catch (const AssistantError& error) {
    EXPECT_EQ(QString::fromUtf8(error.what()),
              QStringLiteral("Gemini CLI isn’t at %1 anymore. Install it again, or choose another "
                             "AI in Settings.")
                  .arg(r.binary));
  }
  auto other = makeRun(AITool::claude, outcome);
  AgentRequest elsewhere = request(AITool::claude, QStringLiteral("hi"));
  elsewhere.folder = work.filePath(QStringLiteral("missing"));
  EXPECT_THROW(other->start(elsewhere, std::nullopt), AssistantError);
}

TEST_F(AgentRunTest, ARunDroppedWhileRunningSaysNothingAndLeavesNothing) {
  Outcome outcome;
  auto run = makeRun(AITool::claude, outcome);
  run->start(request(AITool::claude, script(QStringLiteral("grandchild\nsleep 100\nout "
                                                           "{}\nhang"))),
             std::nullopt);
  ASSERT_TRUE(waitUntil([&] { return tools.log().size() == 2; }));
  const qint64 tool = tools.log()[0]["pid"].toInteger();
  const qint64 grandchild = tools.log()[1]["grandchild"].toInteger();
  run.reset();
  EXPECT_TRUE(waitUntil([&] { return !processAlive(tool) && !processAlive(grandchild); },
                        std::chrono::seconds(5)));
  EXPECT_FALSE(outcome.exited);
}

}  // namespace
}  // namespace vells::assistants
