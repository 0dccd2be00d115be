#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string_view>

namespace vells::platform {

enum class LogLevel { debug, info, warning, error };

// "debug", "info", "warning" or "error".
std::string_view levelName(LogLevel level);

// Where the core reports what it can't hand back to a caller: a failed
// background render, a warm-up that stopped. Writes to stderr until someone
// sets a handler (the application shows the lines in its own window).
// Safe from any thread; the handler runs on the thread that writes, with no
// lock of ours held, so it may write to the log itself.
class Log {
 public:
  using Handler = std::function<void(LogLevel level, std::string_view message)>;

  Log() = default;
  explicit Log(Handler handler, LogLevel minimum = LogLevel::info);
  Log(const Log&) = delete;
  Log& operator=(const Log&) = delete;

  // An empty handler restores stderr.
  void setHandler(Handler handler);
  // Messages below `minimum` are dropped; info by default.
  void setMinimumLevel(LogLevel minimum) { minimum_ = minimum; }

  void write(LogLevel level, std::string_view message) const;
  void debug(std::string_view message) const { write(LogLevel::debug, message); }
  void info(std::string_view message) const { write(LogLevel::info, message); }
  void warning(std::string_view message) const { write(LogLevel::warning, message); }
  void error(std::string_view message) const { write(LogLevel::error, message); }

 private:
  mutable std::mutex mutex_;
  std::shared_ptr<const Handler> handler_;
  std::atomic<LogLevel> minimum_{LogLevel::info};
};

}  // namespace vells::platform
