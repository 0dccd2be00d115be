#include "platform/log.h"

#include <cstdio>
#include <string>

namespace vells::platform {

std::string_view levelName(LogLevel level) {
  switch (level) {
    case LogLevel::debug:
      return "debug";
    case LogLevel::info:
      return "info";
    case LogLevel::warning:
      return "warning";
    case LogLevel::error:
      return "error";
  }
  return "info";
}

Log::Log(Handler handler, LogLevel minimum) : minimum_(minimum) {
  setHandler(std::move(handler));
}

void Log::setHandler(Handler handler) {
  auto next = handler ? std::make_shared<const Handler>(std::move(handler)) : nullptr;
  std::lock_guard guard(mutex_);
  handler_ = std::move(next);
}

void Log::write(LogLevel level, std::string_view message) const {
  if (level < minimum_.load()) return;
  std::shared_ptr<const Handler> handler;
  {
    std::lock_guard guard(mutex_);
    handler = handler_;
  }
  if (handler) {
    (*handler)(level, message);
    return;
  }
  // One write per line, so lines from several threads don't interleave.
  std::string line = "vellora: ";
  line.append(levelName(level)).append(": ").append(message).push_back('\n');
  std::fwrite(line.data(), 1, line.size(), stderr);
}

}  // namespace vells::platform
