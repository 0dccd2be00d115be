#include "document/vell_style.h"

#include <variant>

#include "document/json_fields.h"

namespace vells {

namespace {

// Each field names its member on both sides once, so decoding, encoding,
// subscripts and resolution can't drift apart field by field.
struct NumberSlot {
  std::optional<double> VellStyle::*stored;
  double ResolvedStyle::*resolved;
};
struct StringSlot {
  std::optional<std::string> VellStyle::*stored;
  std::string ResolvedStyle::*resolved;
};
struct JSONSlot {
  std::optional<JSONValue> VellStyle::*stored;
  JSONValue ResolvedStyle::*resolved;
};
using Slot = std::variant<NumberSlot, StringSlot, JSONSlot>;

struct FieldInfo {
  StyleField field;
  std::string_view raw;
  Slot slot;
};

// clang-format off
#define VELLS_NUMBER(name) \
  FieldInfo{StyleField::name, #name, NumberSlot{&VellStyle::name, &ResolvedStyle::name}}
#define VELLS_STRING(name) \
  FieldInfo{StyleField::name, #name, StringSlot{&VellStyle::name, &ResolvedStyle::name}}
// clang-format on

constexpr std::array<FieldInfo, styleFieldCount> fieldTable{
    VELLS_NUMBER(titleSize),
    VELLS_STRING(titleColor),
    VELLS_STRING(accentColor),
    VELLS_NUMBER(subtitleSize),
    VELLS_STRING(subtitleColor),
    VELLS_STRING(textPos),
    VELLS_NUMBER(phoneScale),
    VELLS_NUMBER(phoneOffsetY),
    VELLS_STRING(decor),
    VELLS_STRING(gradFrom),
    VELLS_STRING(gradVia),
    VELLS_STRING(gradTo),
    VELLS_NUMBER(gradAngle),
    VELLS_NUMBER(strokeOpacity),
    VELLS_NUMBER(titleStroke),
    VELLS_STRING(titleStrokeColor),
    VELLS_NUMBER(phoneRotateX),
    VELLS_NUMBER(phoneRotateY),
    VELLS_NUMBER(phoneRotateZ),
    VELLS_NUMBER(phonePerspective),
    VELLS_STRING(bgPattern),
    VELLS_NUMBER(bgPatternOpacity),
    VELLS_NUMBER(bgPatternScale),
    VELLS_STRING(bgPatternColor),
    VELLS_NUMBER(titleLineHeight),
    VELLS_NUMBER(phoneOffsetX),
    VELLS_NUMBER(titleOffsetX),
    VELLS_NUMBER(titleOffsetY),
    VELLS_NUMBER(titleWidth),
    FieldInfo{StyleField::layers, "layers", JSONSlot{&VellStyle::layers, &ResolvedStyle::layers}},
    VELLS_STRING(titleFont),
    VELLS_NUMBER(titleWeight),
    VELLS_NUMBER(titleLetterSpacing),
    VELLS_STRING(titleAlign),
};

#undef VELLS_NUMBER
#undef VELLS_STRING

constexpr bool tableFollowsEnum() {
  for (std::size_t i = 0; i < fieldTable.size(); ++i) {
    if (static_cast<std::size_t>(fieldTable[i].field) != i) return false;
  }
  return true;
}
static_assert(tableFollowsEnum(), "fieldTable rows must follow the StyleField order");

const FieldInfo& info(StyleField field) {
  return fieldTable[static_cast<std::size_t>(field)];
}

template <class... F>
struct Overloaded : F... {
  using F::operator()...;
};
template <class... F>
Overloaded(F...) -> Overloaded<F...>;

// How a number field reads a JSON value; absent for kinds it doesn't take.
std::optional<double> numberFrom(const JSONValue& v) {
  if (const double* d = v.asNumber()) return *d;
  if (const bool* b = v.asBool()) return *b ? 1.0 : 0.0;
  return std::nullopt;
}

}  // namespace

const std::array<StyleField, styleFieldCount>& allStyleFields() {
  static constexpr auto fields = [] {
    std::array<StyleField, styleFieldCount> out{};
    for (std::size_t i = 0; i < out.size(); ++i)
      out[i] = fieldTable[i].field;
    return out;
  }();
  return fields;
}

std::string_view rawValue(StyleField field) {
  return info(field).raw;
}

std::optional<StyleField> styleFieldFromRaw(std::string_view raw) {
  for (const auto& row : fieldTable) {
    if (row.raw == raw) return row.field;
  }
  return std::nullopt;
}

StyleFieldType styleFieldType(StyleField field) {
  return std::visit(Overloaded{[](const NumberSlot&) { return StyleFieldType::number; },
                               [](const StringSlot&) { return StyleFieldType::string; },
                               [](const JSONSlot&) { return StyleFieldType::json; }},
                    info(field).slot);
}

VellStyle VellStyle::decode(const JSONValue& value) {
  FieldReader in(value, "VellStyle");
  VellStyle style;
  for (const auto& row : fieldTable) {
    std::visit(Overloaded{
                   [&](const NumberSlot& s) { style.*s.stored = in.optionalNumber(row.raw); },
                   [&](const StringSlot& s) { style.*s.stored = in.optionalString(row.raw); },
                   [&](const JSONSlot& s) {
                     if (const JSONValue* v = in.present(row.raw)) style.*s.stored = *v;
                   },
               },
               row.slot);
  }
  for (const auto& [key, member] : in.object()) {
    if (!styleFieldFromRaw(key)) style.unknown.emplace(key, member);
  }
  return style;
}

JSONValue VellStyle::encode() const {
  JSONValue::Object out;
  for (const auto& row : fieldTable) {
    if (auto v = (*this)[row.field]) out.insert_or_assign(std::string(row.raw), std::move(*v));
  }
  for (const auto& [key, member] : unknown)
    out.insert_or_assign(key, member);
  return JSONValue(std::move(out));
}

std::optional<JSONValue> VellStyle::operator[](StyleField field) const {
  return std::visit(
      [&](const auto& s) -> std::optional<JSONValue> {
        const auto& stored = this->*s.stored;
        if (!stored) return std::nullopt;
        return JSONValue(*stored);
      },
      info(field).slot);
}

void VellStyle::set(StyleField field, std::optional<JSONValue> value) {
  std::visit(
      Overloaded{
          [&](const NumberSlot& s) { this->*s.stored = value ? numberFrom(*value) : std::nullopt; },
          [&](const StringSlot& s) {
            const std::string* str = value ? value->asString() : nullptr;
            this->*s.stored = str ? std::optional<std::string>(*str) : std::nullopt;
          },
          [&](const JSONSlot& s) { this->*s.stored = std::move(value); },
      },
      info(field).slot);
}

ResolvedStyle ResolvedStyle::resolve(const VellStyle* page, const VellStyle* locale) {
  ResolvedStyle out;
  for (const VellStyle* level : {page, locale}) {
    if (!level) continue;
    for (const auto& row : fieldTable) {
      std::visit(
          [&](const auto& s) {
            if (const auto& stored = level->*s.stored) out.*s.resolved = *stored;
          },
          row.slot);
    }
  }
  return out;
}

JSONValue::Object ResolvedStyle::asJSON() const {
  JSONValue::Object out;
  for (const auto& row : fieldTable)
    out.emplace(std::string(row.raw), (*this)[row.field]);
  return out;
}

JSONValue ResolvedStyle::operator[](StyleField field) const {
  return std::visit([&](const auto& s) { return JSONValue(this->*s.resolved); }, info(field).slot);
}

void ResolvedStyle::set(StyleField field, const JSONValue& value) {
  std::visit(Overloaded{
                 [&](const NumberSlot& s) { this->*s.resolved = numberFrom(value).value_or(0); },
                 [&](const StringSlot& s) {
                   const std::string* str = value.asString();
                   this->*s.resolved = str ? *str : std::string();
                 },
                 [&](const JSONSlot& s) { this->*s.resolved = value; },
             },
             info(field).slot);
}

std::string styleKey(std::string_view pageId) {
  return std::string(pageId);
}

std::string styleKey(std::string_view pageId, std::string_view locale) {
  std::string key(pageId);
  key += '@';
  key += locale;
  return key;
}

StylesDocument decodeStylesDocument(const JSONValue& value) {
  StylesDocument document;
  if (value.isNull()) return document;
  FieldReader entries(value, "the styles document");
  for (const auto& [key, style] : entries.object())
    document.emplace(key, VellStyle::decode(style));
  return document;
}

JSONValue encodeStylesDocument(const StylesDocument& document) {
  JSONValue::Object out;
  for (const auto& [key, style] : document)
    out.emplace(key, style.encode());
  return JSONValue(std::move(out));
}

ResolvedStyle resolveStyle(const StylesDocument& document, std::string_view pageId,
                           std::string_view locale) {
  auto lookup = [&](const std::string& key) -> const VellStyle* {
    auto it = document.find(key);
    return it == document.end() ? nullptr : &it->second;
  };
  return ResolvedStyle::resolve(lookup(styleKey(pageId)), lookup(styleKey(pageId, locale)));
}

}  // namespace vells
