#pragma once

#include <QColor>
#include <QIcon>
#include <QString>
#include <QStringView>

namespace vells::app {

// The interface's symbols by the names the design speaks of ("lock.fill",
// "sparkles", "gearshape"), drawn from one outline icon set in the colour
// given, sharp at any size and device pixel ratio. Disabled icons are drawn
// faded. An unknown name gives a null icon, so a missing symbol shows as no
// icon rather than a wrong one.
QIcon symbolIcon(QStringView symbol, const QColor& color);

// The resource path of a symbol's drawing, or an empty string when the name
// is unknown.
QString symbolPath(QStringView symbol);

}  // namespace vells::app
