#include "assistants/agent_arguments.h"

#include <gtest/gtest.h>

#include "assistants/assistant_error.h"

namespace vells::assistants {
namespace {

AgentRequest request(AgentAccess access = AgentAccess::look) {
  AgentRequest r;
  r.binary = QStringLiteral("/bin/tool");
  r.folder = QStringLiteral("/tmp/work");
  r.prompt = QStringLiteral("Make the title shorter");
  r.access = access;
  return r;
}

// Arguments that would let a tool write, run commands or skip its approvals.
const QStringList kWriteEnabling{QStringLiteral("--dangerously-skip-permissions"),
                                 QStringLiteral("--permission-mode"),
                                 QStringLiteral("acceptEdits"),
                                 QStringLiteral("bypassPermissions"),
                                 QStringLiteral("workspace-write"),
                                 QStringLiteral("danger-full-access"),
                                 QStringLiteral("--full-auto"),
                                 QStringLiteral("--yolo"),
                                 QStringLiteral("-y"),
                                 QStringLiteral("--approval-mode"),
                                 QStringLiteral("--dangerously-bypass-approvals-and-sandbox")};

TEST(AgentArguments, ClaudeLooksWithReadOnlyAndForbidsEveryWritingTool) {
  AgentRequest r = request();
  r.system = QStringLiteral("You are the design assistant");
  r.resume = QStringLiteral("abc-123");
  r.extraDirs = {QStringLiteral("/a"), QStringLiteral("/b")};
  r.images = {QStringLiteral("/tmp/work/current.jpg")};
  EXPECT_EQ(agentArguments(AITool::claude, r, true, {}),
            (QStringList{"-p",
                         "Make the title shorter",
                         "--output-format",
                         "stream-json",
                         "--verbose",
                         "--strict-mcp-config",
                         "--include-partial-messages",
                         "--append-system-prompt",
                         "You are the design assistant",
                         "--resume",
                         "abc-123",
                         "--add-dir",
                         "/a",
                         "--add-dir",
                         "/b",
                         "--allowedTools",
                         "Read",
                         "--disallowedTools",
                         "Edit",
                         "Write",
                         "Bash",
                         "NotebookEdit",
                         "Glob",
                         "Grep",
                         "WebFetch",
                         "WebSearch",
                         "Task"}));
}

TEST(AgentArguments, ClaudeSearchAllowsOnlyReadingToolsAndStreamsOnlyWhenAsked) {
  EXPECT_EQ(agentArguments(AITool::claude, request(AgentAccess::search), false, {}),
            (QStringList{"-p", "Make the title shorter", "--output-format", "stream-json",
                         "--verbose", "--strict-mcp-config", "--allowedTools", "Read", "Glob",
                         "Grep", "--disallowedTools", "Edit", "Write", "Bash", "NotebookEdit"}));
}

TEST(AgentArguments, CodexIsReadOnlyWithAndWithoutResume) {
  AgentRequest r = request();
  r.system = QStringLiteral("SYS");
  EXPECT_EQ(agentArguments(AITool::codex, r, true, {}),
            (QStringList{"exec", "--json", "--skip-git-repo-check", "-s", "read-only", "-C",
                         "/tmp/work", "SYS\n\n---\n\nMake the title shorter"}));

  // Resuming: no folder again, the sandbox through a setting with its quotes.
  r.resume = QStringLiteral("thread-9");
  r.images = {QStringLiteral("/x/one.jpg"), QStringLiteral("/x/two.jpg")};
  EXPECT_EQ(
      agentArguments(AITool::codex, r, true, {}),
      (QStringList{"exec", "resume", "--json", "--skip-git-repo-check", "-c",
                   "sandbox_mode=\"read-only\"", "thread-9", "SYS\n\n---\n\nMake the title shorter",
                   "-i", "/x/one.jpg", "/x/two.jpg"}));
}

TEST(AgentArguments, GeminiNeverResumesAndTakesItsOwnSession) {
  AgentRequest r = request(AgentAccess::search);
  r.resume = QStringLiteral("should-not-appear");
  r.extraDirs = {QStringLiteral("/src")};
  r.images = {QStringLiteral("/x/one.jpg")};
  EXPECT_EQ(
      agentArguments(AITool::gemini, r, true, QStringLiteral("1b4e28ba-2fa1")),
      (QStringList{"-p", "Make the title shorter", "--output-format", "stream-json", "--skip-trust",
                   "--session-id", "1b4e28ba-2fa1", "--include-directories", "/src"}));
}

TEST(AgentArguments, NoVectorEverEnablesWriting) {
  for (AITool tool : kAllTools) {
    for (AgentAccess access : {AgentAccess::look, AgentAccess::search}) {
      for (bool resume : {false, true}) {
        AgentRequest r = request(access);
        if (resume) r.resume = QStringLiteral("s");
        r.system = QStringLiteral("sys");
        const QStringList arguments = agentArguments(tool, r, true, QStringLiteral("g"));
        for (const QString& bad : kWriteEnabling) {
          EXPECT_FALSE(arguments.contains(bad))
              << rawValue(tool).toStdString() << " " << bad.toStdString();
        }
        // Claude's writing tools appear only in the forbidden list.
        if (tool == AITool::claude) {
          const qsizetype forbidden = arguments.indexOf(QStringLiteral("--disallowedTools"));
          ASSERT_GT(forbidden, 0);
          for (const char* writer : {"Edit", "Write", "Bash", "NotebookEdit"}) {
            EXPECT_GT(arguments.indexOf(QString::fromLatin1(writer)), forbidden);
          }
        }
      }
    }
  }
}

TEST(AgentArguments, OneArgumentOverTheLinuxLimitFailsWithASentence) {
  const QString fits(kMaxArgumentBytes - 1, QLatin1Char('a'));
  EXPECT_NO_THROW(checkArgumentLimits(AITool::claude, {fits}, {}));
  // The terminating zero counts: one byte more no longer fits.
  const QString over(kMaxArgumentBytes, QLatin1Char('a'));
  try {
    checkArgumentLimits(AITool::codex, {QStringLiteral("exec"), over}, {});
    FAIL() << "an argument of 128 KiB passed";
  } catch (const AssistantError& error) {
    EXPECT_STREQ(error.what(),
                 "This request is too long to hand to Codex CLI: it holds 129 KiB, and one "
                 "request can hold at most 128 KiB on this computer. Shorten it and try again.");
  }
  // Bytes count, not characters: 50 000 three-byte characters are 150 000 bytes.
  EXPECT_THROW(checkArgumentLimits(AITool::gemini, {QString(50000, QChar(0x20AC))}, {}),
               AssistantError);
}

}  // namespace
}  // namespace vells::assistants
