#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "document/json_value.h"

// The records that travel between the backend's routes and the client. Each
// decodes from a JSONValue (JSONDecodeError when a required key is missing
// or a key holds the wrong kind; a missing or null optional key reads as
// absent; keys it doesn't list are ignored) and encodes back, leaving absent
// optionals out.
namespace vells {

// One language.
struct LocaleRef {
  std::string code;
  std::string nativeName;
  std::string flag;
  std::optional<std::string> englishName;

  static LocaleRef decode(const JSONValue& value);
  JSONValue encode() const;
  friend bool operator==(const LocaleRef&, const LocaleRef&) = default;
};

// A built-in page of the catalogue.
struct PageRef {
  std::string id;
  std::string label;

  static PageRef decode(const JSONValue& value);
  JSONValue encode() const;
  friend bool operator==(const PageRef&, const PageRef&) = default;
};

enum class PageSource { builtin, upload, html };
std::string_view rawValue(PageSource source);
std::optional<PageSource> pageSourceFromRaw(std::string_view raw);

// A page of a set.
struct SetPage {
  std::string id;
  std::string label;
  PageSource source = PageSource::builtin;
  std::optional<std::string> builtinId;

  static SetPage decode(const JSONValue& value);
  JSONValue encode() const;
  friend bool operator==(const SetPage&, const SetPage&) = default;
};

struct CanvasSize {
  double width = 0;
  double height = 0;
  friend bool operator==(const CanvasSize&, const CanvasSize&) = default;
};

enum class DeviceOS { ios, android };
inline constexpr std::array<DeviceOS, 2> allDeviceOS{DeviceOS::ios, DeviceOS::android};
std::string_view rawValue(DeviceOS os);
std::optional<DeviceOS> deviceOSFromRaw(std::string_view raw);
// The canvas a page is designed in, whatever the size of the exported image.
CanvasSize compositeSize(DeviceOS os);

enum class ThemeName { dark, light };
inline constexpr std::array<ThemeName, 2> allThemeNames{ThemeName::dark, ThemeName::light};
std::string_view rawValue(ThemeName theme);
std::optional<ThemeName> themeNameFromRaw(std::string_view raw);

// One set. `id` never changes; the rest can.
struct VellSet {
  std::string id;
  std::string name;
  // The app the set is filed under.
  std::optional<std::string> appId;
  // The set's own choice of store locales.
  std::optional<std::vector<std::string>> locales;

  static VellSet decode(const JSONValue& value);
  JSONValue encode() const;
  friend bool operator==(const VellSet&, const VellSet&) = default;
};

// One app of the library.
struct AppSummary {
  std::string appId;
  std::string name;
  // A URL, a path "/api/orvo/app-icon/<file>", or "".
  std::string icon;
  std::string developer;
  std::vector<std::string> screenshots;
  std::optional<std::vector<std::string>> platforms;
  std::optional<std::string> about;
  std::optional<std::string> audience;
  std::optional<std::string> category;
  // True for an app that is not on the store.
  std::optional<bool> unlisted;
  std::optional<std::string> storeUrl;

  static AppSummary decode(const JSONValue& value);
  JSONValue encode() const;
  friend bool operator==(const AppSummary&, const AppSummary&) = default;
};

// The answer of GET /api/config.
struct AppConfig {
  std::vector<PageRef> pages;
  std::optional<std::string> pagesAppId;
  std::vector<LocaleRef> locales;
  std::optional<std::vector<LocaleRef>> storeLocales;
  std::vector<VellSet> sets;
  std::optional<std::vector<AppSummary>> apps;

  static AppConfig decode(const JSONValue& value);
  JSONValue encode() const;
  friend bool operator==(const AppConfig&, const AppConfig&) = default;

  // The languages a set works in: its own choice among the store locales,
  // else every locale of the config.
  std::vector<LocaleRef> localesForSet(std::string_view setId) const;
};

struct ScreenTextEntry {
  std::string key;
  std::string value;

  static ScreenTextEntry decode(const JSONValue& value);
  JSONValue encode() const;
  friend bool operator==(const ScreenTextEntry&, const ScreenTextEntry&) = default;
};

// The answer of GET /api/screen-texts.
struct ScreenTextsResponse {
  std::vector<ScreenTextEntry> entries;
  std::map<std::string, std::string> overrides;

