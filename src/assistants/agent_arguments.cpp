#include "assistants/agent_arguments.h"

#include <unistd.h>

#include "assistants/assistant_error.h"

namespace vells::assistants {

namespace {

QString combinedPrompt(const AgentRequest& request) {
  if (!request.system) return request.prompt;
  return *request.system + QStringLiteral("\n\n---\n\n") + request.prompt;
}

QStringList claudeArguments(const AgentRequest& request, bool streamText) {
  QStringList arguments{QStringLiteral("-p"),
                        request.prompt,
                        QStringLiteral("--output-format"),
                        QStringLiteral("stream-json"),
                        QStringLiteral("--verbose"),
                        QStringLiteral("--strict-mcp-config")};
  if (streamText) arguments << QStringLiteral("--include-partial-messages");
  if (request.system) arguments << QStringLiteral("--append-system-prompt") << *request.system;
  if (request.resume) arguments << QStringLiteral("--resume") << *request.resume;
  for (const QString& folder : request.extraDirs)
    arguments << QStringLiteral("--add-dir") << folder;
  switch (request.access) {
    case AgentAccess::look:
      arguments << QStringLiteral("--allowedTools") << QStringLiteral("Read")
                << QStringLiteral("--disallowedTools") << QStringLiteral("Edit")
                << QStringLiteral("Write") << QStringLiteral("Bash")
                << QStringLiteral("NotebookEdit") << QStringLiteral("Glob")
                << QStringLiteral("Grep") << QStringLiteral("WebFetch")
                << QStringLiteral("WebSearch") << QStringLiteral("Task");
      break;
    case AgentAccess::search:
      arguments << QStringLiteral("--allowedTools") << QStringLiteral("Read")
                << QStringLiteral("Glob") << QStringLiteral("Grep")
                << QStringLiteral("--disallowedTools") << QStringLiteral("Edit")
                << QStringLiteral("Write") << QStringLiteral("Bash")
                << QStringLiteral("NotebookEdit");
      break;
  }
  return arguments;
}

QStringList codexArguments(const AgentRequest& request) {
  QStringList arguments{QStringLiteral("exec")};
  if (request.resume) {
    // Resuming takes no folder, and the sandbox only through a setting.
    arguments << QStringLiteral("resume") << QStringLiteral("--json")
              << QStringLiteral("--skip-git-repo-check") << QStringLiteral("-c")
              << QStringLiteral("sandbox_mode=\"read-only\"") << *request.resume
              << combinedPrompt(request);
  } else {
    arguments << QStringLiteral("--json") << QStringLiteral("--skip-git-repo-check")
              << QStringLiteral("-s") << QStringLiteral("read-only") << QStringLiteral("-C")
              << request.folder << combinedPrompt(request);
  }
  if (!request.images.isEmpty()) arguments << QStringLiteral("-i") << request.images;
  return arguments;
}

QStringList geminiArguments(const AgentRequest& request, const QString& session) {
  QStringList arguments{QStringLiteral("-p"),
                        combinedPrompt(request),
                        QStringLiteral("--output-format"),
                        QStringLiteral("stream-json"),
                        QStringLiteral("--skip-trust"),
                        QStringLiteral("--session-id"),
                        session};
  for (const QString& folder : request.extraDirs) {
    arguments << QStringLiteral("--include-directories") << folder;
  }
  return arguments;
}

QString kibibytes(qsizetype bytes) {
  return QString::number((bytes + 1023) / 1024);
}

}  // namespace

QStringList agentArguments(AITool tool, const AgentRequest& request, bool streamText,
                           const QString& geminiSession) {
  switch (tool) {
    case AITool::claude:
      return claudeArguments(request, streamText);
    case AITool::codex:
      return codexArguments(request);
    case AITool::gemini:
      return geminiArguments(request, geminiSession);
  }
  return {};
}

void checkArgumentLimits(AITool tool, const QStringList& arguments,
                         const QStringList& environment) {
  qsizetype total = 0;
  for (const QString& argument : arguments) {
    const qsizetype bytes = argument.toUtf8().size() + 1;
    if (bytes > kMaxArgumentBytes) {
      throw AssistantError(QStringLiteral("This request is too long to hand to ") +
                           displayName(tool) + QStringLiteral(": it holds ") + kibibytes(bytes) +
                           QStringLiteral(" KiB, and one request can hold at most 128 KiB on "
                                          "this computer. Shorten it and try again."));
    }
    total += bytes + static_cast<qsizetype>(sizeof(char*));
  }
  for (const QString& variable : environment) {
    total += variable.toUtf8().size() + 1 + static_cast<qsizetype>(sizeof(char*));
  }
  const long limit = ::sysconf(_SC_ARG_MAX);
  if (limit > 0 && total > limit) {
    throw AssistantError(QStringLiteral("This request is too long to hand to ") +
                         displayName(tool) + QStringLiteral(": with its instructions it holds ") +
                         kibibytes(total) +
                         QStringLiteral(" KiB, more than this computer passes "
                                        "to a program. Shorten it and try "
                                        "again."));
  }
}

}  // namespace vells::assistants
