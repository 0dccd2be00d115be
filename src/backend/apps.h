#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "document/json_value.h"
#include "platform/error.h"

// Apps that sets are filed under: listed ones carry a store id and the store's
// facts, unlisted ones exist only in the library until they are linked.
namespace vells::backend {

// The path under which uploaded icons are served; `info.icon` of an unlisted
// app is only ever set to a path that begins with it.
inline constexpr std::string_view appIconPath = "/api/orvo/app-icon/";

// A store id: one or more ASCII digits.
bool isListed(std::string_view appId);

// The digits after the first "/id" of a store link, or the text itself when it
// is a bare store id. Blanks and tabs around the text don't count.
std::optional<std::string> appIdFromLink(std::string_view link);

// "unlisted-<slug>-<nowMs>", the slug being the name's ASCII letters and digits
// in lower case with "-" between runs, or "app" when there are none.
std::string unlistedAppId(std::string_view name, std::int64_t nowMs);

// Trims blanks and tabs only: a typed name keeps its line ends.
std::string trimBlanksAndTabs(std::string_view s);

// What the user tells about an app, reduced to the keys screen generation reads:
// `platforms` (ios and android, each once) and four short texts. Absent when
// `value` isn't an object or nothing of it survives.
std::optional<JSONValue::Object> cleanProfile(const JSONValue& value);

// The store's public lookup endpoint.
namespace app_store {

// The store answered, but not with success.
class LookupError : public Error {
 public:
  static LookupError http(long status);
  long status() const { return status_; }

 private:
  LookupError(long status, const std::string& message) : Error(message), status_(status) {}
  long status_;
};

struct Endpoint {
  std::string base = "https://itunes.apple.com";
  // Only a base given through the environment may be plain http: that is how
  // tests point the lookup at a loopback stand-in.
  bool allowPlainHttp = false;

  // $VELLS_LOOKUP_URL when it is set and not empty, else the store itself.
  static Endpoint fromEnvironment();
};

// The app's facts in the 32 keys the rest of the system reads, from the first
// result of the lookup. Absent when no URL can be formed or the store has no
// such app. Throws platform::net::TransportError when no answer comes,
// LookupError for a status outside 2xx, and JSONParseError for a body that
// isn't JSON.
std::optional<JSONValue::Object> info(std::string_view appId,
                                      const Endpoint& endpoint = Endpoint::fromEnvironment());

// The mapping of one lookup result to `info`.
JSONValue::Object infoFromResult(const JSONValue& result);

}  // namespace app_store

}  // namespace vells::backend
