#pragma once

#include <QString>
#include <optional>
#include <vector>

#include "assistants/detected_tool.h"

namespace vells::assistants {

// The words the screens show about the AI tools on this computer.
namespace ai_tool_words {

inline const QString kLooking = QStringLiteral("Looking for AI tools…");
inline const QString kAskNextTime = QStringLiteral("Ask next time");
inline const QString kLookAgain = QStringLiteral("Look Again");
inline const QString kSectionText = QStringLiteral(
    "Generate Screenshots and the editor’s chat use this AI — Claude Code, Codex CLI or Gemini "
    "CLI, signed in with your own plan. It only reads the app’s code; it never changes it.");
// An error reply in the chat.
inline const QString kNoToolForChatTurn = QStringLiteral(
    "No AI tool is installed on this computer. Install Claude Code, Codex CLI or Gemini CLI and "
    "sign in, then try again.");
// The chat panel's intro, in place of the greeting.
inline const QString kNoToolForChatIntro = QStringLiteral(
    "No AI tool is installed on this computer. Install Claude Code, Codex CLI or Gemini CLI and "
    "sign in to use the chat.");
// The add-app sheet's step that connects a code folder.
inline const QString kNoToolForCodeFolder = QStringLiteral(
    "Install Claude Code, Codex CLI or Gemini CLI to have screenshots built from this folder. You "
    "can still connect the folder now.");

// A picker row: the tool's name, marked when it isn't installed.
QString pickerLabel(const DetectedTool& tool);

// The settings' warning when the stored tool can't be used (not among the
// detected tools, or found without a path); nothing for no preference.
std::optional<QString> missingToolWarning(const QString& storedSetting,
                                          const std::vector<DetectedTool>& detected);

}  // namespace ai_tool_words
}  // namespace vells::assistants
