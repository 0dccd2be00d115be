#include "backend/url_request.h"

namespace vells::backend {

namespace {

int hexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

std::optional<std::string> percentDecode(std::string_view s, bool plusIsSpace) {
  std::string out;
  out.reserve(s.size());
  for (std::size_t i = 0; i < s.size(); ++i) {
    char c = s[i];
    if (c == '%') {
      if (i + 2 >= s.size()) return std::nullopt;
      int hi = hexValue(s[i + 1]), lo = hexValue(s[i + 2]);
      if (hi < 0 || lo < 0) return std::nullopt;
      out.push_back(static_cast<char>(hi * 16 + lo));
      i += 2;
    } else if (c == '+' && plusIsSpace) {
      out.push_back(' ');
    } else {
      out.push_back(c);
    }
  }
  if (!isValidUTF8(out)) return std::nullopt;
  return out;
}

std::string percentEncode(std::string_view s) {
  static constexpr char hex[] = "0123456789ABCDEF";
  std::string out;
  out.reserve(s.size());
  for (unsigned char c : s) {
    if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
        c == '_' || c == '.' || c == '~') {
      out.push_back(static_cast<char>(c));
    } else {
      out += '%';
      out += hex[c >> 4];
      out += hex[c & 15];
    }
  }
  return out;
}

Request requestFromURL(std::string_view url, std::string method, std::string body,
                       std::string contentType, std::optional<std::string> ifNoneMatch) {
  Request request;
  request.method = method.empty() ? "GET" : std::move(method);
  request.body = std::move(body);
  request.contentType = std::move(contentType);
  request.ifNoneMatch = std::move(ifNoneMatch);

  std::string_view rest = url.substr(0, url.find('#'));
  if (auto scheme = rest.find("://");
      scheme != std::string_view::npos && rest.find_first_of("/?") > scheme) {
    rest.remove_prefix(scheme + 3);
    auto pathStart = rest.find_first_of("/?");
    rest = pathStart == std::string_view::npos ? std::string_view() : rest.substr(pathStart);
  }
  const auto q = rest.find('?');
  std::string_view rawPath = rest.substr(0, q);
  if (rawPath.empty()) {
    request.path.assign(1, '/');  // assigning "/" trips a false -Wrestrict in g++ 12
  } else {
    request.path = percentDecode(rawPath).value_or(std::string(rawPath));
  }
  if (q == std::string_view::npos) return request;

  std::string_view query = rest.substr(q + 1);
  while (true) {
    const auto amp = query.find('&');
    std::string_view item = query.substr(0, amp);
    const auto eq = item.find('=');
    std::string_view rawName = item.substr(0, eq);
    std::string_view rawValue =
        eq == std::string_view::npos ? std::string_view() : item.substr(eq + 1);
    std::string name = percentDecode(rawName).value_or(std::string(rawName));
    std::string value = percentDecode(rawValue).value_or(std::string(rawValue));
    request.query.insert_or_assign(std::move(name), std::move(value));
    if (amp == std::string_view::npos) break;
    query.remove_prefix(amp + 1);
  }
  return request;
}

}  // namespace vells::backend
