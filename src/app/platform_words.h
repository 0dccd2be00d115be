#pragma once

#include <QString>
#include <QStringView>

namespace vells::app {

// The interface's words are written once, the way the design gives them;
// this turns them into this platform's: the Finder is the file manager, "this
// Mac" is this computer, and the Command, Option and Shift key signs are
// spelled out as Ctrl+, Alt+ and Shift+ ("⌘Z to undo" → "Ctrl+Z to undo").
QString platformWords(QStringView text);

}  // namespace vells::app
