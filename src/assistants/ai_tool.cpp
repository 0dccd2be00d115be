#include "assistants/ai_tool.h"

namespace vells::assistants {

QString rawValue(AITool tool) {
  switch (tool) {
    case AITool::claude:
      return QStringLiteral("claude");
    case AITool::codex:
      return QStringLiteral("codex");
    case AITool::gemini:
      return QStringLiteral("gemini");
  }
  return {};
}

QString displayName(AITool tool) {
  switch (tool) {
    case AITool::claude:
      return QStringLiteral("Claude Code");
    case AITool::codex:
      return QStringLiteral("Codex CLI");
    case AITool::gemini:
      return QStringLiteral("Gemini CLI");
  }
  return {};
}

QString makerWord(AITool tool) {
  switch (tool) {
    case AITool::claude:
      return QStringLiteral("Anthropic");
    case AITool::codex:
      return QStringLiteral("OpenAI");
    case AITool::gemini:
      return QStringLiteral("Google");
  }
  return {};
}

std::optional<AITool> toolFromRawValue(const QString& value) {
  for (AITool tool : kAllTools) {
    if (rawValue(tool) == value) return tool;
  }
  return std::nullopt;
}

}  // namespace vells::assistants
