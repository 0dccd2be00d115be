#pragma once

#include <QString>

class QSettings;

namespace vells::app {

// The read-only `debug.*` preferences: set from outside to drive a real window
// without a pointer. Nothing in the program writes them.
struct DebugKeys {
  bool generate = false;
  QString generateStep;
  int addAppStep = 0;  // not 0: the add-app sheet opens at that step
  QString chat;
  QString select;  // "phone", "title", "sticker", "text" or "layer:<id>"
  bool edit = false;
  bool fill = false;

  static DebugKeys read(const QSettings& settings);
};

}  // namespace vells::app
