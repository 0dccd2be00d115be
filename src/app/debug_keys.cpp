#include "app/debug_keys.h"

#include <QSettings>

namespace vells::app {

DebugKeys DebugKeys::read(const QSettings& settings) {
  DebugKeys keys;
  keys.generate = settings.value("debug.generate", false).toBool();
  keys.generateStep = settings.value("debug.generateStep").toString();
  keys.addAppStep = settings.value("debug.addAppStep", 0).toInt();
  keys.chat = settings.value("debug.chat").toString();
  keys.select = settings.value("debug.select").toString();
  keys.edit = settings.value("debug.edit", false).toBool();
  keys.fill = settings.value("debug.fill", false).toBool();
  return keys;
}

}  // namespace vells::app
