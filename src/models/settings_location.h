#pragma once

#include <QString>

namespace vells::models {

// Where the preferences file lives: $VELLS_SETTINGS when set, else
// $XDG_CONFIG_HOME/Vellora/vellora.conf, else ~/.config/Vellora/vellora.conf.
QString settingsPath();

}  // namespace vells::models
