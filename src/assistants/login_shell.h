#pragma once

#include <QString>
#include <chrono>
#include <memory>
#include <optional>

namespace vells::assistants {

// The user's login shell, asked what the user's own terminal would know: where
// a command lives and what PATH is. Copies share one worked-out PATH, so it is
// asked once per application run; safe to use from any thread.
class LoginShell {
 public:
  static constexpr std::chrono::milliseconds kDefaultLimit{10000};

  explicit LoginShell(QString program, std::chrono::milliseconds limit = kDefaultLimit);

  // The user's shell from the password database, else $SHELL, else /bin/sh.
  static LoginShell forCurrentUser(std::chrono::milliseconds limit = kDefaultLimit);

  const QString& program() const { return program_; }

  // `command -v name` in a login shell, accepted only when it names an
  // executable file (an alias or a function gives nothing).
  std::optional<QString> commandPath(const QString& name) const;

  // The login shell's PATH, worked out at the first call and kept; absent
  // when the shell can't tell.
  std::optional<QString> path() const;

 private:
  struct Cache;
  QString program_;
  std::chrono::milliseconds limit_;
  std::shared_ptr<Cache> cache_;
};

}  // namespace vells::assistants
