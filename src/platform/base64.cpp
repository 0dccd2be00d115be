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
