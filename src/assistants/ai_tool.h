#pragma once

#include <QString>
#include <array>
#include <optional>

namespace vells::assistants {

// The command-line agents the application can drive. The raw value is at once
// the identity, the value kept in the settings and the executable's file name.
enum class AITool { claude, codex, gemini };

// Every tool, in the fixed order screens list them and the fallback tries them.
inline constexpr std::array<AITool, 3> kAllTools = {AITool::claude, AITool::codex, AITool::gemini};

QString rawValue(AITool tool);
QString displayName(AITool tool);
QString makerWord(AITool tool);

// The tool a stored value names; anything else (the empty string included)
// means no preference.
std::optional<AITool> toolFromRawValue(const QString& value);

}  // namespace vells::assistants