  static ScreenTextsResponse decode(const JSONValue& value);
  JSONValue encode() const;
  friend bool operator==(const ScreenTextsResponse&, const ScreenTextsResponse&) = default;
};

// The answer of GET /api/gallery-status.
struct GalleryStatus {
  std::vector<std::string> ready;
  std::int64_t total = 0;
  bool rendering = false;

  static GalleryStatus decode(const JSONValue& value);
  JSONValue encode() const;
  friend bool operator==(const GalleryStatus&, const GalleryStatus&) = default;
};

// `{"ok":true}` answers. The client takes the arrival as success; a failure
// answer also carries `error`, which callers read from the raw value.
struct OKResponse {
  std::optional<bool> ok;

  static OKResponse decode(const JSONValue& value);
  JSONValue encode() const;
  friend bool operator==(const OKResponse&, const OKResponse&) = default;
};

struct ExistsResponse {
  bool exists = false;

  static ExistsResponse decode(const JSONValue& value);
  JSONValue encode() const;
  friend bool operator==(const ExistsResponse&, const ExistsResponse&) = default;
};

struct RemovedResponse {
  std::int64_t removed = 0;

  static RemovedResponse decode(const JSONValue& value);
  JSONValue encode() const;
  friend bool operator==(const RemovedResponse&, const RemovedResponse&) = default;
};

// A background pattern tile, served under "/pattern/<file>".
struct PatternDef {
  std::string id;
  std::string label;
  std::string file;
  // Tile size at scale 1, in composite pixels.
  double tileW = 0;
  double tileH = 0;

  // The four built-in patterns, in the order the inspector offers them
  // (after "none").
  static const std::vector<PatternDef>& all();

  static PatternDef decode(const JSONValue& value);
  JSONValue encode() const;
  friend bool operator==(const PatternDef&, const PatternDef&) = default;
};

struct StickerPack {
  std::string id;
  std::string name;
  std::int64_t count = 0;

  static StickerPack decode(const JSONValue& value);
  JSONValue encode() const;
  friend bool operator==(const StickerPack&, const StickerPack&) = default;
};

struct StickerItem {
  std::string name;
  std::string file;

  static StickerItem decode(const JSONValue& value);
  JSONValue encode() const;
  friend bool operator==(const StickerItem&, const StickerItem&) = default;
};

// One stored device screen.
struct ScreenSlot {
  std::string page;
  std::string os;
  std::optional<std::string> locale;
  std::optional<std::string> appearance;

  static ScreenSlot decode(const JSONValue& value);
  JSONValue encode() const;
  friend bool operator==(const ScreenSlot&, const ScreenSlot&) = default;
};

// The order document of a set: locale code -> the gallery's page ids. It may
// name pages that no longer exist; readers filter against the page list.
using OrderDocument = std::map<std::string, std::vector<std::string>>;

// null (a set that never stored an order) reads as an empty document.
OrderDocument decodeOrderDocument(const JSONValue& value);
JSONValue encodeOrderDocument(const OrderDocument& document);

}  // namespace vells

// Hashing for the records the client keeps in sets and as keys.
template <>
struct std::hash<vells::LocaleRef> {
  std::size_t operator()(const vells::LocaleRef& v) const noexcept;
};
template <>
struct std::hash<vells::PageRef> {
  std::size_t operator()(const vells::PageRef& v) const noexcept;
};
template <>
struct std::hash<vells::SetPage> {
  std::size_t operator()(const vells::SetPage& v) const noexcept;
};
template <>
struct std::hash<vells::VellSet> {
  std::size_t operator()(const vells::VellSet& v) const noexcept;
};
template <>
struct std::hash<vells::AppSummary> {
  std::size_t operator()(const vells::AppSummary& v) const noexcept;
};
template <>
struct std::hash<vells::ScreenTextEntry> {
  std::size_t operator()(const vells::ScreenTextEntry& v) const noexcept;
};
template <>
struct std::hash<vells::PatternDef> {
  std::size_t operator()(const vells::PatternDef& v) const noexcept;
};
