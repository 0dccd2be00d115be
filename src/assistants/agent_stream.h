#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QJsonObject>
#include <QString>
#include <functional>
#include <memory>
#include <optional>

#include "assistants/ai_tool.h"
#include "assistants/tool_call.h"

namespace vells::assistants {

// Reads one tool's stream of JSON lines, in whatever blocks they arrive, and
// turns its dialect into the same few events. Bytes are cut into lines before
// anything is decoded, so a block that ends inside a character or an object
// changes nothing. Lines that aren't JSON objects are passed over; a line
// longer than the bound is dropped whole rather than held without end; an
// unfinished last line is never read.
class AgentStream {
 public:
  // Longer than any reply a tool gives in one event; a line that grows past
  // it is a flood, not an answer.
  static constexpr qsizetype kMaxLineBytes = qsizetype{16} * 1024 * 1024;

  std::function<void(const ToolCall&)> onToolCall;
  std::function<void(bool failed)> onToolResult;
  std::function<void(const QString& piece)> onText;

  explicit AgentStream(AITool tool);
  ~AgentStream();
  AgentStream(const AgentStream&) = delete;
  AgentStream& operator=(const AgentStream&) = delete;

  // Takes the next block of output. The callbacks may destroy this object.
  void consume(QByteArrayView data);

  // The final reply once the tool has exited: for Gemini CLI what it said
  // after its last tool step when its result named nothing.
  QString finalReply() const;

  AITool tool() const { return tool_; }
  const std::optional<QString>& sessionId() const { return sessionId_; }
  void setSessionId(std::optional<QString> id) { sessionId_ = std::move(id); }
  const QString& reply() const { return reply_; }
  bool reportedError() const { return reportedError_; }

 private:
  void line(QByteArrayView bytes);
  void claudeEvent(const QJsonObject& event);
  void codexEvent(const QJsonObject& event);
  void geminiEvent(const QJsonObject& event);

  AITool tool_;
  std::optional<QString> sessionId_;
  QByteArray buffer_;
  qsizetype scanned_ = 0;      // bytes of buffer_ known to hold no line feed
  bool droppingLine_ = false;  // inside a line that grew past the bound
  QString reply_;
  QString turnText_;
  bool reportedError_ = false;
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace vells::assistants
