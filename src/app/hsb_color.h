#pragma once

#include <QString>
#include <optional>

namespace vells::app {

// A colour as the picker area edits it: hue, saturation and brightness, each
// 0 to 1. Hex text is "#RRGGBB" in upper case.
struct HSBColor {
  double hue = 0;
  double saturation = 0;
  double brightness = 0;

  // Six hex digits, with or without "#"; nothing otherwise.
  static std::optional<HSBColor> fromHex(const QString& hex);
  QString hex() const;
  // Each channel halfway between the two colours.
  static QString mix(const QString& a, const QString& b);
};

}  // namespace vells::app
