#include "assistants/login_shell.h"

#include <pwd.h>
#include <unistd.h>

#include <QFileInfo>
#include <mutex>

#include "assistants/short_command.h"

namespace vells::assistants {

struct LoginShell::Cache {
  std::once_flag once;
  std::optional<QString> path;
};

LoginShell::LoginShell(QString program, std::chrono::milliseconds limit)
    : program_(std::move(program)), limit_(limit), cache_(std::make_shared<Cache>()) {}

LoginShell LoginShell::forCurrentUser(std::chrono::milliseconds limit) {
  QString shell;
  // getpwuid_r keeps this callable from any thread.
  long size = ::sysconf(_SC_GETPW_R_SIZE_MAX);
  std::string storage(size > 0 ? static_cast<size_t>(size) : 16384, '\0');
  passwd entry{};
  passwd* found = nullptr;
  if (::getpwuid_r(::getuid(), &entry, storage.data(), storage.size(), &found) == 0 && found &&
      found->pw_shell && *found->pw_shell) {
    shell = QString::fromLocal8Bit(found->pw_shell);
  }
  if (shell.isEmpty() || !QFileInfo(shell).isExecutable()) {
    shell = qEnvironmentVariable("SHELL");
  }
  if (shell.isEmpty() || !QFileInfo(shell).isExecutable()) shell = QStringLiteral("/bin/sh");
  return LoginShell(shell, limit);
}

std::optional<QString> LoginShell::commandPath(const QString& name) const {
  // The name is one of our own executable names, never user input, so it
  // needs no quoting inside the command line.
  const auto output = runShortCommand(
      program_, {QStringLiteral("-lc"), QStringLiteral("command -v ") + name}, limit_);
  if (!output) return std::nullopt;
  const QString candidate = lastLine(*output);
  const QFileInfo info(candidate);
  if (!info.isAbsolute() || !info.isFile() || !info.isExecutable()) return std::nullopt;
  return candidate;
}

std::optional<QString> LoginShell::path() const {
  std::call_once(cache_->once, [this] {
    const auto output =
        runShortCommand(program_, {QStringLiteral("-lc"), QStringLiteral("echo $PATH")}, limit_);
    if (!output) return;
    const QString line = lastLine(*output);
    if (line.contains(QLatin1Char('/'))) cache_->path = line;
  });
  return cache_->path;
}

}  // namespace vells::assistants
