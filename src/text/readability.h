#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "document/json_value.h"

namespace vells::text {

// A rectangle in composite pixels, origin at the top left of the canvas.
struct Box {
  double x = 0, y = 0, width = 0, height = 0;
};

struct Size {
  double width = 0, height = 0;
};

// Judges a page's text by rule, without rendering: the contrast of each text
// colour against the gradient behind it, and the title's wording against what
// store captions must not do. Its sentences are read by people and by the AI
// tools alike, so their wording is fixed.
class Readability {
 public:
  Readability() = delete;

  // A colour on the scale 0 to 255, not clamped: rgb(300,0,0) stays 300.
  struct RGB {
    double r = 0, g = 0, b = 0;
    friend bool operator==(const RGB&, const RGB&) = default;
  };
  struct Stop {
    double position = 0;  // 0 to 1
    RGB color;
  };
  // A suggested colour: target "title", "accent" or a text layer's id.
  struct ColorFix {
    std::string target;
    std::string color;  // "#RRGGBB", upper-case
    JSONValue json() const { return JSONValue::Object{{"target", target}, {"color", color}}; }
    friend bool operator==(const ColorFix&, const ColorFix&) = default;
  };
  // A measured text layer as the contrast check sees it.
  struct TextLayer {
    std::string id;
    std::string text;
    std::optional<std::string> color;  // none or empty: the default colour
    Box box;
  };
  struct Contrast {
    std::vector<std::string> issues;
    std::vector<ColorFix> fixes;
  };

  static constexpr double bodyRatio = 4.5;
  static constexpr double accentRatio = 3.0;
  static constexpr std::string_view darkSuggestion = "#0B0B0F";
  static constexpr std::string_view lightSuggestion = "#FFFFFF";
  static constexpr std::string_view defaultLayerColor = "#ffffff";
  static constexpr double defaultGradientAngle = 160;
  static constexpr double middleStop = 0.45;
  static constexpr double blendStep = 0.05;
  static constexpr std::size_t quotedLayerText = 40;

  // "#rgb", "#rrggbb" (more digits are ignored, the "#" is optional) or
  // "rgb(r, g, b)" / "rgba(...)"; case-sensitive. Absent when it isn't one.
  static std::optional<RGB> parse(const std::optional<std::string>& color);

  // The lowest contrast of `text` against a CSS linear gradient over the
  // canvas, at the corners and the centre of `over`. Throws
  // std::invalid_argument for a gradient without stops.
  static double worstRatio(const RGB& text, const Box& over, const Size& canvas, double angle,
                           const std::vector<Stop>& stops);

  // The contrast of the title, its accent and each text layer against the
  // style's gradient; empty over a background picture, whose pixels are unknown.
  static Contrast contrastIssues(const JSONValue::Object& style,
                                 const std::optional<std::string>& title,
                                 const std::optional<Box>& titleBox,
                                 const std::vector<TextLayer>& layers, const Size& canvas,
                                 bool hasBackgroundImage);

  // What the title says that a store caption shouldn't: filler words,
  // exclamations, questions, calls to download, prices. `locale` is not used
  // by the present rules.
  static std::vector<std::string> copyIssues(const std::optional<std::string>& title,
                                             std::string_view locale);
};

}  // namespace vells::text
