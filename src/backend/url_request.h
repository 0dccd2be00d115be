#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "backend/messages.h"

namespace vells::backend {

// Builds a Request from a URL such as "vells://local/api/pages?set=a" or a
// bare "/api/pages?set=a". The host is never read: routing goes by path alone.
// The path is percent-decoded (the raw path where decoding fails); query items
// are decoded, a later item replaces an earlier one of the same name, and an
// item without "=" maps to "".
Request requestFromURL(std::string_view url, std::string method = "GET", std::string body = {},
                       std::string contentType = {},
                       std::optional<std::string> ifNoneMatch = std::nullopt);

// Decodes %XX escapes; absent when an escape is malformed or the result is not UTF-8.
std::optional<std::string> percentDecode(std::string_view s, bool plusIsSpace = false);

// Escapes every byte but the unreserved characters (A-Z a-z 0-9 - _ . ~) as
// %XX, so the text survives as one path segment or query value.
std::string percentEncode(std::string_view s);

}  // namespace vells::backend
