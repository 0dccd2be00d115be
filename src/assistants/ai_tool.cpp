#include "assistants/ai_tool.h"

namespace vells::assistants {

namespace {

struct ToolNames {
  const char* raw;
  const char* display;
  const char* maker;
};

// In the order of the enumeration.
constexpr ToolNames kNames[] = {
    {"claude", "Claude Code", "Anthropic"},
    {"codex", "Codex CLI", "OpenAI"},
    {"gemini", "Gemini CLI", "Google"},
};

const ToolNames& names(AITool tool) {
  return kNames[static_cast<size_t>(tool)];
}

}  // namespace

QString rawValue(AITool tool) {
  return QString::fromLatin1(names(tool).raw);
}
QString displayName(AITool tool) {
  return QString::fromLatin1(names(tool).display);
}
QString makerWord(AITool tool) {
  return QString::fromLatin1(names(tool).maker);
}

std::optional<AITool> toolFromRawValue(const QString& value) {
  for (AITool tool : kAllTools) {
    if (rawValue(tool) == value) return tool;
  }
  return std::nullopt;
}

}  // namespace vells::assistants
