#include "backend/apps.h"

#include "backend/ids.h"

#include <unicode/brkiter.h>
#include <unicode/locid.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>

#include "platform/net/http_get.h"

namespace vells::backend {

namespace {

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

// Profile texts are short answers that end up in prompts; anything longer is
// pasted by mistake.
constexpr int32_t maxProfileCharacters = 600;

// Cuts after `count` characters as a person counts them (grapheme clusters), so
// an accent or an emoji sequence is never split.
void keepCharacters(icu::UnicodeString& text, int32_t count) {
  if (text.length() <= count) return;  // every character takes at least one unit
  UErrorCode status = U_ZERO_ERROR;
  std::unique_ptr<icu::BreakIterator> characters(
      icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
  if (U_FAILURE(status) || !characters) {
    // Without ICU's break rules, whole code points are still better than losing the text.
    text.truncate(text.moveIndex32(0, count));
    return;
  }
  characters->setText(text);
  const int32_t end = characters->next(count);
  if (end != icu::BreakIterator::DONE) text.truncate(end);
}

// Trimmed of Unicode white space and line ends, then cut; absent when empty.
std::optional<std::string> profileText(const JSONValue* value) {
  if (!value || !value->isString()) return std::nullopt;
  icu::UnicodeString text = icu::UnicodeString::fromUTF8(*value->asString());
  int32_t start = 0, end = text.length();
  while (start < end && u_isUWhiteSpace(text.char32At(start)))
    start = text.moveIndex32(start, 1);
  while (end > start && u_isUWhiteSpace(text.char32At(end - 1)))
    end = text.moveIndex32(end, -1);
  if (start == end) return std::nullopt;
  icu::UnicodeString trimmed(text, start, end - start);
  keepCharacters(trimmed, maxProfileCharacters);
  std::string out;
  trimmed.toUTF8String(out);
  return out;
}

// Only these two platforms have screenshots of their own.
std::optional<JSONValue> profilePlatforms(const JSONValue* value) {
  if (!value || !value->isArray()) return std::nullopt;
  JSONValue::Array kept;
  for (const JSONValue& item : *value->asArray()) {
    if (!item.isString()) return std::nullopt;  // a list of another type counts as missing
    const std::string& name = *item.asString();
    if ((name == "ios" || name == "android") &&
        std::find(kept.begin(), kept.end(), item) == kept.end()) {
      kept.push_back(item);
    }
  }
  if (kept.empty()) return std::nullopt;
  return JSONValue(std::move(kept));
}

}  // namespace

bool isListed(std::string_view appId) {
  return !appId.empty() && std::all_of(appId.begin(), appId.end(), isDigit);
}

std::string trimBlanksAndTabs(std::string_view s) {
  const auto first = s.find_first_not_of(" \t");
  if (first == std::string_view::npos) return "";
  return std::string(s.substr(first, s.find_last_not_of(" \t") - first + 1));
}

std::optional<std::string> appIdFromLink(std::string_view link) {
  const std::string text = trimBlanksAndTabs(link);
  for (auto at = text.find("/id"); at != std::string::npos; at = text.find("/id", at + 1)) {
    const auto digits = at + 3;
    auto end = digits;
    while (end < text.size() && isDigit(text[end]))
      ++end;
    if (end > digits) return text.substr(digits, end - digits);
  }
  if (isListed(text)) return text;
  return std::nullopt;
}

std::string unlistedAppId(std::string_view name, std::int64_t nowMs) {
  const std::string slug = slugOf(name);
  return "unlisted-" + (slug.empty() ? "app" : slug) + "-" + std::to_string(nowMs);
}

std::optional<JSONValue::Object> cleanProfile(const JSONValue& value) {
  if (!value.isObject()) return std::nullopt;
  JSONValue::Object profile;
  if (auto platforms = profilePlatforms(value.find("platforms"))) {
    profile["platforms"] = std::move(*platforms);
  }
  for (const char* key : {"about", "audience", "category", "brandColor"}) {
    if (auto text = profileText(value.find(key))) profile[key] = std::move(*text);
  }
  if (profile.empty()) return std::nullopt;
  return profile;
}

namespace app_store {

LookupError LookupError::http(long status) {
  return LookupError(status, "The App Store lookup failed (HTTP " + std::to_string(status) + ").");
}

Endpoint Endpoint::fromEnvironment() {
  const char* base = std::getenv("VELLS_LOOKUP_URL");
  if (!base || *base == '\0') return Endpoint{};
  return Endpoint{base, true};
}

std::optional<JSONValue::Object> info(std::string_view appId, const Endpoint& endpoint) {
  namespace net = platform::net;
  const auto url =
      net::urlWithQuery(endpoint.base, "/lookup",
                        {{"id", std::string(appId)}, {"country", "us"}, {"entity", "software"}});
  if (!url) return std::nullopt;
  const net::HttpResponse response = net::httpGet(
      *url, endpoint.allowPlainHttp ? net::Schemes::httpAndHttps : net::Schemes::httpsOnly);
  if (response.status < 200 || response.status > 299) throw LookupError::http(response.status);
  const JSONValue answer = JSONValue::parse(response.body);
  const JSONValue* results = answer.find("results");
  if (!results || !results->isArray() || results->asArray()->empty()) return std::nullopt;
  const JSONValue::Array& list = *results->asArray();
  if (!std::all_of(list.begin(), list.end(), [](const JSONValue& r) { return r.isObject(); })) {
    return std::nullopt;
  }
  return infoFromResult(list.front());
}

JSONValue::Object infoFromResult(const JSONValue& result) {
  auto value = [&](std::string_view key) {
    const JSONValue* v = result.find(key);
    return v ? *v : JSONValue();
  };
  auto string = [&](std::string_view key) { return JSONValue(result.stringAt(key).value_or("")); };
  auto list = [&](std::string_view key) {
    const JSONValue* v = result.find(key);
    return v && v->isArray() ? *v : JSONValue::array();
  };
  auto number = [&](std::string_view key) { return result.numberAt(key); };

  JSONValue::Object info;
  info["name"] = value("trackName");
  info["developer"] = value("artistName");
  info["icon"] = value("artworkUrl100");
  const std::string icon512 = result.stringAt("artworkUrl512").value_or("");
  info["icon512"] = icon512.empty() ? string("artworkUrl100") : JSONValue(icon512);
  info["rating"] = value("averageUserRating");
  info["ratingCount"] = value("userRatingCount");
  info["category"] = value("primaryGenreName");
  info["price"] = value("formattedPrice");
  info["numericPrice"] = number("price").value_or(0.0);
  info["currency"] = string("currency");
  info["version"] = value("version");
  info["description"] = string("description");

  const JSONValue* genre = result.find("primaryGenreId");
  if (genre && genre->isNumber()) {
    info["genreId"] = genre->dump();  // integral numbers print without a fraction
  } else {
    info["genreId"] = result.stringAt("primaryGenreId").value_or("");
  }

  info["genres"] = list("genres");
  info["releaseDate"] = string("releaseDate");
  info["lastUpdated"] = string("currentVersionReleaseDate");
  info["minimumOsVersion"] = string("minimumOsVersion");
  info["languages"] = list("languageCodesISO2A");
  info["fileSizeBytes"] = string("fileSizeBytes");
  info["screenshotUrls"] = list("screenshotUrls");
  info["ipadScreenshotUrls"] = list("ipadScreenshotUrls");
  info["appletvScreenshotUrls"] = list("appletvScreenshotUrls");
  info["contentAdvisoryRating"] = string("contentAdvisoryRating");
  info["advisories"] = list("advisories");
  info["releaseNotes"] = string("releaseNotes");
  info["sellerUrl"] = string("sellerUrl");
  info["bundleId"] = string("bundleId");
  info["trackViewUrl"] = string("trackViewUrl");

  const auto currentRating = number("averageUserRatingForCurrentVersion");
  info["ratingCurrentVersion"] = currentRating ? JSONValue(*currentRating) : JSONValue();
  const auto currentCount = number("userRatingCountForCurrentVersion");
  const bool wholeCount =
      currentCount && std::isfinite(*currentCount) && std::trunc(*currentCount) == *currentCount;
  info["ratingCountCurrentVersion"] = wholeCount ? JSONValue(*currentCount) : JSONValue();

  bool universal = false;
  if (const JSONValue* features = result.find("features"); features && features->isArray()) {
    const JSONValue::Array& names = *features->asArray();
    universal =
        std::all_of(names.begin(), names.end(), [](const JSONValue& f) { return f.isString(); }) &&
        std::find(names.begin(), names.end(), JSONValue("iosUniversal")) != names.end();
  }
  info["isUniversal"] = universal;
  info["isMadeForKids"] =
      result.stringAt("trackContentRating") == "4+" && number("primaryGenreId") == 6017.0;
  return info;
}

}  // namespace app_store

}  // namespace vells::backend
