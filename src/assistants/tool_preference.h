#pragma once

#include <QString>
#include <chrono>
#include <functional>
#include <mutex>
#include <optional>

#include "assistants/ai_tool.h"

namespace vells::assistants {

// The tool to use when no choice is offered: the stored preference when it is
// installed, else the first installed tool. The answer is kept for ten
// seconds so that a panel redrawing doesn't search the disk; a changed
// setting is a miss at once. Callable from any thread; a second caller waits
// for a search under way rather than starting its own.
class ToolPreference {
 public:
  struct Choice {
    AITool tool;
    QString binary;
    friend bool operator==(const Choice&, const Choice&) = default;
  };
  using ReadSetting = std::function<QString()>;  // the stored "generate.ai" value
  using FindBinary = std::function<std::optional<QString>(AITool)>;
  using Clock = std::function<std::chrono::steady_clock::time_point()>;

  static constexpr std::chrono::seconds kCacheLife{10};

  ToolPreference(
      ReadSetting readSetting, FindBinary findBinary,
      Clock clock = [] { return std::chrono::steady_clock::now(); });

  std::optional<Choice> preferred();

 private:
  struct Entry {
    std::optional<AITool> saved;
    std::chrono::steady_clock::time_point at;
    std::optional<Choice> value;
  };

  ReadSetting readSetting_;
  FindBinary findBinary_;
  Clock clock_;
  std::mutex mutex_;
  std::optional<Entry> cache_;
};

}  // namespace vells::assistants
