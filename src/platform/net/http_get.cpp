#include "platform/net/http_get.h"

#include <curl/curl.h>

#include <memory>

namespace vells::platform::net {

namespace {

// Store answers are tens of kilobytes; a body this large means the endpoint is
// not what we think it is, and it is not worth the memory.
constexpr std::size_t maxBodyBytes = std::size_t{32} << 20;

// The platform's URL session gives up on a request that stays silent for a
// minute; so do we, in both phases.
constexpr long silentSeconds = 60;

struct EasyCloser {
  void operator()(CURL* curl) const { curl_easy_cleanup(curl); }
};
struct URLCloser {
  void operator()(CURLU* url) const { curl_url_cleanup(url); }
};
struct CurlStringFree {
  void operator()(char* s) const { curl_free(s); }
};

// curl_global_init isn't safe to race with other curl calls on every build of
// libcurl, so it runs exactly once, before the first handle, and is never
// undone: handles may live until the process ends.
void initialiseOnce() {
  static const CURLcode initialised = curl_global_init(CURL_GLOBAL_DEFAULT);
  if (initialised != CURLE_OK) {
    throw TransportError(std::string("The network library couldn\u2019t start: ") +
                         curl_easy_strerror(initialised));
  }
}

struct Body {
  std::string bytes;
  bool tooLarge = false;
};

std::size_t appendBody(char* data, std::size_t size, std::size_t count, void* user) {
  auto* body = static_cast<Body*>(user);
  const std::size_t n = size * count;
  if (body->bytes.size() + n > maxBodyBytes) {
    body->tooLarge = true;
    return 0;  // makes curl stop with CURLE_WRITE_ERROR
  }
  body->bytes.append(data, n);
  return n;
}

}  // namespace

HttpResponse httpGet(const std::string& url, Schemes schemes) {
  initialiseOnce();
  std::unique_ptr<CURL, EasyCloser> curl(curl_easy_init());
  if (!curl) throw TransportError("The network library couldn\u2019t make a request for " + url);

  const char* allowed = schemes == Schemes::httpsOnly ? "https" : "http,https";
  char reason[CURL_ERROR_SIZE] = {};
  Body body;
  CURL* c = curl.get();
  curl_easy_setopt(c, CURLOPT_URL, url.c_str());
  curl_easy_setopt(c, CURLOPT_PROTOCOLS_STR, allowed);
  curl_easy_setopt(c, CURLOPT_REDIR_PROTOCOLS_STR, allowed);
  curl_easy_setopt(c, CURLOPT_FOLLOWLOCATION, 1L);
  curl_easy_setopt(c, CURLOPT_MAXREDIRS, 5L);
  curl_easy_setopt(c, CURLOPT_HTTPGET, 1L);
  // Signals for time-outs would reach whichever thread they like; routes run on many.
  curl_easy_setopt(c, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(c, CURLOPT_CONNECTTIMEOUT, silentSeconds);
  curl_easy_setopt(c, CURLOPT_LOW_SPEED_LIMIT, 1L);
  curl_easy_setopt(c, CURLOPT_LOW_SPEED_TIME, silentSeconds);
  curl_easy_setopt(c, CURLOPT_ACCEPT_ENCODING, "");
  curl_easy_setopt(c, CURLOPT_USERAGENT, "Vellora");
  curl_easy_setopt(c, CURLOPT_ERRORBUFFER, reason);
  curl_easy_setopt(c, CURLOPT_WRITEFUNCTION, &appendBody);
  curl_easy_setopt(c, CURLOPT_WRITEDATA, &body);

  const CURLcode result = curl_easy_perform(c);
  if (body.tooLarge) {
    throw TransportError("The answer from " + url + " is larger than " +
                         std::to_string(maxBodyBytes >> 20) + " MB.");
  }
  if (result != CURLE_OK) {
    const std::string detail = reason[0] != '\0' ? reason : curl_easy_strerror(result);
    throw TransportError("Couldn\u2019t load " + url + ": " + detail);
  }
  HttpResponse response;
  curl_easy_getinfo(c, CURLINFO_RESPONSE_CODE, &response.status);
  response.body = std::move(body.bytes);
  return response;
}

std::optional<std::string> urlWithQuery(
    std::string_view base, std::string_view path,
    const std::vector<std::pair<std::string, std::string>>& query) {
  initialiseOnce();
  while (!base.empty() && base.back() == '/')
    base.remove_suffix(1);
  std::unique_ptr<CURLU, URLCloser> url(curl_url());
  if (!url) return std::nullopt;
  const std::string joined = std::string(base) + std::string(path);
  if (curl_url_set(url.get(), CURLUPART_URL, joined.c_str(), 0) != CURLUE_OK) return std::nullopt;
  for (const auto& [key, value] : query) {
    const std::string item = key + "=" + value;
    if (curl_url_set(url.get(), CURLUPART_QUERY, item.c_str(),
                     CURLU_APPENDQUERY | CURLU_URLENCODE) != CURLUE_OK) {
      return std::nullopt;
    }
  }
  char* text = nullptr;
  if (curl_url_get(url.get(), CURLUPART_URL, &text, 0) != CURLUE_OK) return std::nullopt;
  std::unique_ptr<char, CurlStringFree> owned(text);
  return std::string(text);
}

}  // namespace vells::platform::net
