#include "app/fill_kind.h"

#include <algorithm>
#include <cmath>

#include "app/hsb_color.h"

namespace vells::app {

QString fillKindLabel(FillKind kind) {
  switch (kind) {
    case FillKind::solid:
      return QStringLiteral("Solid");
    case FillKind::gradient:
      return QStringLiteral("Gradient");
    case FillKind::image:
      return QStringLiteral("Image");
  }
  return {};
}

QString fillKindValue(FillKind kind) {
  return fillKindLabel(kind).toLower();
}

FillKind currentFillKind(const ResolvedStyle& style, bool hasImage) {
  if (hasImage) return FillKind::image;
  const QString from = QString::fromStdString(style.gradFrom);
  const auto differs = [&](const std::string& other) {
    return from.compare(QString::fromStdString(other), Qt::CaseInsensitive) != 0;
  };
  return differs(style.gradTo) || differs(style.gradVia) ? FillKind::gradient : FillKind::solid;
}

QString gradientEnd(const QString& from) {
  const HSBColor c = HSBColor::fromHex(from).value_or(HSBColor{});
  HSBColor end;
  end.hue = std::fmod(c.hue + 0.08, 1.0);
  end.saturation = std::min(c.saturation + 0.1, 1.0);
  end.brightness = c.brightness > 0.5 ? c.brightness - 0.25 : c.brightness + 0.3;
  return end.hex();
}

}  // namespace vells::app
