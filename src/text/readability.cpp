#include "text/readability.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <numbers>
#include <stdexcept>

#include "text/unicode.h"

namespace vells::text {

namespace {

using RGB = Readability::RGB;
using Stop = Readability::Stop;

std::string_view trimBlanks(std::string_view s) {
  while (!s.empty() && (s.front() == ' ' || s.front() == '\t'))
    s.remove_prefix(1);
  while (!s.empty() && (s.back() == ' ' || s.back() == '\t'))
    s.remove_suffix(1);
  return s;
}

// The whole piece as one finite number, whatever the process's locale.
std::optional<double> number(std::string_view s) {
  const bool plus = !s.empty() && s.front() == '+';
  if (plus) s.remove_prefix(1);
  if (s.empty() || s.front() == '+' || (plus && s.front() == '-')) return std::nullopt;
  double value = 0;
  const auto [end, ec] = std::from_chars(s.data(), s.data() + s.size(), value);
  if (ec != std::errc() || end != s.data() + s.size() || !std::isfinite(value)) {
    return std::nullopt;
  }
  return value;
}

std::optional<RGB> parseRGBFunction(std::string_view s) {
  std::size_t open = s.find('(');
  std::string_view inner = open == std::string_view::npos ? s : s.substr(open + 1);
  if (std::size_t close = inner.find(')'); close != std::string_view::npos) {
    inner = inner.substr(0, close);
  }
  std::vector<double> values;
  for (std::size_t start = 0;;) {
    const std::size_t comma = inner.find(',', start);
    const std::string_view piece = inner.substr(
        start, comma == std::string_view::npos ? std::string_view::npos : comma - start);
    if (auto v = number(trimBlanks(piece))) values.push_back(*v);
    if (comma == std::string_view::npos) break;
    start = comma + 1;
  }
  if (values.size() < 3) return std::nullopt;
  return RGB{values[0], values[1], values[2]};
}

std::optional<RGB> parseHex(std::string_view s) {
  if (!s.empty() && s.front() == '#') s.remove_prefix(1);
  std::string digits;
  if (s.size() == 3) {
    for (char c : s)
      digits.append(2, c);
  } else if (s.size() >= 6) {
    digits = s.substr(0, 6);
  } else {
    return std::nullopt;
  }
  unsigned value = 0;
  const auto [end, ec] = std::from_chars(digits.data(), digits.data() + 6, value, 16);
  if (ec != std::errc() || end != digits.data() + 6) return std::nullopt;
  return RGB{static_cast<double>((value >> 16) & 0xFF), static_cast<double>((value >> 8) & 0xFF),
             static_cast<double>(value & 0xFF)};
}

double channelLuminance(double c) {
  c /= 255;
  return c <= 0.03928 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
}

double luminance(const RGB& c) {
  return 0.2126 * channelLuminance(c.r) + 0.7152 * channelLuminance(c.g) +
         0.0722 * channelLuminance(c.b);
}

double contrast(const RGB& a, const RGB& b) {
  const double la = luminance(a), lb = luminance(b);
  return (std::max(la, lb) + 0.05) / (std::min(la, lb) + 0.05);
}

RGB mix(const RGB& from, const RGB& to, double f) {
  return {from.r + (to.r - from.r) * f, from.g + (to.g - from.g) * f, from.b + (to.b - from.b) * f};
}

RGB colorAt(double t, const std::vector<Stop>& stops) {
  const Stop* previous = &stops.front();
  for (const Stop& stop : stops) {
    if (stop.position >= t) {
      const double distance = stop.position - previous->position;
      return mix(previous->color, stop.color,
                 distance > 0 ? (t - previous->position) / distance : 0);
    }
    previous = &stop;
  }
  return stops.back().color;
}

// "%.1f" and "%g" as the C library writes them in the "C" locale: a Qt
// application runs under the user's locale, where the decimal mark may be a comma.
std::string oneDecimal(double value) {
  std::array<char, 400> buffer{};
  auto [end, ec] = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value,
                                 std::chars_format::fixed, 1);
  return ec == std::errc() ? std::string(buffer.data(), end) : std::string();
}

std::string shortest(double value) {
  std::array<char, 64> buffer{};
  auto [end, ec] = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value,
                                 std::chars_format::general, 6);
  return ec == std::errc() ? std::string(buffer.data(), end) : std::string();
}

// Each channel rounded, as two or more upper-case hexadecimal digits.
std::string hexColor(const RGB& c) {
  const auto channel = [](double v) {
    // Far outside 0–255 only an unclamped input can be; keep it printable.
    const long rounded = std::isnan(v) ? 0 : std::lround(std::clamp(v, -1e9, 1e9));
    return static_cast<unsigned>(rounded);
  };
  std::array<char, 40> buffer{};
  std::snprintf(buffer.data(), buffer.size(), "#%02X%02X%02X", channel(c.r), channel(c.g),
                channel(c.b));
  return buffer.data();
}

struct Gradient {
  double angle;
  std::vector<Stop> stops;
};

std::optional<Gradient> gradientOf(const JSONValue::Object& style) {
  const auto color = [&style](const char* key) -> std::optional<RGB> {
    auto it = style.find(key);
    if (it == style.end() || !it->second.isString()) return std::nullopt;
    return Readability::parse(*it->second.asString());
  };
  auto from = color("gradFrom"), via = color("gradVia"), to = color("gradTo");
  if (!from || !via || !to) return std::nullopt;
  double angle = Readability::defaultGradientAngle;
  if (auto it = style.find("gradAngle"); it != style.end() && it->second.isNumber()) {
    angle = *it->second.asNumber();
  }
  return Gradient{angle, {{0, *from}, {Readability::middleStop, *via}, {1, *to}}};
}

