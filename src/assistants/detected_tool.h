#pragma once

#include <QString>
#include <optional>

#include "assistants/ai_tool.h"

namespace vells::assistants {

// What discovery found of one tool on this computer.
struct DetectedTool {
  AITool tool = AITool::claude;
  std::optional<QString> path;     // the executable; absent when not found
  std::optional<QString> version;  // absent when not found or nothing usable was printed

  // A found tool counts as installed and usable even when its version is
  // unknown: signing in is only tested by running it.
  bool isInstalled() const { return path.has_value(); }
  bool isUsable() const { return path.has_value(); }

  friend bool operator==(const DetectedTool&, const DetectedTool&) = default;
};

}  // namespace vells::assistants
