#include "assistants/tool_preference.h"

#include <vector>

namespace vells::assistants {

ToolPreference::ToolPreference(ReadSetting readSetting, FindBinary findBinary, Clock clock)
    : readSetting_(std::move(readSetting)),
      findBinary_(std::move(findBinary)),
      clock_(std::move(clock)) {}

std::optional<ToolPreference::Choice> ToolPreference::preferred() {
  const std::optional<AITool> saved = toolFromRawValue(readSetting_());
  std::lock_guard lock(mutex_);
  if (cache_ && cache_->saved == saved && clock_() - cache_->at < kCacheLife) return cache_->value;

  // The preferred tool first; a preferred tool that has gone away falls back
  // in silence. None is searched twice: a miss may cost a login shell.
  std::vector<AITool> candidates;
  if (saved) candidates.push_back(*saved);
  for (AITool tool : kAllTools) {
    if (tool != saved) candidates.push_back(tool);
  }
  std::optional<Choice> value;
  for (AITool tool : candidates) {
    if (auto binary = findBinary_(tool)) {
      value = Choice{tool, *binary};
      break;
    }
  }
  cache_ = Entry{saved, clock_(), value};
  return value;
}

}  // namespace vells::assistants
