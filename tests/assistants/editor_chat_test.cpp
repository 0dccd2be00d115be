// The editor's chat against the fake tools on a real library: whole turns
// with their changes, checks and repairs, and the ways a turn can end.
#include "assistants/editor_chat.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <QFile>
#include <QJsonArray>

#include "assistants/chat_prompt.h"
#include "assistants/chat_stack.h"

namespace vells::testing {
namespace {

using assistants::AITool;
using assistants::ChatMessage;
using assistants::EditorChat;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

QStringList argv(const QJsonObject& run) {
  QStringList out;
  for (const auto& v : run[QStringLiteral("argv")].toArray())
    out << v.toString();
  return out;
}

std::optional<QString> after(const QStringList& args, const QString& flag) {
  const qsizetype at = args.indexOf(flag);
  if (at < 0 || at + 1 >= args.size()) return std::nullopt;
  return args[at + 1];
}

// No argument of any run may let a tool write, run commands or skip asking.
void expectReadOnly(const std::vector<QJsonObject>& runs) {
  const QStringList forbidden{QStringLiteral("--dangerously-skip-permissions"),
                              QStringLiteral("--yolo"),
                              QStringLiteral("-y"),
                              QStringLiteral("--full-auto"),
                              QStringLiteral("workspace-write"),
                              QStringLiteral("danger-full-access"),
                              QStringLiteral("--permission-mode"),
                              QStringLiteral("--approval-mode"),
                              QStringLiteral("--allow-all-tools")};
  for (const QJsonObject& run : runs) {
    const QStringList args = argv(run);
    for (const QString& word : forbidden)
      EXPECT_FALSE(args.contains(word)) << word.toStdString();
    const QString tool = run[QStringLiteral("tool")].toString();
    if (tool == QLatin1String("claude")) {
      EXPECT_EQ(after(args, QStringLiteral("--allowedTools")), QStringLiteral("Read"));
      EXPECT_TRUE(args.contains(QStringLiteral("Write")) && args.contains(QStringLiteral("Bash")));
    } else if (tool == QLatin1String("codex")) {
      EXPECT_TRUE(after(args, QStringLiteral("-s")) == QStringLiteral("read-only") ||
                  args.contains(QStringLiteral("sandbox_mode=\"read-only\"")));
    }
  }
}

// The state JSON a run was given, read back out of its prompt.
JSONValue stateOf(const QJsonObject& run) {
  const QString prompt = *after(argv(run), QStringLiteral("-p"));
  const QString lead = QStringLiteral("CURRENT PAGE (JSON): ");
  const qsizetype end = prompt.indexOf(QStringLiteral("\n\nHow it renders right now"));
  EXPECT_TRUE(prompt.startsWith(lead) && end > 0);
  return JSONValue::parse(prompt.mid(lead.size(), end - lead.size()).toStdString());
}

std::string transcript(const EditorChat& chat) {
  std::string out;
  for (const ChatMessage& m : chat.messages()) {
    out += "\n  [" + std::to_string(static_cast<int>(m.role)) + (m.isError ? " error" : "") + "] " +
           m.text.toStdString();
    for (const QString& line : m.applied)
      out += "\n    ✓ " + line.toStdString();
  }
  return out;
}

constexpr const char* kLayers =
    R"({"home":{"layers":[)"
    R"({"id":"onphone","kind":"text","text":"Streak","x":310,"y":800,"w":100,"size":30},)"
    R"({"id":"corner","kind":"text","text":"*Free* trial","x":100,"y":1300,"w":120,"size":30}]}})";

TEST(EditorChatTurn, RetitlesMovesALayerScalesThePhoneThenRepairsGermanAsOneUndoStep) {
  ChatStack s;
  s.storeStyles("a", kLayers);
  s.load();
  const StylesDocument before = *s.editor.styles();
  const std::size_t depth = s.editor.undoDepth();
  s.answers(
      {claudeAnswer(
           QStringLiteral("session-1"),
           withChanges(QStringLiteral("Shorter title, a smaller phone."), QStringLiteral(R"([
      {"op":"title","text":"Build *habits*\\nthat stay"},
      {"op":"title","text":"Gewohnheiten aufbauen, die wirklich bleiben","language":"de"},
      {"op":"style","set":{"phoneScale":0.8}},
      {"op":"updateLayer","id":"corner","set":{"x":200}}])"))),
       claudeAnswer(QStringLiteral("session-1"),
                    withChanges(QStringLiteral("Shortened the German title."), QStringLiteral(R"([
      {"op":"title","text":"Gewohnheiten,\\n*die bleiben*","language":"de"}])")))});

  ASSERT_TRUE(s.ask(QStringLiteral("Make it punchier")));

  // The messages: the request, the answer with what it changed, the check's
  // note and the repair's answer.
  const auto& m = s.chat.messages();
  ASSERT_EQ(m.size(), 4u) << transcript(s.chat);
  EXPECT_EQ(m[0].role, ChatMessage::Role::user);
  EXPECT_EQ(m[1].text, QStringLiteral("Shorter title, a smaller phone."));
  EXPECT_FALSE(m[1].isStreaming);
  EXPECT_THAT(m[1].applied,
              ElementsAre(QStringLiteral("Title: Build *habits* that stay"),
                          QStringLiteral("Title (de): Gewohnheiten aufbauen, die wirklich bleiben"),
                          QStringLiteral("Style: phoneScale"),
                          QStringLiteral("Moved or changed Free trial"),
                          QStringLiteral("Kept 1 layer on the phone")));
  EXPECT_EQ(m[2].role, ChatMessage::Role::note);
  EXPECT_EQ(m[2].text, QStringLiteral("Text check: 1 problem — asking Claude Code to fix it."));
  EXPECT_EQ(m[3].text, QStringLiteral("Shortened the German title."));
  EXPECT_THAT(m[3].applied, ElementsAre(QStringLiteral("Title (de): Gewohnheiten, *die bleiben*")));
  EXPECT_TRUE(s.chat.lastTurnEndedWell());
  EXPECT_EQ(s.chat.fixRound(), 1);
  ASSERT_EQ(s.chat.checks().size(), 2u);
  EXPECT_EQ(s.chat.checks()[0].locales, (std::vector<std::string>{"en", "de"}));
  EXPECT_EQ(s.chat.checks()[0].problems.size(), 1u);
  EXPECT_TRUE(s.chat.checks()[1].problems.empty());

  // The stored page: titles, the phone, the moved layer and the one that
  // stood on the phone, carried along with it.
  const JSONValue texts = s.stored("texts", "a");
  EXPECT_EQ(texts.find("home")->find("en")->stringAt("title"), "Build *habits*\nthat stay");
  EXPECT_EQ(texts.find("home")->find("de")->stringAt("title"), "Gewohnheiten,\n*die bleiben*");
  const JSONValue styles = s.styles();
  EXPECT_EQ(styles.find("home")->numberAt("phoneScale"), 0.8);
  const auto layers = VellLayer::list(*styles.find("home")->find("layers"));
  ASSERT_EQ(layers.size(), 2u);
  EXPECT_EQ(layers[1].x, 200);
  EXPECT_EQ(layers[1].y, 1300);
  EXPECT_NE(layers[0].y, 800);  // followed the phone
  EXPECT_LT(layers[0].w, 100);

  // Two runs, the second resuming the first's session; a picture 720 wide.
  const auto runs = s.runs();
  ASSERT_EQ(runs.size(), 2u);
  EXPECT_FALSE(argv(runs[0]).contains(QStringLiteral("--resume")));
  EXPECT_EQ(after(argv(runs[1]), QStringLiteral("--resume")), QStringLiteral("session-1"));
  EXPECT_EQ(runs[0][QStringLiteral("cwd")].toString(), s.chat.folder());
  EXPECT_EQ(after(argv(runs[0]), QStringLiteral("--append-system-prompt")),
            assistants::chat_prompt::system());
  expectReadOnly(runs);
  const QImage picture(s.chat.folder() + QStringLiteral("/current.jpg"));
  EXPECT_EQ(picture.width(), 720);
  EXPECT_EQ(picture.height(), 1558);  // round(720 × 1344 / 621)
  EXPECT_TRUE(after(argv(runs[1]), QStringLiteral("-p"))
                  ->endsWith(assistants::chat_prompt::repairRequest(
                      {{"de", {"The title is cut off with \u201c\u2026\u201d."}}})));

  // What the first run was shown of the page.
  const JSONValue state = stateOf(runs[0]);
  EXPECT_EQ(state.find("page")->stringAt("name"), "Home");
  EXPECT_EQ(state.find("page")->stringAt("screen"), "uploaded screenshot");
  EXPECT_EQ(state.stringAt("language"), "en");
  EXPECT_EQ(state.find("canvas")->numberAt("width"), 642);  // the set opens on Android
  EXPECT_EQ(state.find("otherPages")->asArray()->size(), 2u);
  EXPECT_EQ(*state.find("phoneBox"), numbers({110.0, 400.0, 400.0, 860.0}));
  const auto& boxes = *state.find("layerBoxes")->asArray();
  ASSERT_EQ(boxes.size(), 2u);
  EXPECT_EQ(boxes[0].boolAt("onPhone"), true);
  EXPECT_EQ(boxes[1].boolAt("onPhone"), false);
  EXPECT_EQ(boxes[1].stringAt("name"), "Free trial");
  EXPECT_TRUE(state.find("textFit")->find("problems")->asArray()->empty());

  // One undo takes back every style change of the request; titles stay.
  EXPECT_EQ(s.editor.undoDepth(), depth + 1);
  s.editor.undo(s.app);
  s.settle();
  EXPECT_EQ(*s.editor.styles(), before);
  EXPECT_EQ(s.stored("styles", "a"), encodeStylesDocument(before));
  EXPECT_EQ(s.stored("texts", "a").find("home")->find("de")->stringAt("title"),
            "Gewohnheiten,\n*die bleiben*");
}

TEST(EditorChatTurn, TheRepairLoopStopsAfterTwoRepairsAndThreeChecks) {
  ChatStack s;
  s.alwaysWrong = {"The text \u201cHi\u201d (layer x) runs off the canvas."};
  const std::size_t depth = s.editor.undoDepth();
  const QString change = withChanges(QStringLiteral("Done."),
                                     QStringLiteral(R"([{"op":"style","set":{"titleSize":60}}])"));
  s.answers({claudeAnswer(QStringLiteral("s"), change), claudeAnswer(QStringLiteral("s"), change),
             claudeAnswer(QStringLiteral("s"), change), claudeAnswer(QStringLiteral("s"), change)});
  ASSERT_TRUE(s.ask(QStringLiteral("Smaller title")));

  EXPECT_EQ(s.runs().size(), 3u);
  EXPECT_EQ(s.chat.fixRound(), 2);
  EXPECT_EQ(s.chat.checks().size(), 3u);
  int notes = 0;
  for (const ChatMessage& m : s.chat.messages())
    notes += m.role == ChatMessage::Role::note && m.text.startsWith(QStringLiteral("Text check"));
  EXPECT_EQ(notes, 2);
  const ChatMessage& last = s.chat.messages().back();
  EXPECT_TRUE(last.isError);
  EXPECT_TRUE(last.text.startsWith(
      QStringLiteral("Still not right — adjust by hand or ask again:\n- The text “Hi”")));
  EXPECT_FALSE(s.chat.lastTurnEndedWell());
  EXPECT_EQ(s.editor.undoDepth(), depth + 1);
}

TEST(EditorChatTurn, StopEndsTheToolAndEverythingItStarted) {
  ChatStack s;
  s.answers({QStringLiteral(R"(out {"type":"system","session_id":"kept"})"
                            "\ngrandchild\nignore-term\nhang\n")});
  s.chat.setDraft(QStringLiteral("Anything"));
  s.chat.send();
  ASSERT_TRUE(waitUntil([&] { return s.tools.log().size() >= 2; }));
  const qint64 tool = s.chat.runningProcess();
  const qint64 grandchild = s.tools.log()[1][QStringLiteral("grandchild")].toInteger();
  ASSERT_TRUE(processAlive(tool) && processAlive(grandchild));
  EXPECT_EQ(s.chat.activity(), EditorChat::kLookingAtPage);

  s.chat.stop();
  ASSERT_TRUE(waitUntil([&] { return !s.chat.isRunning(); }));
  EXPECT_FALSE(processAlive(tool));
  EXPECT_TRUE(waitUntil([&] { return !processAlive(grandchild); }, std::chrono::seconds(3)));
  const ChatMessage& reply = s.chat.messages().back();
  EXPECT_EQ(reply.text, EditorChat::kStopped);
  EXPECT_TRUE(reply.isError);
  EXPECT_FALSE(reply.isStreaming);
  EXPECT_EQ(s.chat.sessionId(), QStringLiteral("kept"));  // a stopped run keeps its session
  EXPECT_TRUE(s.chat.activity().isEmpty());
}

TEST(EditorChatTurn, ALateExitAfterNewConversationChangesNothing) {
  ChatStack s;
  s.load();
  const StylesDocument before = *s.editor.styles();
  const std::size_t depth = s.editor.undoDepth();
  // It ignores the stop and answers, with changes, before the kill comes.
  s.answers(
      {QStringLiteral(R"(out {"type":"system","session_id":"old"})"
                      "\nignore-term\nsleep 600\n") +
       claudeAnswer(QStringLiteral("old"),
                    withChanges(QStringLiteral("Bigger."),
                                QStringLiteral(R"([{"op":"style","set":{"titleSize":99}}])")))});
  s.chat.setDraft(QStringLiteral("Bigger title"));
  s.chat.send();
  ASSERT_TRUE(waitUntil([&] { return s.chat.runningProcess() != 0 && !s.tools.log().empty(); }));
  const qint64 tool = s.chat.runningProcess();
  s.chat.clear();
  EXPECT_TRUE(s.chat.messages().empty());
  EXPECT_FALSE(s.chat.isRunning());

  ASSERT_TRUE(waitUntil([&] { return !processAlive(tool); }, std::chrono::seconds(5)));
  waitUntil([] { return false; }, std::chrono::milliseconds(300));
  s.settle();
  EXPECT_TRUE(s.chat.messages().empty());
  EXPECT_FALSE(s.chat.sessionId());
  EXPECT_EQ(*s.editor.styles(), before);
  EXPECT_EQ(s.editor.undoDepth(), depth);

  // The next turn is a new conversation.
  ASSERT_TRUE(s.ask(QStringLiteral("Hello")));
  EXPECT_FALSE(argv(s.runs().back()).contains(QStringLiteral("--resume")));
  EXPECT_EQ(s.chat.messages().size(), 2u);
  EXPECT_EQ(s.chat.messages()[1].text, QStringLiteral("Fake claude reply"));
}

TEST(EditorChatTurn, GeminiNeverResumesAndAnotherToolStartsAnotherConversation) {
  ChatStack s;
  s.tool = AITool::gemini;
  ASSERT_TRUE(s.ask(QStringLiteral("One")));
  ASSERT_TRUE(s.ask(QStringLiteral("Two")));
  s.tool = AITool::codex;
  ASSERT_TRUE(s.ask(QStringLiteral("Three")));
  ASSERT_TRUE(s.ask(QStringLiteral("Four")));
  s.tool = AITool::claude;
  ASSERT_TRUE(s.ask(QStringLiteral("Five")));

  const auto runs = s.runs();
  ASSERT_EQ(runs.size(), 5u);
  EXPECT_NE(after(argv(runs[0]), QStringLiteral("--session-id")),
            after(argv(runs[1]), QStringLiteral("--session-id")));
  for (int i : {0, 1, 2, 4})
    EXPECT_FALSE(argv(runs[i]).contains(QStringLiteral("resume")) ||
                 argv(runs[i]).contains(QStringLiteral("--resume")))
        << i;
  EXPECT_EQ(argv(runs[3]).mid(0, 2),
            (QStringList{QStringLiteral("exec"), QStringLiteral("resume")}));
  EXPECT_TRUE(argv(runs[3]).contains(QStringLiteral("codex-thread-1")));
  // Codex takes the picture; the others read it from the folder.
  EXPECT_EQ(after(argv(runs[2]), QStringLiteral("-i")),
            s.chat.folder() + QStringLiteral("/current.jpg"));
  expectReadOnly(runs);
  EXPECT_EQ(s.chat.messages().back().text, QStringLiteral("Fake claude reply"));
}

TEST(EditorChatTurn, FailuresEndTheTurnWithASentence) {
  ChatStack s;
  s.answers({QStringLiteral(R"(out {"type":"system","session_id":"lost"})"
                            "\nexit 3\n")});
  ASSERT_TRUE(s.ask(QStringLiteral("One")));
  EXPECT_EQ(s.chat.messages().back().text,
            QStringLiteral("Claude Code stopped with an error. Try again."));
  EXPECT_TRUE(s.chat.messages().back().isError);
  EXPECT_FALSE(s.chat.sessionId());  // a failed run with nothing to say drops the session

  s.answers({QStringLiteral("out this is not json\nout {\"type\":\"result\",\"result\":\"\"}\n")});
  ASSERT_TRUE(s.ask(QStringLiteral("Two")));
  EXPECT_EQ(s.chat.messages().back().text, QStringLiteral("Claude Code didn’t answer. Try again."));

  // A line split inside a character and inside its JSON arrives whole.
  s.answers({QStringLiteral(
      "part "
      "{\"type\":\"stream_event\",\"event\":{\"delta\":{\"type\":\"text_delta\",\"text\":\"Gr\n"
      "hex c3\nsleep 50\nhex bc\npart \\u00dfe\"}}}\nhex 0a\n"
      "out {\"type\":\"result\",\"result\":\"Grüße\"}\n")});
  ASSERT_TRUE(s.ask(QStringLiteral("Three")));
  EXPECT_EQ(s.chat.messages().back().text, QStringLiteral("Grüße"));

  // No tool at all: the sentence, and the draft stays for later.
  s.tool.reset();
  s.chat.setDraft(QStringLiteral("Four"));
  s.chat.send();
  EXPECT_EQ(s.chat.messages().back().text,
            QStringLiteral("No AI tool is installed on this computer. Install Claude Code, Codex "
                           "CLI or Gemini CLI and sign in, then try again."));
  EXPECT_EQ(s.chat.draft(), QStringLiteral("Four"));
  EXPECT_FALSE(s.chat.isRunning());
}

}  // namespace
}  // namespace vells::testing
