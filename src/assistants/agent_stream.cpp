#include "assistants/agent_stream.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonParseError>
#include <cmath>

namespace vells::assistants {

namespace {

QString stringField(const QJsonObject& object, const QString& key) {
  const QJsonValue value = object.value(key);
  return value.isString() ? value.toString() : QString();
}

QJsonObject objectField(const QJsonObject& object, const QString& key) {
  const QJsonValue value = object.value(key);
  return value.isObject() ? value.toObject() : QJsonObject();
}

bool boolField(const QJsonObject& object, const QString& key) {
  const QJsonValue value = object.value(key);
  return value.isBool() && value.toBool();
}

}  // namespace

AgentStream::AgentStream(AITool tool) : tool_(tool) {}

AgentStream::~AgentStream() {
  *alive_ = false;
}

void AgentStream::consume(QByteArrayView data) {
  if (data.isEmpty()) return;
  const std::shared_ptr<bool> alive = alive_;
  buffer_.append(data);
  qsizetype start = 0;
  qsizetype feed;
  while ((feed = buffer_.indexOf('\n', std::max(start, scanned_))) >= 0) {
    const bool dropped = droppingLine_;
    droppingLine_ = false;
    if (!dropped) {
      // The line is copied out, so a callback that feeds or ends the stream
      // can't pull the bytes from under it.
      const QByteArray bytes = buffer_.mid(start, feed - start);
      start = feed + 1;
      line(bytes);
      if (!*alive) return;
    } else {
      start = feed + 1;
    }
  }
  buffer_.remove(0, start);
  scanned_ = buffer_.size();
  if (buffer_.size() > kMaxLineBytes) {
    buffer_.clear();
    scanned_ = 0;
    droppingLine_ = true;
  }
}

QString AgentStream::finalReply() const {
  if (tool_ == AITool::gemini && reply_.isEmpty()) return turnText_;
  return reply_;
}

void AgentStream::line(QByteArrayView bytes) {
  QJsonParseError error{};
  const QJsonDocument document = QJsonDocument::fromJson(bytes.toByteArray(), &error);
  if (error.error != QJsonParseError::NoError || !document.isObject()) return;
  const QJsonObject event = document.object();
  switch (tool_) {
    case AITool::claude:
      claudeEvent(event);
      break;
    case AITool::codex:
      codexEvent(event);
      break;
    case AITool::gemini:
      geminiEvent(event);
      break;
  }
}

void AgentStream::claudeEvent(const QJsonObject& event) {
  const std::shared_ptr<bool> alive = alive_;
  if (event.value(QStringLiteral("session_id")).isString()) {
    sessionId_ = event.value(QStringLiteral("session_id")).toString();
  }
  QJsonArray content;
  const QJsonValue listed =
      objectField(event, QStringLiteral("message")).value(QStringLiteral("content"));
  if (listed.isArray()) content = listed.toArray();
  const QString type = stringField(event, QStringLiteral("type"));

  if (type == QStringLiteral("stream_event")) {
    const QJsonObject delta =
        objectField(objectField(event, QStringLiteral("event")), QStringLiteral("delta"));
    if (stringField(delta, QStringLiteral("type")) == QStringLiteral("text_delta") && onText) {
      onText(stringField(delta, QStringLiteral("text")));
    }
  } else if (type == QStringLiteral("assistant")) {
    for (const auto& element : content) {
      const QJsonObject block = element.toObject();
      if (stringField(block, QStringLiteral("type")) != QStringLiteral("tool_use")) continue;
      if (onToolCall) {
        onToolCall({stringField(block, QStringLiteral("name")),
                    objectField(block, QStringLiteral("input"))});
        if (!*alive) return;
      }
    }
  } else if (type == QStringLiteral("user")) {
    for (const auto& element : content) {
      const QJsonObject block = element.toObject();
      if (stringField(block, QStringLiteral("type")) != QStringLiteral("tool_result")) continue;
      if (onToolResult) {
        onToolResult(boolField(block, QStringLiteral("is_error")));
        if (!*alive) return;
      }
    }
  } else if (type == QStringLiteral("result")) {
    reply_ = stringField(event, QStringLiteral("result"));
    reportedError_ = boolField(event, QStringLiteral("is_error"));
  }
}

void AgentStream::codexEvent(const QJsonObject& event) {
  const QString type = stringField(event, QStringLiteral("type"));
  const QJsonObject item = objectField(event, QStringLiteral("item"));
  const QString itemType = stringField(item, QStringLiteral("type"));

  if (type == QStringLiteral("thread.started")) {
    const QJsonValue thread = event.value(QStringLiteral("thread_id"));
    sessionId_ = thread.isString() ? std::optional(thread.toString()) : std::nullopt;
  } else if (type == QStringLiteral("item.started")) {
    if (itemType == QStringLiteral("command_execution") && onToolCall) {
      onToolCall(ToolCall::fromCodexCommand(stringField(item, QStringLiteral("command"))));
    }
  } else if (type == QStringLiteral("item.completed")) {
    if (itemType == QStringLiteral("command_execution")) {
      const QJsonValue code = item.value(QStringLiteral("exit_code"));
      const bool failed =
          code.isDouble() && std::trunc(code.toDouble()) == code.toDouble() && code.toDouble() != 0;
      if (onToolResult) onToolResult(failed);
    } else if (itemType == QStringLiteral("agent_message")) {
      reply_ = stringField(item, QStringLiteral("text"));
      if (onText) onText(reply_);
    }
  } else if (type == QStringLiteral("turn.failed")) {
    reportedError_ = true;
    if (reply_.isEmpty()) {
      reply_ = stringField(objectField(event, QStringLiteral("error")), QStringLiteral("message"));
    }
  }
}

void AgentStream::geminiEvent(const QJsonObject& event) {
  const QString type = stringField(event, QStringLiteral("type"));

  if (type == QStringLiteral("init")) {
    if (event.value(QStringLiteral("session_id")).isString()) {
      sessionId_ = event.value(QStringLiteral("session_id")).toString();
    }
  } else if (type == QStringLiteral("message")) {
    if (stringField(event, QStringLiteral("role")) != QStringLiteral("assistant")) return;
    const QString piece = stringField(event, QStringLiteral("content"));
    // A flood of pieces is cut off at the bound; the reply it builds stays usable.
    if (turnText_.size() < kMaxLineBytes) turnText_ += piece;
    if (onText) onText(piece);
  } else if (type == QStringLiteral("tool_use")) {
    turnText_.clear();
    if (onToolCall) {
      onToolCall(ToolCall::fromGemini(stringField(event, QStringLiteral("tool_name")),
                                      objectField(event, QStringLiteral("parameters"))));
    }
  } else if (type == QStringLiteral("tool_result")) {
    if (onToolResult) {
      onToolResult(stringField(event, QStringLiteral("status")) == QStringLiteral("error"));
    }
  } else if (type == QStringLiteral("result")) {
    reply_ = turnText_;
    if (stringField(event, QStringLiteral("status")) == QStringLiteral("error")) {
      reportedError_ = true;
      if (reply_.isEmpty()) {
        reply_ =
            stringField(objectField(event, QStringLiteral("error")), QStringLiteral("message"));
      }
    }
  }
}

}  // namespace vells::assistants
