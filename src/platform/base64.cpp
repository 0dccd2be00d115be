#include "platform/base64.h"

namespace vells::platform {

std::string base64Encode(std::string_view bytes) {
  static constexpr char table[] =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string out;
  out.reserve((bytes.size() + 2) / 3 * 4);
  std::size_t i = 0;
  auto at = [&](std::size_t k) { return static_cast<unsigned char>(bytes[k]); };
  for (; i + 2 < bytes.size(); i += 3) {
    unsigned v = (at(i) << 16) | (at(i + 1) << 8) | at(i + 2);
    out += {table[v >> 18], table[(v >> 12) & 63], table[(v >> 6) & 63], table[v & 63]};
  }
  if (i + 1 == bytes.size()) {
    unsigned v = at(i) << 16;
    out += {table[v >> 18], table[(v >> 12) & 63], '=', '='};
  } else if (i + 2 == bytes.size()) {
    unsigned v = (at(i) << 16) | (at(i + 1) << 8);
    out += {table[v >> 18], table[(v >> 12) & 63], table[(v >> 6) & 63], '='};
  }
  return out;
}

}  // namespace vells::platform

namespace vells::platform {

std::optional<std::string> base64Decode(std::string_view text) {
  std::string out;
  out.reserve(text.size() / 4 * 3);
  unsigned buffer = 0;
  int bits = 0;
  bool padding = false;
  for (char c : text) {
    int v;
    if (c >= 'A' && c <= 'Z') {
      v = c - 'A';
    } else if (c >= 'a' && c <= 'z') {
      v = c - 'a' + 26;
    } else if (c >= '0' && c <= '9') {
      v = c - '0' + 52;
    } else if (c == '+') {
      v = 62;
    } else if (c == '/') {
      v = 63;
    } else if (c == '=') {
      padding = true;
      continue;
    } else if (c == ' ' || c == '\n' || c == '\r' || c == '\t') {
      continue;
    } else {
      return std::nullopt;
    }
    if (padding) return std::nullopt;  // data after padding
    buffer = (buffer << 6) | static_cast<unsigned>(v);
    bits += 6;
    if (bits >= 8) {
      bits -= 8;
      out.push_back(static_cast<char>((buffer >> bits) & 0xFF));
    }
  }
  return out;
}

}  // namespace vells::platform
