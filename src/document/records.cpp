#include "document/records.h"

#include <algorithm>

#include "document/json_fields.h"

namespace vells {

LocaleRef LocaleRef::decode(const JSONValue& value) {
  FieldReader in(value, "LocaleRef");
  return {in.string("code"), in.string("nativeName"), in.string("flag"),
          in.optionalString("englishName")};
}

JSONValue LocaleRef::encode() const {
  JSONValue::Object out{{"code", code}, {"nativeName", nativeName}, {"flag", flag}};
  putIfPresent(out, "englishName", englishName);
  return JSONValue(std::move(out));
}

PageRef PageRef::decode(const JSONValue& value) {
  FieldReader in(value, "PageRef");
  return {in.string("id"), in.string("label")};
}

JSONValue PageRef::encode() const {
  return JSONValue::object({{"id", id}, {"label", label}});
}

std::string_view rawValue(PageSource source) {
  switch (source) {
    case PageSource::builtin:
      return "builtin";
    case PageSource::upload:
      return "upload";
    case PageSource::html:
      return "html";
  }
  return "builtin";
}

std::optional<PageSource> pageSourceFromRaw(std::string_view raw) {
  for (auto s : {PageSource::builtin, PageSource::upload, PageSource::html}) {
    if (rawValue(s) == raw) return s;
  }
  return std::nullopt;
}

SetPage SetPage::decode(const JSONValue& value) {
  FieldReader in(value, "SetPage");
  std::string sourceName = in.string("source");
  auto source = pageSourceFromRaw(sourceName);
  if (!source) in.fail("\"source\" is \"" + sourceName + "\", not builtin, upload or html");
  return {in.string("id"), in.string("label"), *source, in.optionalString("builtinId")};
}

JSONValue SetPage::encode() const {
  JSONValue::Object out{{"id", id}, {"label", label}, {"source", rawValue(source)}};
  putIfPresent(out, "builtinId", builtinId);
  return JSONValue(std::move(out));
}

std::string_view rawValue(DeviceOS os) {
  return os == DeviceOS::ios ? "ios" : "android";
}

std::optional<DeviceOS> deviceOSFromRaw(std::string_view raw) {
  for (auto os : allDeviceOS) {
    if (rawValue(os) == raw) return os;
  }
  return std::nullopt;
}

CanvasSize compositeSize(DeviceOS os) {
  return os == DeviceOS::ios ? CanvasSize{621, 1344} : CanvasSize{642, 1389};
}

std::string_view rawValue(ThemeName theme) {
  return theme == ThemeName::dark ? "dark" : "light";
}

std::optional<ThemeName> themeNameFromRaw(std::string_view raw) {
  for (auto theme : allThemeNames) {
    if (rawValue(theme) == raw) return theme;
  }
  return std::nullopt;
}

VellSet VellSet::decode(const JSONValue& value) {
  FieldReader in(value, "VellSet");
  return {in.string("id"), in.string("name"), in.optionalString("appId"),
          in.optionalStrings("locales")};
}

JSONValue VellSet::encode() const {
  JSONValue::Object out{{"id", id}, {"name", name}};
  putIfPresent(out, "appId", appId);
  putIfPresent(out, "locales", locales);
  return JSONValue(std::move(out));
}

AppSummary AppSummary::decode(const JSONValue& value) {
  FieldReader in(value, "AppSummary");
  AppSummary app;
  app.appId = in.string("appId");
  app.name = in.string("name");
  app.icon = in.string("icon");
  app.developer = in.string("developer");
  app.screenshots = in.strings("screenshots");
  app.platforms = in.optionalStrings("platforms");
  app.about = in.optionalString("about");
  app.audience = in.optionalString("audience");
  app.category = in.optionalString("category");
  app.unlisted = in.optionalBoolean("unlisted");
  app.storeUrl = in.optionalString("storeUrl");
  return app;
}

JSONValue AppSummary::encode() const {
  JSONValue::Object out{{"appId", appId},
                        {"name", name},
                        {"icon", icon},
                        {"developer", developer},
                        {"screenshots", toJSON(screenshots)}};
  putIfPresent(out, "platforms", platforms);
  putIfPresent(out, "about", about);
  putIfPresent(out, "audience", audience);
  putIfPresent(out, "category", category);
  putIfPresent(out, "unlisted", unlisted);
  putIfPresent(out, "storeUrl", storeUrl);
  return JSONValue(std::move(out));
}

AppConfig AppConfig::decode(const JSONValue& value) {
  FieldReader in(value, "AppConfig");
  AppConfig config;
  config.pages = in.list<PageRef>("pages");
  config.pagesAppId = in.optionalString("pagesAppId");
  config.locales = in.list<LocaleRef>("locales");
  config.storeLocales = in.optionalList<LocaleRef>("storeLocales");
  config.sets = in.list<VellSet>("sets");
  config.apps = in.optionalList<AppSummary>("apps");
  return config;
}

JSONValue AppConfig::encode() const {
  JSONValue::Object out{
      {"pages", toJSONList(pages)}, {"locales", toJSONList(locales)}, {"sets", toJSONList(sets)}};
  putIfPresent(out, "pagesAppId", pagesAppId);
  if (storeLocales) out.insert_or_assign("storeLocales", toJSONList(*storeLocales));
  if (apps) out.insert_or_assign("apps", toJSONList(*apps));
  return JSONValue(std::move(out));
}

std::vector<LocaleRef> AppConfig::localesForSet(std::string_view setId) const {
  auto set =
      std::find_if(sets.begin(), sets.end(), [&](const VellSet& s) { return s.id == setId; });
  if (set == sets.end() || !set->locales || set->locales->empty()) return locales;
  const auto& chosen = *set->locales;
  const auto& pool = storeLocales && !storeLocales->empty() ? *storeLocales : locales;
  std::vector<LocaleRef> out;
  std::copy_if(pool.begin(), pool.end(), std::back_inserter(out), [&](const LocaleRef& l) {
    return std::find(chosen.begin(), chosen.end(), l.code) != chosen.end();
  });
  // A set whose every choice has left the store list would otherwise show
  // nothing at all.
  return out.empty() ? locales : out;
}

ScreenTextEntry ScreenTextEntry::decode(const JSONValue& value) {
  FieldReader in(value, "ScreenTextEntry");
  return {in.string("key"), in.string("value")};
}

JSONValue ScreenTextEntry::encode() const {
  return JSONValue::object({{"key", key}, {"value", value}});
}

ScreenTextsResponse ScreenTextsResponse::decode(const JSONValue& value) {
  FieldReader in(value, "ScreenTextsResponse");
  return {in.list<ScreenTextEntry>("entries"), in.stringMap("overrides")};
}

JSONValue ScreenTextsResponse::encode() const {
  return JSONValue::object({{"entries", toJSONList(entries)}, {"overrides", toJSON(overrides)}});
}

GalleryStatus GalleryStatus::decode(const JSONValue& value) {
  FieldReader in(value, "GalleryStatus");
  return {in.strings("ready"), in.integer("total"), in.boolean("rendering")};
}

JSONValue GalleryStatus::encode() const {
  return JSONValue::object(
      {{"ready", toJSON(ready)}, {"total", static_cast<double>(total)}, {"rendering", rendering}});
}

OKResponse OKResponse::decode(const JSONValue& value) {
  FieldReader in(value, "OKResponse");
  return {in.optionalBoolean("ok")};
}

JSONValue OKResponse::encode() const {
  JSONValue::Object out;
  putIfPresent(out, "ok", ok);
  return JSONValue(std::move(out));
}

ExistsResponse ExistsResponse::decode(const JSONValue& value) {
  FieldReader in(value, "ExistsResponse");
  return {in.boolean("exists")};
}

JSONValue ExistsResponse::encode() const {
  return JSONValue::object({{"exists", exists}});
}

RemovedResponse RemovedResponse::decode(const JSONValue& value) {
  FieldReader in(value, "RemovedResponse");
  return {in.integer("removed")};
}

JSONValue RemovedResponse::encode() const {
  return JSONValue::object({{"removed", static_cast<double>(removed)}});
}

const std::vector<PatternDef>& PatternDef::all() {
  static const std::vector<PatternDef> patterns{
      {"wiggle", "Wiggle", "wiggle.svg", 52, 26},
      {"links", "Links", "links.svg", 60, 96},
      {"hexagons", "Hexagons", "hexagons.svg", 28, 49},
      {"tic-tac-toe", "Tic-tac-toe", "tic-tac-toe.svg", 64, 64},
  };
  return patterns;
}

PatternDef PatternDef::decode(const JSONValue& value) {
  FieldReader in(value, "PatternDef");
  return {in.string("id"), in.string("label"), in.string("file"), in.number("tileW"),
          in.number("tileH")};
}

JSONValue PatternDef::encode() const {
  return JSONValue::object(
      {{"id", id}, {"label", label}, {"file", file}, {"tileW", tileW}, {"tileH", tileH}});
}

StickerPack StickerPack::decode(const JSONValue& value) {
  FieldReader in(value, "StickerPack");
  return {in.string("id"), in.string("name"), in.integer("count")};
}

JSONValue StickerPack::encode() const {
  return JSONValue::object({{"id", id}, {"name", name}, {"count", static_cast<double>(count)}});
}

StickerItem StickerItem::decode(const JSONValue& value) {
  FieldReader in(value, "StickerItem");
  return {in.string("name"), in.string("file")};
}

JSONValue StickerItem::encode() const {
  return JSONValue::object({{"name", name}, {"file", file}});
}

ScreenSlot ScreenSlot::decode(const JSONValue& value) {
  FieldReader in(value, "ScreenSlot");
  return {in.string("page"), in.string("os"), in.optionalString("locale"),
          in.optionalString("appearance")};
}

JSONValue ScreenSlot::encode() const {
  JSONValue::Object out{{"page", page}, {"os", os}};
  putIfPresent(out, "locale", locale);
  putIfPresent(out, "appearance", appearance);
  return JSONValue(std::move(out));
}

OrderDocument decodeOrderDocument(const JSONValue& value) {
  OrderDocument document;
  if (value.isNull()) return document;
  FieldReader in(value, "the order document");
  for (const auto& [locale, pages] : in.object())
    document.emplace(locale, in.strings(locale));
  return document;
}

JSONValue encodeOrderDocument(const OrderDocument& document) {
  JSONValue::Object out;
  for (const auto& [locale, pages] : document)
    out.emplace(locale, toJSON(pages));
  return JSONValue(std::move(out));
}

}  // namespace vells

// Equal records encode alike, so hashing the encoding agrees with ==.
#define VELLS_HASH_BY_ENCODING(Type)                                                    \
  std::size_t std::hash<vells::Type>::operator()(const vells::Type& v) const noexcept { \
    return v.encode().hash();                                                           \
  }

VELLS_HASH_BY_ENCODING(LocaleRef)
VELLS_HASH_BY_ENCODING(PageRef)
VELLS_HASH_BY_ENCODING(SetPage)
VELLS_HASH_BY_ENCODING(VellSet)
VELLS_HASH_BY_ENCODING(AppSummary)
VELLS_HASH_BY_ENCODING(ScreenTextEntry)
VELLS_HASH_BY_ENCODING(PatternDef)

#undef VELLS_HASH_BY_ENCODING
