#include "rendering/store_locales.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "platform/ascii.h"

namespace vells::rendering {

namespace {

// App Store Connect's localizations, as its upload folders name them
// (App Store Connect Help, "Reference > App Store localizations", and the App
// Store Connect API's "Managing metadata in your app by using locale
// shortcodes"; the eleven Indic, Bangla, Slovenian and Urdu codes were added
// in 2025).
constexpr auto kAppStore = std::to_array<std::string_view>({
    "ar-SA", "bn-BD", "ca",    "cs", "da",    "de-DE", "el",    "en-AU", "en-CA",   "en-GB",
    "en-US", "es-ES", "es-MX", "fi", "fr-CA", "fr-FR", "gu-IN", "he",    "hi",      "hr",
    "hu",    "id",    "it",    "ja", "kn-IN", "ko",    "ml-IN", "mr-IN", "ms",      "nl-NL",
    "no",    "or-IN", "pa-IN", "pl", "pt-BR", "pt-PT", "ro",    "ru",    "sk",      "sl-SI",
    "sv",    "ta-IN", "te-IN", "th", "tr",    "uk",    "ur-PK", "vi",    "zh-Hans", "zh-Hant",
});

// Google Play Console's store listing languages, as its upload folders name
// them (Play Console Help, "Translate and localize your app").
constexpr auto kPlay = std::to_array<std::string_view>({
    "af",    "am",    "ar",    "az-AZ", "be",    "bg",    "bn-BD", "ca",    "cs-CZ", "da-DK",
    "de-DE", "el-GR", "en-AU", "en-CA", "en-GB", "en-IN", "en-SG", "en-US", "en-ZA", "es-419",
    "es-ES", "es-US", "et",    "eu-ES", "fa",    "fa-AE", "fa-AF", "fa-IR", "fi-FI", "fil",
    "fr-CA", "fr-FR", "gl-ES", "gu",    "hi-IN", "hr",    "hu-HU", "hy-AM", "id",    "is-IS",
    "it-IT", "iw-IL", "ja-JP", "ka-GE", "kk",    "km-KH", "kn-IN", "ko-KR", "ky-KG", "lo-LA",
    "lt",    "lv",    "mk-MK", "ml-IN", "mn-MN", "mr-IN", "ms",    "ms-MY", "my-MM", "ne-NP",
    "nl-NL", "no-NO", "pa",    "pl-PL", "pt-BR", "pt-PT", "rm",    "ro",    "ru-RU", "si-LK",
    "sk",    "sl",    "sq",    "sr",    "sv-SE", "sw",    "ta-IN", "te-IN", "th",    "tr-TR",
    "uk",    "ur",    "vi",    "zh-CN", "zh-HK", "zh-TW", "zu",
});

// Our codes that a store spells differently: a bare language is the store's
// main region for it, and Play keeps a few older or regional names.
constexpr auto kAppStoreNames = std::to_array<std::pair<std::string_view, std::string_view>>({
    {"ar", "ar-SA"},      {"bn", "bn-BD"},      {"de", "de-DE"}, {"en", "en-US"}, {"es", "es-ES"},
    {"fr", "fr-FR"},      {"gu", "gu-IN"},      {"kn", "kn-IN"}, {"ml", "ml-IN"}, {"mr", "mr-IN"},
    {"nb", "no"},         {"nl", "nl-NL"},      {"or", "or-IN"}, {"pa", "pa-IN"}, {"pt", "pt-PT"},
    {"sl", "sl-SI"},      {"ta", "ta-IN"},      {"te", "te-IN"}, {"ur", "ur-PK"}, {"iw", "he"},
    {"zh-CN", "zh-Hans"}, {"zh-TW", "zh-Hant"},
});
constexpr auto kPlayNames = std::to_array<std::pair<std::string_view, std::string_view>>({
    {"cs", "cs-CZ"},      {"da", "da-DK"}, {"de", "de-DE"},     {"el", "el-GR"},
    {"en", "en-US"},      {"es", "es-ES"}, {"es-MX", "es-419"}, {"fi", "fi-FI"},
    {"fr", "fr-FR"},      {"he", "iw-IL"}, {"hi", "hi-IN"},     {"hu", "hu-HU"},
    {"it", "it-IT"},      {"ja", "ja-JP"}, {"ko", "ko-KR"},     {"nb", "no-NO"},
    {"nl", "nl-NL"},      {"no", "no-NO"}, {"pl", "pl-PL"},     {"pt", "pt-PT"},
    {"ru", "ru-RU"},      {"sv", "sv-SE"}, {"tr", "tr-TR"},     {"zh-Hans", "zh-CN"},
    {"zh-Hant", "zh-TW"}, {"bn", "bn-BD"}, {"kn", "kn-IN"},     {"ml", "ml-IN"},
    {"mr", "mr-IN"},      {"ta", "ta-IN"}, {"te", "te-IN"},     {"ar-SA", "ar"},
    {"sl-SI", "sl"},
});

template <typename Codes, typename Names>
std::optional<std::string> storeCode(const Codes& codes, const Names& names,
                                     const std::string& code) {
  const std::string lower = platform::asciiLower(code);
  for (std::string_view own : codes) {
    if (platform::asciiLower(own) == lower) return std::string(own);
  }
  for (const auto& [ours, theirs] : names) {
    if (platform::asciiLower(ours) == lower) return std::string(theirs);
  }
  return std::nullopt;
}

}  // namespace

std::optional<std::string> appStoreLocale(const std::string& code) {
  return storeCode(kAppStore, kAppStoreNames, code);
}

std::optional<std::string> playLocale(const std::string& code) {
  return storeCode(kPlay, kPlayNames, code);
}

}  // namespace vells::rendering
