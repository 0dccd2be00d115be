#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <QFile>
#include <atomic>
#include <thread>

#include "assistants/ai_tool_words.h"
#include "assistants/fake_tools.h"
#include "assistants/run_folder.h"
#include "assistants/tool_finder.h"
#include "assistants/tool_preference.h"

namespace vells::assistants {
namespace {

using namespace std::chrono_literals;

// A login shell whose profile lives in the temporary home, so the test
// decides what the user's login environment knows.
class ToolDiscoveryTest : public ::testing::Test {
 protected:
  void SetUp() override {
    savedHome_ = qgetenv("HOME");
    qputenv("HOME", tools.home().toLocal8Bit());
  }
  void TearDown() override { qputenv("HOME", savedHome_); }

  void writeProfile(const QByteArray& text) {
    QFile profile(tools.home() + QStringLiteral("/.profile"));
    ASSERT_TRUE(profile.open(QIODevice::WriteOnly));
    profile.write(text);
  }

  ToolFinder finder(std::chrono::milliseconds limit = 5s) {
    ToolFinder::Options options;
    options.home = tools.home();
    options.versionLimit = limit;
    return ToolFinder(LoginShell(QStringLiteral("/bin/bash"), limit), options);
  }

  FakeTools tools;
  QByteArray savedHome_;
};

TEST_F(ToolDiscoveryTest, FoldersAreSearchedInTheirOrderForEveryTool) {
  const ToolFinder::Options defaults = ToolFinder::defaultOptions();
  ToolFinder::Options options = defaults;
  options.home = QStringLiteral("/home/u");
  EXPECT_EQ(
      ToolFinder(LoginShell(QStringLiteral("/bin/sh")), options).searchFolders(),
      (QStringList{"/home/u/.local/bin", "/home/u/.claude/local", "/home/linuxbrew/.linuxbrew/bin",
                   "/usr/local/bin", "/home/u/.npm-global/bin", "/home/u/.bun/bin",
                   "/home/u/.volta/bin", "/usr/bin"}));

  const QString later = tools.install(QStringLiteral("claude"), QStringLiteral(".volta/bin"));
  EXPECT_EQ(finder().binary(AITool::claude), later);
  const QString earlier = tools.install(QStringLiteral("claude"), QStringLiteral(".claude/local"));
  EXPECT_EQ(finder().binary(AITool::claude), earlier);
  // Any tool counts in any folder, also another maker's.
  const QString codex = tools.install(QStringLiteral("codex"), QStringLiteral(".claude/local"));
  EXPECT_EQ(finder().binary(AITool::codex), codex);
  // A file that can't be run is passed over.
  tools.plantNonExecutable(QStringLiteral("claude"), QStringLiteral(".local/bin"));
  EXPECT_EQ(finder().binary(AITool::claude), earlier);
  EXPECT_EQ(finder().binary(AITool::gemini), std::nullopt);
}

TEST_F(ToolDiscoveryTest, TheLoginShellFindsWhatTheFoldersDont) {
  const QString gemini = tools.install(QStringLiteral("gemini"), QStringLiteral("opt/g/bin"));
  tools.plantNonExecutable(QStringLiteral("codex"), QStringLiteral("opt/g/bin"));
  writeProfile("echo 'Welcome back'\nPATH=\"$HOME/opt/g/bin:$PATH\"\nalias claude='echo hi'\n");
  EXPECT_EQ(finder().binary(AITool::gemini), gemini);
  // The shell answers for these two, but with no executable file.
  EXPECT_EQ(finder().binary(AITool::codex), std::nullopt);
  EXPECT_EQ(finder().binary(AITool::claude), std::nullopt);
  // The same login environment gives the runs their PATH.
  const auto path = LoginShell(QStringLiteral("/bin/bash")).path();
  ASSERT_TRUE(path);
  EXPECT_TRUE(path->startsWith(tools.home() + QStringLiteral("/opt/g/bin:")))
      << path->toStdString();
}

TEST_F(ToolDiscoveryTest, AHangingLoginShellOrToolIsCutOffAtItsLimit) {
  writeProfile("sleep 60\n");
  QElapsedTimer clock;
  clock.start();
  EXPECT_EQ(finder(500ms).binary(AITool::claude), std::nullopt);
  EXPECT_EQ(LoginShell(QStringLiteral("/bin/bash"), 500ms).path(), std::nullopt);
  EXPECT_LT(clock.elapsed(), 5000);

  writeProfile("");
  tools.install(QStringLiteral("codex"));
  qputenv("FAKE_AI_VERSION", "hang");
  const auto detected = finder(500ms).detectTools();
  qunsetenv("FAKE_AI_VERSION");
  EXPECT_EQ(detected[1].tool, AITool::codex);
  EXPECT_TRUE(detected[1].isUsable());
  EXPECT_EQ(detected[1].version, std::nullopt);
}

TEST_F(ToolDiscoveryTest, DetectionListsAllThreeInOrderWithTheirVersions) {
  const QString claude = tools.install(QStringLiteral("claude"));
  const QString gemini = tools.install(QStringLiteral("gemini"), QStringLiteral(".bun/bin"));
  auto future = finder().detectToolsInBackground();
  ASSERT_TRUE(waitUntil([&] { return future.isFinished(); }));
  EXPECT_EQ(future.result(),
            (std::vector<DetectedTool>{{AITool::claude, claude, QStringLiteral("1.0.3")},
                                       {AITool::codex, std::nullopt, std::nullopt},
                                       {AITool::gemini, gemini, QStringLiteral("0.1.9")}}));
}

TEST(ToolVersion, TheFirstWordOfTheFirstLineThatBeginsWithADigit) {
  EXPECT_EQ(ToolFinder::versionFrom("claude 1.0.3 (Claude Code)"), QStringLiteral("1.0.3"));
  EXPECT_EQ(ToolFinder::versionFrom("\n  \ncodex-cli 0.20.0\n1.0"), QStringLiteral("0.20.0"));
  EXPECT_EQ(ToolFinder::versionFrom("gemini\tversion\t٣.٢"), QStringLiteral("٣.٢"));
  EXPECT_EQ(ToolFinder::versionFrom("Claude Code (unknown)\n1.2.3"), std::nullopt);
  EXPECT_EQ(ToolFinder::versionFrom("v1.2.3"), std::nullopt);
}

TEST(ToolPreference, OneSearchPerTenSecondsUnlessTheSettingChanges) {
  std::chrono::steady_clock::time_point now{};
  QString setting = QStringLiteral("codex");
  std::map<AITool, QString> installed{{AITool::claude, "/bin/claude"}, {AITool::gemini, "/g"}};
  std::vector<AITool> searched;
  ToolPreference preference([&] { return setting; },
                            [&](AITool tool) -> std::optional<QString> {
                              searched.push_back(tool);
                              if (installed.count(tool)) return installed[tool];
                              return std::nullopt;
                            },
                            [&] { return now; });

  // The chosen tool has gone: the first installed one, in silence.
  EXPECT_EQ(preference.preferred(), (ToolPreference::Choice{AITool::claude, "/bin/claude"}));
  EXPECT_EQ(searched, (std::vector{AITool::codex, AITool::claude}));
  now += 9s;
  EXPECT_EQ(preference.preferred(), (ToolPreference::Choice{AITool::claude, "/bin/claude"}));
  EXPECT_EQ(searched.size(), 2u);

  setting = QStringLiteral("gemini");  // a change is a miss at once
  EXPECT_EQ(preference.preferred(), (ToolPreference::Choice{AITool::gemini, "/g"}));
  EXPECT_EQ(searched.size(), 3u);

  // Nothing installed: nothing, and that is kept as long.
  installed.clear();
  setting = QStringLiteral("not a tool");
  EXPECT_EQ(preference.preferred(), std::nullopt);
  const size_t searches = searched.size();
  setting = QString();  // an unknown value and no value are the same preference
  now += 9s;
  EXPECT_EQ(preference.preferred(), std::nullopt);
  EXPECT_EQ(searched.size(), searches);
  now += 2s;
  installed[AITool::codex] = "/c";
  EXPECT_EQ(preference.preferred(), (ToolPreference::Choice{AITool::codex, "/c"}));
}

TEST(ToolPreference, ASecondCallerWaitsForTheSearchUnderWay) {
  std::atomic<int> searches = 0;
  ToolPreference preference([] { return QString(); },
                            [&](AITool) -> std::optional<QString> {
                              ++searches;
                              std::this_thread::sleep_for(50ms);
                              return QStringLiteral("/bin/claude");
                            });
  std::thread other([&] { preference.preferred(); });
  preference.preferred();
  other.join();
  EXPECT_EQ(searches, 1);
}

TEST(AIToolWords, EachToolIsNamedByItsStoredValue) {
  QStringList names;
  for (AITool tool : kAllTools) {
    EXPECT_EQ(toolFromRawValue(rawValue(tool)), tool);
    names << rawValue(tool) + QLatin1Char('/') + displayName(tool) + QLatin1Char('/') +
                 makerWord(tool);
  }
  EXPECT_EQ(names, (QStringList{"claude/Claude Code/Anthropic", "codex/Codex CLI/OpenAI",
                                "gemini/Gemini CLI/Google"}));
  EXPECT_EQ(toolFromRawValue("Claude"), std::nullopt);
  EXPECT_EQ(toolFromRawValue(""), std::nullopt);
}

TEST(AIToolWords, TheSettingsWarnOnlyAboutAChosenToolThatIsGone) {
  const std::vector<DetectedTool> detected{{AITool::claude, "/c", "1.0"},
                                           {AITool::codex, std::nullopt, std::nullopt},
                                           {AITool::gemini, "/g", std::nullopt}};
  EXPECT_EQ(ai_tool_words::missingToolWarning("claude", detected), std::nullopt);
  EXPECT_EQ(ai_tool_words::missingToolWarning("gemini", detected), std::nullopt);
  EXPECT_EQ(ai_tool_words::missingToolWarning("", detected), std::nullopt);
  EXPECT_EQ(
      ai_tool_words::missingToolWarning("codex", detected),
      QStringLiteral("Codex CLI isn’t on this computer anymore. Choose another, or install it "
                     "and look again."));
  EXPECT_EQ(ai_tool_words::missingToolWarning("claude", {}),
            QStringLiteral("Claude Code isn’t on this computer anymore. Choose another, or "
                           "install it and look again."));
  EXPECT_EQ(ai_tool_words::pickerLabel(detected[1]), QStringLiteral("Codex CLI — not installed"));
  EXPECT_EQ(ai_tool_words::pickerLabel(detected[2]), QStringLiteral("Gemini CLI"));
}

TEST(RunFolder, EveryRunFolderIsItsOwnAndGoesAway) {
  QString first;
  {
    const RunFolder a(QStringLiteral("set/with:odd chars"));
    const RunFolder b(QStringLiteral("set/with:odd chars"));
    first = a.path();
    EXPECT_NE(a.path(), b.path());
    EXPECT_TRUE(QFileInfo(a.path()).isDir());
    EXPECT_TRUE(QFileInfo(a.path()).fileName().startsWith("vells-chat-set_with_odd_chars-"));
    EXPECT_EQ(QFile::permissions(a.path()) & (QFile::ReadOther | QFile::WriteOther), 0);
  }
  EXPECT_FALSE(QFileInfo::exists(first));
}

}  // namespace
}  // namespace vells::assistants
