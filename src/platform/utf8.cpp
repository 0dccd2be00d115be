#include "platform/utf8.h"

namespace vells::platform {

UTF8Step decodeUTF8(std::string_view s, std::size_t at) {
  if (at >= s.size()) return {0, 0, false};
  auto byte = [&](std::size_t k) { return static_cast<unsigned char>(s[k]); };
  const unsigned char lead = byte(at);
  if (lead < 0x80) return {lead, 1, true};
  std::size_t length;
  char32_t value;
  // The second byte's range shuts out overlong forms, surrogates and values
  // past U+10FFFF before they are built.
  unsigned char lo = 0x80, hi = 0xBF;
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2;
    value = lead & 0x1F;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3;
    value = lead & 0x0F;
    if (lead == 0xE0) lo = 0xA0;
    if (lead == 0xED) hi = 0x9F;
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4;
    value = lead & 0x07;
    if (lead == 0xF0) lo = 0x90;
    if (lead == 0xF4) hi = 0x8F;
  } else {
    return {0xFFFD, 1, false};
  }
  for (std::size_t k = 1; k < length; ++k) {
    if (at + k >= s.size()) return {0xFFFD, k, false};
    const unsigned char b = byte(at + k);
    if (b < (k == 1 ? lo : 0x80) || b > (k == 1 ? hi : 0xBF)) return {0xFFFD, k, false};
    value = (value << 6) | (b & 0x3F);
  }
  return {value, length, true};
}

}  // namespace vells::platform
