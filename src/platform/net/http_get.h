#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>
#include "platform/error.h"

// One blocking HTTP GET at a time, for the few calls the application makes to
// the outside world.
namespace vells::platform::net {

struct HttpResponse {
  long status = 0;
  std::string body;
};

// The request never got an answer: no connection, a broken TLS handshake, a
// refused scheme, a time-out. The message names the address and the reason.
class TransportError : public Error {
 public:
  using Error::Error;
};

// Which schemes a request (and any redirect it follows) may use. Plain http is
// only for a loopback stand-in that tests start; real endpoints are https.
enum class Schemes { httpsOnly, httpAndHttps };

// Any status is a response, 404 and 500 included; only a missing answer throws
// TransportError. Redirects are followed within `schemes`.
HttpResponse httpGet(const std::string& url, Schemes schemes = Schemes::httpsOnly);

// `base` (trailing "/" dropped) followed by `path` and the query items in the
// given order, each percent-encoded. Absent when the result isn't a URL.
std::optional<std::string> urlWithQuery(
    std::string_view base, std::string_view path,
    const std::vector<std::pair<std::string, std::string>>& query);

}  // namespace vells::platform::net
