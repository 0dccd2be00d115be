#pragma once

#include <array>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "document/json_value.h"

namespace vells {

// The style fields, in the order in which they are resolved and listed. The
// enumerator names are the JSON keys.
enum class StyleField {
  titleSize,
  titleColor,
  accentColor,
  subtitleSize,
  subtitleColor,
  textPos,
  phoneScale,
  phoneOffsetY,
  decor,
  gradFrom,
  gradVia,
  gradTo,
  gradAngle,
  strokeOpacity,
  titleStroke,
  titleStrokeColor,
  phoneRotateX,
  phoneRotateY,
  phoneRotateZ,
  phonePerspective,
  bgPattern,
  bgPatternOpacity,
  bgPatternScale,
  bgPatternColor,
  titleLineHeight,
  phoneOffsetX,
  titleOffsetX,
  titleOffsetY,
  titleWidth,
  layers,
  titleFont,
  titleWeight,
  titleLetterSpacing,
  titleAlign,
};

inline constexpr std::size_t styleFieldCount = 34;

// What a field holds: a double, a string, or free JSON (only `layers`).
enum class StyleFieldType { number, string, json };

const std::array<StyleField, styleFieldCount>& allStyleFields();
std::string_view rawValue(StyleField field);
std::optional<StyleField> styleFieldFromRaw(std::string_view raw);
StyleFieldType styleFieldType(StyleField field);

// One level of a page's style as stored: a field left absent inherits from
// the level below. Keys this version doesn't know travel in `unknown`, so a
// newer client's fields survive a save by this one.
struct VellStyle {
  std::optional<double> titleSize;
  std::optional<std::string> titleColor;
  std::optional<std::string> accentColor;
  std::optional<double> subtitleSize;
  std::optional<std::string> subtitleColor;
  std::optional<std::string> textPos;
  std::optional<double> phoneScale;
  std::optional<double> phoneOffsetY;
  std::optional<std::string> decor;
  std::optional<std::string> gradFrom;
  std::optional<std::string> gradVia;
  std::optional<std::string> gradTo;
  std::optional<double> gradAngle;
  std::optional<double> strokeOpacity;
  std::optional<double> titleStroke;
  std::optional<std::string> titleStrokeColor;
  std::optional<double> phoneRotateX;
  std::optional<double> phoneRotateY;
  std::optional<double> phoneRotateZ;
  std::optional<double> phonePerspective;
  std::optional<std::string> bgPattern;
  std::optional<double> bgPatternOpacity;
  std::optional<double> bgPatternScale;
  std::optional<std::string> bgPatternColor;
  std::optional<double> titleLineHeight;
  std::optional<double> phoneOffsetX;
  std::optional<double> titleOffsetX;
  std::optional<double> titleOffsetY;
  std::optional<double> titleWidth;
  std::optional<JSONValue> layers;
  std::optional<std::string> titleFont;
  std::optional<double> titleWeight;
  std::optional<double> titleLetterSpacing;
  std::optional<std::string> titleAlign;

  JSONValue::Object unknown;

  // Fails as a whole (JSONDecodeError) when any field holds the wrong kind;
  // null reads as absent.
  static VellStyle decode(const JSONValue& value);
  JSONValue encode() const;

  // number for a number field, string for a string field, the stored value
  // for `layers`; absent when unset.
  std::optional<JSONValue> operator[](StyleField field) const;
  // A number field takes a number, or a boolean as 1 or 0; a string field
  // takes a string; anything else (absent and null included) clears the
  // field. `layers` stores the value as it is.
  void set(StyleField field, std::optional<JSONValue> value);

  friend bool operator==(const VellStyle&, const VellStyle&) = default;
};

// A page's style with every level applied: nothing is absent here.
struct ResolvedStyle {
  double titleSize = 66;
  std::string titleColor = "#ffffff";
  std::string accentColor = "#ffd54a";
  double subtitleSize = 32;
  std::string subtitleColor = "rgba(255,255,255,0.85)";
  std::string textPos = "top";
  double phoneScale = 1;
  double phoneOffsetY = 0;
  std::string decor = "playful";
  std::string gradFrom = "#07184a";
  std::string gradVia = "#0052cc";
  std::string gradTo = "#0093fd";
  double gradAngle = 160;
  double strokeOpacity = 0.25;
  double titleStroke = 0;
  std::string titleStrokeColor = "#000000";
  double phoneRotateX = 0;
  double phoneRotateY = 0;
  double phoneRotateZ = 0;
  double phonePerspective = 1800;
  std::string bgPattern = "none";
  double bgPatternOpacity = 0.08;
  double bgPatternScale = 1;
  std::string bgPatternColor = "#000000";
  double titleLineHeight = 1.12;
  double phoneOffsetX = 0;
  double titleOffsetX = 0;
  double titleOffsetY = 0;
  double titleWidth = 0;
  JSONValue layers = JSONValue::array();
  std::string titleFont = "nunito";
  double titleWeight = 0;
  double titleLetterSpacing = -0.03;
  std::string titleAlign = "center";

  // Defaults, then each field the page sets, then each field the locale sets.
  // Either level may be missing (nullptr).
  static ResolvedStyle resolve(const VellStyle* page, const VellStyle* locale);

  JSONValue::Object asJSON() const;

  JSONValue operator[](StyleField field) const;
  // A number field takes a number, a boolean as 1 or 0, anything else as 0; a
  // string field takes a string, anything else as ""; `layers` stores the value.
  void set(StyleField field, const JSONValue& value);

  friend bool operator==(const ResolvedStyle&, const ResolvedStyle&) = default;
};

// The styles document of a set: style key -> style.
using StylesDocument = std::map<std::string, VellStyle, std::less<>>;

// "<page id>" for every language, "<page id>@<locale code>" for one.
std::string styleKey(std::string_view pageId);
std::string styleKey(std::string_view pageId, std::string_view locale);

// null (a set that never stored styles) reads as an empty document.
StylesDocument decodeStylesDocument(const JSONValue& value);
JSONValue encodeStylesDocument(const StylesDocument& document);

// The page's style in one language, from the two entries of the document.
ResolvedStyle resolveStyle(const StylesDocument& document, std::string_view pageId,
                           std::string_view locale);

}  // namespace vells
