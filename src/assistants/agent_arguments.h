#pragma once

#include <QString>
#include <QStringList>

#include "assistants/agent_request.h"
#include "assistants/ai_tool.h"

namespace vells::assistants {

// The most bytes Linux takes in one argument, its terminating zero included.
inline constexpr qsizetype kMaxArgumentBytes = qsizetype{128} * 1024;

// The argument vector that runs `tool` on `request`, one element per argument
// and read-only whatever the access. `streamText` asks Claude Code for the
// text as it is written; `geminiSession` is the conversation identity Gemini
// CLI is told to use (every Gemini run is a new conversation, so it never
// resumes).
QStringList agentArguments(AITool tool, const AgentRequest& request, bool streamText,
                           const QString& geminiSession);

// Throws an AssistantError that says so when an argument is longer than
// Linux passes to a program, or the whole vector with the environment is.
void checkArgumentLimits(AITool tool, const QStringList& arguments, const QStringList& environment);

}  // namespace vells::assistants
