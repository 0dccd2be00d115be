#include "app/hsb_color.h"

#include <QColor>
#include <algorithm>
#include <array>
#include <cmath>

namespace vells::app {
namespace {

std::optional<std::array<double, 3>> channels(const QString& hex) {
  QString digits = hex.trimmed();
  if (digits.startsWith('#')) digits.remove(0, 1);
  if (digits.size() != 6) return std::nullopt;
  bool ok = false;
  const uint value = digits.toUInt(&ok, 16);
  if (!ok) return std::nullopt;
  return std::array<double, 3>{((value >> 16) & 0xff) / 255.0, ((value >> 8) & 0xff) / 255.0,
                               (value & 0xff) / 255.0};
}

QString hexOf(const std::array<double, 3>& c) {
  QString out = QStringLiteral("#");
  for (double v : c) {
    const int byte = std::clamp(static_cast<int>(std::lround(v * 255)), 0, 255);
    out += QStringLiteral("%1").arg(byte, 2, 16, QLatin1Char('0')).toUpper();
  }
  return out;
}

}  // namespace

std::optional<HSBColor> HSBColor::fromHex(const QString& hex) {
  const auto c = channels(hex);
  if (!c) return std::nullopt;
  const double r = (*c)[0], g = (*c)[1], b = (*c)[2];
  const double hi = std::max({r, g, b});
  const double lo = std::min({r, g, b});
  const double d = hi - lo;
  HSBColor out;
  out.brightness = hi;
  out.saturation = hi > 0 ? d / hi : 0;
  if (d > 0) {
    double h = 0;
    if (hi == r)
      h = std::fmod((g - b) / d, 6.0);
    else if (hi == g)
      h = (b - r) / d + 2;
    else
      h = (r - g) / d + 4;
    h /= 6;
    out.hue = h < 0 ? h + 1 : h;
  }
  return out;
}

QString HSBColor::hex() const {
  const double h = std::fmod(std::fmod(hue, 1.0) + 1.0, 1.0) * 6;
  const double s = std::clamp(saturation, 0.0, 1.0);
  const double v = std::clamp(brightness, 0.0, 1.0);
  const int sector = static_cast<int>(std::floor(h)) % 6;
  const double f = h - std::floor(h);
  const double p = v * (1 - s), q = v * (1 - s * f), t = v * (1 - s * (1 - f));
  // Which of v, q, p, t each channel takes in each sixth of the hue circle.
  static constexpr int kOrder[6][3] = {{0, 3, 2}, {1, 0, 2}, {2, 0, 3},
                                       {2, 1, 0}, {3, 2, 0}, {0, 2, 1}};
  const std::array<double, 4> pick{v, q, p, t};
  return hexOf({pick[kOrder[sector][0]], pick[kOrder[sector][1]], pick[kOrder[sector][2]]});
}

QString HSBColor::mix(const QString& a, const QString& b) {
  const auto x = channels(a);
  const auto y = channels(b);
  if (!x || !y) return x ? hexOf(*x) : (y ? hexOf(*y) : QStringLiteral("#000000"));
  return hexOf({((*x)[0] + (*y)[0]) * 0.5, ((*x)[1] + (*y)[1]) * 0.5, ((*x)[2] + (*y)[2]) * 0.5});
}

}  // namespace vells::app
