#pragma once

#include <QFuture>
#include <QString>
#include <QStringList>
#include <chrono>
#include <optional>
#include <vector>

#include "assistants/ai_tool.h"
#include "assistants/detected_tool.h"
#include "assistants/login_shell.h"

namespace vells::assistants {

// Finds the AI tools installed on this computer: first in the folders their
// installers use, then through the user's login shell. Nothing here fails: a
// tool that can't be found or asked has no path or no version. A value type,
// safe to copy and to use from any thread.
class ToolFinder {
 public:
  struct Options {
    QString home;  // the user's home folder
    // The folders outside the home that installers use, searched after
    // ~/.claude/local and before ~/.npm-global/bin in this order.
    QStringList systemFolders;
    // The last folder of all, searched after the home's package managers.
    QStringList lastFolders;
    std::chrono::milliseconds versionLimit{10000};
  };

  // The home from Qt and this computer's installer folders.
  static Options defaultOptions();

  ToolFinder(LoginShell shell, Options options);

  // The folders searched before the login shell is asked, in order.
  QStringList searchFolders() const;

  // The executable of `tool`, or nothing. Blocking; may start a login shell.
  std::optional<QString> binary(AITool tool) const;

  // One record per tool, in the order of kAllTools, found in parallel.
  // Blocking; every child it starts has a time limit.
  std::vector<DetectedTool> detectTools() const;

  // The same off the calling thread, for screens that must not wait.
  QFuture<std::vector<DetectedTool>> detectToolsInBackground() const;

  // The version in a tool's --version output: the first word of the first
  // non-empty line that begins with a digit of any script.
  static std::optional<QString> versionFrom(const QString& output);

 private:
  DetectedTool detect(AITool tool) const;

  LoginShell shell_;
  Options options_;
};

}  // namespace vells::assistants
