#include "models/settings_location.h"

#include <QDir>

namespace vells::models {

QString settingsPath() {
  const QString explicitFile = qEnvironmentVariable("VELLS_SETTINGS");
  if (!explicitFile.isEmpty()) return explicitFile;
  QString base = qEnvironmentVariable("XDG_CONFIG_HOME");
  if (base.isEmpty()) base = QDir::homePath() + "/.config";
  return base + "/Vellora/vellora.conf";
}

}  // namespace vells::models
