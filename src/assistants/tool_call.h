#pragma once

#include <QJsonObject>
#include <QString>

namespace vells::assistants {

// One step a tool took, in Claude Code's words whatever the tool: "Read" with
// a "file_path" when a file is meant, "Grep" for any other look around.
struct ToolCall {
  QString name;
  QJsonObject input;

  // A Codex shell command read as what it does: a file viewer is a Read of
  // the file it names, anything else a Grep of the command.
  static ToolCall fromCodexCommand(const QString& command);
  // A Gemini tool call: its file readers are Reads, the rest Greps.
  static ToolCall fromGemini(const QString& name, const QJsonObject& parameters);

  friend bool operator==(const ToolCall&, const ToolCall&) = default;
};

}  // namespace vells::assistants