// Checks one text colour and, when it doesn't read, adds the sentence and the fix.
class ContrastCheck {
 public:
  ContrastCheck(const Gradient& gradient, const Size& canvas, Readability::Contrast& out)
      : gradient_(gradient), canvas_(canvas), out_(out) {}

  void check(const std::string& name, const std::string& written, const RGB& color, const Box& box,
             double needed, const std::string& target) {
    const double ratio = worst(color, box);
    if (!(ratio < needed)) return;
    const std::string suggestion = suggest(target, color, box, needed);
    out_.issues.push_back(name + " " + written + " has " + oneDecimal(ratio) +
                          ":1 contrast against the background behind it \u2014 below the " +
                          shortest(needed) + ":1 needed to read it. Use a darker/lighter colour (" +
                          suggestion + " passes) or change the background there.");
    out_.fixes.push_back({target, suggestion});
  }

 private:
  double worst(const RGB& color, const Box& box) const {
    return Readability::worstRatio(color, box, canvas_, gradient_.angle, gradient_.stops);
  }

  std::string suggest(const std::string& target, const RGB& color, const Box& box,
                      double needed) const {
    if (target == "accent") {
      // The smallest change that reads wins; at equal change, the darker.
      for (int i = 1; i <= 20; ++i) {
        const double t = Readability::blendStep * i;
        for (const RGB& towards : {RGB{0, 0, 0}, RGB{255, 255, 255}}) {
          const RGB moved = mix(color, towards, t);
          if (worst(moved, box) >= needed) return hexColor(moved);
        }
      }
    }
    const RGB dark = *Readability::parse(std::string(Readability::darkSuggestion));
    const RGB light = *Readability::parse(std::string(Readability::lightSuggestion));
    return worst(light, box) < worst(dark, box) ? std::string(Readability::darkSuggestion)
                                                : std::string(Readability::lightSuggestion);
  }

  const Gradient& gradient_;
  Size canvas_;
  Readability::Contrast& out_;
};

}  // namespace

std::optional<RGB> Readability::parse(const std::optional<std::string>& color) {
  if (!color) return std::nullopt;
  const std::string_view s = trimBlanks(*color);
  if (s.empty()) return std::nullopt;
  if (s.starts_with("rgb")) return parseRGBFunction(s);
  return parseHex(s);
}

double Readability::worstRatio(const RGB& text, const Box& over, const Size& canvas, double angle,
                               const std::vector<Stop>& stops) {
  if (stops.empty()) throw std::invalid_argument("A gradient needs at least one colour stop.");
  const double a = angle * std::numbers::pi / 180;
  const double w = canvas.width, h = canvas.height;
  const double length = std::abs(w * std::sin(a)) + std::abs(h * std::cos(a));
  const std::array<std::pair<double, double>, 5> points{{
      {over.x, over.y},
      {over.x + over.width, over.y},
      {over.x + over.width / 2, over.y + over.height / 2},
      {over.x, over.y + over.height},
      {over.x + over.width, over.y + over.height},
  }};
  double worst = 0;
  bool first = true;
  for (const auto& [x, y] : points) {
    // A canvas without extent has its gradient's middle everywhere.
    double t =
        length > 0 ? (std::sin(a) * (x - w / 2) - std::cos(a) * (y - h / 2)) / length + 0.5 : 0.5;
    t = std::isnan(t) ? 0.5 : std::clamp(t, 0.0, 1.0);
    const double ratio = contrast(text, colorAt(t, stops));
    if (first || ratio < worst) worst = ratio;
    first = false;
  }
  return worst;
}

Readability::Contrast Readability::contrastIssues(const JSONValue::Object& style,
                                                  const std::optional<std::string>& title,
                                                  const std::optional<Box>& titleBox,
                                                  const std::vector<TextLayer>& layers,
                                                  const Size& canvas, bool hasBackgroundImage) {
  Contrast out;
  if (hasBackgroundImage) return out;
  const auto gradient = gradientOf(style);
  if (!gradient) return out;
  ContrastCheck check(*gradient, canvas, out);
  const auto styleString = [&style](const char* key) -> std::optional<std::string> {
    auto it = style.find(key);
    if (it == style.end() || !it->second.isString()) return std::nullopt;
    return *it->second.asString();
  };

  if (title && !title->empty() && titleBox && titleBox->width > 0) {
    const auto titleColor = styleString("titleColor");
    if (auto color = parse(titleColor)) {
      check.check("The title colour", *titleColor, *color, *titleBox, bodyRatio, "title");
    }
    if (title->find('*') != std::string::npos) {
      const auto accentColor = styleString("accentColor");
      if (auto color = parse(accentColor)) {
        check.check("The accent colour", *accentColor, *color, *titleBox, accentRatio, "accent");
      }
    }
  }
  for (const TextLayer& layer : layers) {
    if (layer.text.empty()) continue;
    const std::string written =
        layer.color && !layer.color->empty() ? *layer.color : std::string(defaultLayerColor);
    auto color = parse(written);
    if (!color) continue;
    const std::string name = "The text \"" + prefixCodePoints(layer.text, quotedLayerText) +
                             "\" (layer " + layer.id + ") colour";
    check.check(name, written, *color, layer.box, bodyRatio, layer.id);
  }
  return out;
}

}  // namespace vells::text
