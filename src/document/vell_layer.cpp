#include "document/vell_layer.h"

#include <array>
#include <cmath>

namespace vells {

namespace {

// The keys the record models; everything else is carried in `extra`.
constexpr std::array<std::string_view, 20> modelledKeys{
    "id",     "kind",   "asset",         "text",       "x",       "y",     "w",
    "rotate", "z",      "sticker",       "flip",       "opacity", "color", "size",
    "font",   "weight", "letterSpacing", "lineHeight", "align",   "name",
};

bool isModelled(std::string_view key) {
  for (auto k : modelledKeys) {
    if (k == key) return true;
  }
  return false;
}

// The layout script does arithmetic on these members, where true is 1 and
// false 0; reading them the same way keeps the editor and the render agreeing.
std::optional<double> numberAt(const JSONValue& object, std::string_view key) {
  const JSONValue* v = object.find(key);
  if (!v) return std::nullopt;
  if (const double* d = v->asNumber()) return *d;
  if (const bool* b = v->asBool()) return *b ? 1.0 : 0.0;
  return std::nullopt;
}

void putString(JSONValue::Object& out, std::string_view key, const std::optional<std::string>& v) {
  if (v) out.insert_or_assign(std::string(key), *v);
}

void putNumber(JSONValue::Object& out, std::string_view key, const std::optional<double>& v) {
  if (v) out.insert_or_assign(std::string(key), *v);
}

}  // namespace

std::string_view rawValue(VellLayer::Kind kind) {
  return kind == VellLayer::Kind::image ? "image" : "text";
}

std::optional<VellLayer::Kind> layerKindFromRaw(std::string_view raw) {
  if (raw == "image") return VellLayer::Kind::image;
  if (raw == "text") return VellLayer::Kind::text;
  return std::nullopt;
}

std::optional<VellLayer> VellLayer::fromJSON(const JSONValue& value) {
  const JSONValue::Object* object = value.asObject();
  if (!object) return std::nullopt;
  auto id = value.stringAt("id");
  auto kindName = value.stringAt("kind");
  auto kind = kindName ? layerKindFromRaw(*kindName) : std::nullopt;
  auto x = numberAt(value, "x");
  auto y = numberAt(value, "y");
  auto w = numberAt(value, "w");
  if (!id || !kind || !x || !y || !w) return std::nullopt;

  VellLayer layer;
  layer.id = std::move(*id);
  layer.kind = *kind;
  layer.asset = value.stringAt("asset");
  layer.text = value.stringAt("text");
  layer.x = *x;
  layer.y = *y;
  layer.w = *w;
  layer.rotate = numberAt(value, "rotate").value_or(0);
  layer.front = value.stringAt("z") != "back";
  layer.sticker = value.boolAt("sticker").value_or(false);
  layer.flip = value.boolAt("flip").value_or(false);
  layer.opacity = numberAt(value, "opacity").value_or(1);
  layer.color = value.stringAt("color");
  layer.size = numberAt(value, "size");
  layer.font = value.stringAt("font");
  layer.weight = numberAt(value, "weight");
  layer.letterSpacing = numberAt(value, "letterSpacing");
  layer.lineHeight = numberAt(value, "lineHeight");
  layer.align = value.stringAt("align");
  layer.name = value.stringAt("name");
  for (const auto& [key, member] : *object) {
    if (!isModelled(key)) layer.extra.emplace(key, member);
  }
  return layer;
}

JSONValue VellLayer::json() const {
  JSONValue::Object out;
  // A modelled key set by hand in `extra` must not shadow the field, even
  // when the field is at its default and so goes unwritten.
  for (const auto& [key, member] : extra) {
    if (!isModelled(key)) out.emplace(key, member);
  }
  out.insert_or_assign("id", id);
  out.insert_or_assign("kind", rawValue(kind));
  putString(out, "asset", asset);
  putString(out, "text", text);
  // Coordinates are doubles while dragging but stored whole, so documents
  // stay small and diff cleanly.
  out.insert_or_assign("x", std::round(x));
  out.insert_or_assign("y", std::round(y));
  out.insert_or_assign("w", std::round(w));
  if (rotate != 0) out.insert_or_assign("rotate", std::round(rotate));
  if (!front) out.insert_or_assign("z", "back");
  if (sticker) out.insert_or_assign("sticker", true);
  if (flip) out.insert_or_assign("flip", true);
  if (opacity != 1) out.insert_or_assign("opacity", opacity);
  putString(out, "color", color);
  putNumber(out, "size", size);
  putString(out, "font", font);
  putNumber(out, "weight", weight);
  putNumber(out, "letterSpacing", letterSpacing);
  putNumber(out, "lineHeight", lineHeight);
  putString(out, "align", align);
  if (name && !name->empty()) out.insert_or_assign("name", *name);
  return JSONValue(std::move(out));
}

std::vector<VellLayer> VellLayer::list(const JSONValue& value) {
  std::vector<VellLayer> layers;
  const JSONValue::Array* items = value.asArray();
  if (!items) return layers;
  for (const auto& item : *items) {
    if (auto layer = fromJSON(item)) layers.push_back(std::move(*layer));
  }
  return layers;
}

JSONValue VellLayer::jsonOf(const std::vector<VellLayer>& layers) {
  JSONValue::Array out;
  out.reserve(layers.size());
  for (const auto& layer : layers)
    out.push_back(layer.json());
  return JSONValue(std::move(out));
}

}  // namespace vells
