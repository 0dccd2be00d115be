#include "assistants/ai_tool_words.h"

#include <algorithm>

namespace vells::assistants::ai_tool_words {

QString pickerLabel(const DetectedTool& tool) {
  QString label = displayName(tool.tool);
  if (!tool.isInstalled()) label += QStringLiteral(" — not installed");
  return label;
}

std::optional<QString> missingToolWarning(const QString& storedSetting,
                                          const std::vector<DetectedTool>& detected) {
  const auto stored = toolFromRawValue(storedSetting);
  if (!stored) return std::nullopt;
  const auto record = std::find_if(detected.begin(), detected.end(),
                                   [&](const DetectedTool& tool) { return tool.tool == *stored; });
  if (record != detected.end() && record->isUsable()) return std::nullopt;
  return displayName(*stored) + QStringLiteral(
                                    " isn’t on this computer anymore. Choose another, or install "
                                    "it and look again.");
}

}  // namespace vells::assistants::ai_tool_words
