#include "assistants/agent_stream.h"

#include <gtest/gtest.h>

#include <QJsonDocument>

namespace vells::assistants {
namespace {

// Everything a stream reported, in order, as one readable list.
struct Recorder {
  QStringList events;
  void attach(AgentStream& stream) {
    stream.onText = [this](const QString& piece) { events << QStringLiteral("text:") + piece; };
    stream.onToolCall = [this](const ToolCall& call) {
      events << QStringLiteral("call:") + call.name + QLatin1Char(' ') +
                    QString::fromUtf8(QJsonDocument(call.input).toJson(QJsonDocument::Compact));
    };
    stream.onToolResult = [this](bool failed) {
      events << (failed ? QStringLiteral("result:failed") : QStringLiteral("result:ok"));
    };
  }
};

const QByteArray kClaudeStream =
    R"({"type":"system","subtype":"init","session_id":"s-1"})"
    "\n"
    R"({"type":"stream_event","event":{"delta":{"type":"text_delta","text":"Kürzer – "}}})"
    "\n"
    R"({"type":"stream_event","event":{"delta":{"type":"text_delta","text":"✓ 日本"}}})"
    "\n"
    R"({"type":"assistant","message":{"content":[{"type":"text","text":"x"},{"type":"tool_use","name":"Read","input":{"file_path":"./current.jpg"}},{"type":"tool_use"}]}})"
    "\n"
    R"({"type":"user","message":{"content":[{"type":"tool_result","is_error":true},{"type":"tool_result"}]}})"
    "\n"
    R"({"type":"result","result":"Done – kürzer.","is_error":false,"session_id":"s-2"})"
    "\n";

const QStringList kClaudeEvents{
    "text:Kürzer – ", "text:✓ 日本",   R"(call:Read {"file_path":"./current.jpg"})",
    "call: {}",       "result:failed", "result:ok",
};

TEST(AgentStream, ClaudeEventsBecomeCallbacksAndTheResultIsTheReply) {
  AgentStream stream(AITool::claude);
  Recorder recorder;
  recorder.attach(stream);
  stream.consume(kClaudeStream);
  EXPECT_EQ(recorder.events, kClaudeEvents);
  EXPECT_EQ(stream.finalReply(), QStringLiteral("Done – kürzer."));
  EXPECT_EQ(stream.sessionId(), QStringLiteral("s-2"));
  EXPECT_FALSE(stream.reportedError());
}

TEST(AgentStream, ABlockEndingAnywhereChangesNothing) {
  // Every cut of the stream into two blocks, inside characters and objects alike.
  for (qsizetype cut = 1; cut < kClaudeStream.size(); ++cut) {
    AgentStream stream(AITool::claude);
    Recorder recorder;
    recorder.attach(stream);
    stream.consume(QByteArrayView(kClaudeStream).first(cut));
    stream.consume(QByteArrayView(kClaudeStream).sliced(cut));
    ASSERT_EQ(recorder.events, kClaudeEvents) << "cut at byte " << cut;
    ASSERT_EQ(stream.finalReply(), QStringLiteral("Done – kürzer."));
  }
  // And byte by byte.
  AgentStream stream(AITool::claude);
  Recorder recorder;
  recorder.attach(stream);
  for (char byte : kClaudeStream)
    stream.consume(QByteArrayView(&byte, 1));
  EXPECT_EQ(recorder.events, kClaudeEvents);
}

TEST(AgentStream, GarbageIsPassedOverAndAnUnfinishedLastLineNeverRead) {
  AgentStream stream(AITool::claude);
  Recorder recorder;
  recorder.attach(stream);
  stream.consume(
      "Warning: something on stdout\n"
      "[1,2,3]\n"
      "\"a string\"\n"
      "{\"type\":\"result\",\"result\":\"half\n"
      "\xff\xfe\x01\n"
      "\n"
      "{\"type\":\"result\",\"result\":\"kept\",\"is_error\":\"yes\"}\r\n"
      "{\"type\":\"result\",\"result\":\"never\",\"is_error\":true}");
  EXPECT_TRUE(recorder.events.isEmpty());
  // A wrongly typed field reads as missing.
  EXPECT_EQ(stream.finalReply(), QStringLiteral("kept"));
  EXPECT_FALSE(stream.reportedError());
}

TEST(AgentStream, AFloodWithoutLineFeedsIsDroppedAndTheStreamGoesOn) {
  AgentStream stream(AITool::claude);
  const QByteArray chunk(qsizetype{1024} * 1024, 'x');
  for (int i = 0; i < 40; ++i)
    stream.consume(chunk);  // 40 MiB in one "line"
  stream.consume("tail of the flood\n{\"type\":\"result\",\"result\":\"after\"}\n");
  EXPECT_EQ(stream.finalReply(), QStringLiteral("after"));
}

TEST(AgentStream, CodexThreadCommandsAndTheLastMessage) {
  AgentStream stream(AITool::codex);
  Recorder recorder;
  recorder.attach(stream);
  stream.consume(
      R"({"type":"thread.started","thread_id":"t-1"})"
      "\n"
      R"({"type":"item.started","item":{"type":"command_execution","command":"bash -lc 'sed -n 1,40p Sources/App.txt'"}})"
      "\n"
      R"({"type":"item.completed","item":{"type":"command_execution","exit_code":2}})"
      "\n"
      R"({"type":"item.completed","item":{"type":"command_execution","exit_code":0}})"
      "\n"
      R"({"type":"item.completed","item":{"type":"command_execution","exit_code":1.5}})"
      "\n"
      R"({"type":"item.completed","item":{"type":"agent_message","text":"first"}})"
      "\n"
      R"({"type":"item.completed","item":{"type":"agent_message","text":"last"}})"
      "\n");
  EXPECT_EQ(recorder.events,
            (QStringList{R"(call:Read {"file_path":"Sources/App.txt"})", "result:failed",
                         "result:ok", "result:ok", "text:first", "text:last"}));
  EXPECT_EQ(stream.finalReply(), QStringLiteral("last"));
  EXPECT_EQ(stream.sessionId(), QStringLiteral("t-1"));

  stream.consume(R"({"type":"thread.started","thread_id":7})"
                 "\n"
                 R"({"type":"turn.failed","error":{"message":"quota"}})"
                 "\n");
  EXPECT_EQ(stream.sessionId(), std::nullopt);
  EXPECT_TRUE(stream.reportedError());
  EXPECT_EQ(stream.finalReply(), QStringLiteral("last"));  // a reply already there stays
}

TEST(AgentStream, CodexFailureWithoutReplyTakesTheErrorMessage) {
  AgentStream stream(AITool::codex);
  stream.consume(R"({"type":"turn.failed","error":{"message":"You are not signed in."}})"
                 "\n");
  EXPECT_TRUE(stream.reportedError());
  EXPECT_EQ(stream.finalReply(), QStringLiteral("You are not signed in."));
}

TEST(AgentStream, GeminiReplyIsWhatItSaidAfterItsLastToolStep) {
  AgentStream stream(AITool::gemini);
  stream.setSessionId(QStringLiteral("ours"));
  Recorder recorder;
  recorder.attach(stream);
  stream.consume(
      R"({"type":"init","session_id":"theirs"})"
      "\n"
      R"({"type":"message","role":"user","content":"ignored"})"
      "\n"
      R"({"type":"message","role":"assistant","content":"Let me look. "})"
      "\n"
      R"({"type":"tool_use","tool_name":"read_file","parameters":{"absolute_path":"/w/current.jpg"}})"
      "\n"
      R"({"type":"tool_result","status":"error"})"
      "\n"
      R"({"type":"message","role":"assistant","content":"Shorter "})"
      "\n"
      R"({"type":"message","role":"assistant","content":"title."})"
      "\n");
  EXPECT_EQ(stream.sessionId(), QStringLiteral("theirs"));
  EXPECT_EQ(recorder.events,
            (QStringList{"text:Let me look. ", R"(call:Read {"file_path":"/w/current.jpg"})",
                         "result:failed", "text:Shorter ", "text:title."}));
  // No result event: the end takes what came after the last tool step.
  EXPECT_EQ(stream.finalReply(), QStringLiteral("Shorter title."));

  stream.consume(R"({"type":"result","status":"error","error":{"message":"boom"}})"
                 "\n");
  EXPECT_TRUE(stream.reportedError());
  EXPECT_EQ(stream.finalReply(), QStringLiteral("Shorter title."));
}

TEST(AgentStream, ACallbackMayEndTheStream) {
  auto stream = std::make_unique<AgentStream>(AITool::claude);
  int calls = 0;
  stream->onToolCall = [&](const ToolCall&) {
    ++calls;
    stream.reset();
  };
  stream->consume(
      R"({"type":"assistant","message":{"content":[{"type":"tool_use","name":"A"},{"type":"tool_use","name":"B"}]}})"
      "\n"
      R"({"type":"assistant","message":{"content":[{"type":"tool_use","name":"C"}]}})"
      "\n");
  EXPECT_EQ(calls, 1);
}

TEST(ToolCall, CodexCommandsAreReadsOfTheFileTheyShow) {
  const auto read = [](const char* path) {
    return ToolCall{QStringLiteral("Read"), QJsonObject{{"file_path", QString::fromUtf8(path)}}};
  };
  EXPECT_EQ(ToolCall::fromCodexCommand("sed -n 1,40p Sources/App.txt"), read("Sources/App.txt"));
  EXPECT_EQ(ToolCall::fromCodexCommand("bash -lc 'cat README.md'"), read("README.md"));
  EXPECT_EQ(ToolCall::fromCodexCommand("/bin/zsh -lc \"head -n 5 a.swift\""), read("a.swift"));
  EXPECT_EQ(ToolCall::fromCodexCommand("rg Foo"),
            (ToolCall{"Grep", QJsonObject{{"command", "rg Foo"}}}));
  // A viewer with no file-like word is a look around, kept as it was typed.
  EXPECT_EQ(ToolCall::fromCodexCommand("bash -lc 'cat -n'"),
            (ToolCall{"Grep", QJsonObject{{"command", "bash -lc 'cat -n'"}}}));
  EXPECT_EQ(ToolCall::fromCodexCommand(""), (ToolCall{"Grep", QJsonObject{{"command", ""}}}));
}

TEST(ToolCall, GeminiFileReadersAreReads) {
  EXPECT_EQ(ToolCall::fromGemini("read_file", {{"path", "a.txt"}, {"file_path", "b.txt"}}),
            (ToolCall{"Read", QJsonObject{{"file_path", "b.txt"}}}));
  EXPECT_EQ(ToolCall::fromGemini("read_many_files", {{"file_path", 3}, {"path", "a.txt"}}),
            (ToolCall{"Read", QJsonObject{}}));
  EXPECT_EQ(ToolCall::fromGemini("search_file_content", {{"pattern", "x"}}),
            (ToolCall{"Grep", QJsonObject{{"pattern", "x"}}}));
}

}  // namespace
}  // namespace vells::assistants
