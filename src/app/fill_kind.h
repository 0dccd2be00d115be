#pragma once

#include <QString>

#include "document/vell_style.h"

namespace vells::app {

// How the page's background is filled, as the fill row and popover see it.
enum class FillKind { solid, gradient, image };

QString fillKindLabel(FillKind kind);
QString fillKindValue(FillKind kind);
// An image when one is stored; a gradient when its ends differ (letter case
// ignored); else one solid colour.
FillKind currentFillKind(const ResolvedStyle& style, bool hasImage);
// The far end of a gradient made from one colour: a little further round the
// hue circle, a little more saturated, and darker (or lighter when dark).
QString gradientEnd(const QString& from);

}  // namespace vells::app
