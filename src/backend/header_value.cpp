#include "backend/header_value.h"

namespace vells::backend {

namespace {

bool isControl(char c) {
  const auto u = static_cast<unsigned char>(c);
  return u < 0x20 || u == 0x7F;
}

// RFC 5987's attr-char: the bytes a `filename*` value may carry unescaped.
bool isAttrChar(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
         std::string_view("!#$&+-.^_`|~").find(c) != std::string_view::npos;
}

}  // namespace

std::string headerValue(std::string_view value) {
  std::string out(value);
  for (char& c : out) {
    if (isControl(c)) c = ' ';
  }
  return out;
}

std::string attachmentDisposition(std::string_view filename) {
  std::string plain, encoded;
  for (char c : filename) {
    const auto u = static_cast<unsigned char>(c);
    plain.push_back(u >= 0x80 || isControl(c) || c == '"' || c == '\\' ? '_' : c);
    if (isAttrChar(c)) {
      encoded.push_back(c);
    } else {
      static constexpr char hex[] = "0123456789ABCDEF";
      encoded += '%';
      encoded.push_back(hex[u >> 4]);
      encoded.push_back(hex[u & 0xF]);
    }
  }
  return "attachment; filename=\"" + plain + "\"; filename*=UTF-8''" + encoded;
}

}  // namespace vells::backend
