#include "platform/sha256.h"

#include <memory>
#include <stdexcept>

#include <openssl/evp.h>

namespace vells::platform {

std::array<std::uint8_t, 32> sha256(std::string_view bytes) {
  std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> ctx(EVP_MD_CTX_new(), &EVP_MD_CTX_free);
  std::array<std::uint8_t, 32> digest{};
  unsigned int len = 0;
  if (!ctx || EVP_DigestInit_ex(ctx.get(), EVP_sha256(), nullptr) != 1 ||
      EVP_DigestUpdate(ctx.get(), bytes.data(), bytes.size()) != 1 ||
      EVP_DigestFinal_ex(ctx.get(), digest.data(), &len) != 1 || len != digest.size()) {
    throw std::runtime_error("SHA-256 is unavailable in this OpenSSL build.");
  }
  return digest;
}

std::string sha256Hex(std::string_view bytes) {
  static constexpr char hex[] = "0123456789abcdef";
  std::string out;
  out.reserve(64);
  for (std::uint8_t b : sha256(bytes)) {
    out.push_back(hex[b >> 4]);
    out.push_back(hex[b & 0xF]);
  }
  return out;
}

}  // namespace vells::platform
