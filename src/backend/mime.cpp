#include "backend/mime.h"

#include <cstdint>
#include <filesystem>

#include "platform/ascii.h"

namespace vells::backend {

std::string mimeForExtension(std::string_view name) {
  std::string ext =
      platform::asciiLower(std::filesystem::path(std::string(name)).extension().string());
  if (ext == ".jpg" || ext == ".jpeg") return "image/jpeg";
  if (ext == ".webp") return "image/webp";
  return "image/png";
}

std::string sniffMime(std::string_view bytes, std::string_view fallbackPath) {
  auto at = [&](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
  if (bytes.size() >= 2 && at(0) == 0x89 && at(1) == 0x50) return "image/png";
  if (bytes.size() >= 2 && at(0) == 0xFF && at(1) == 0xD8) return "image/jpeg";
  if (bytes.size() >= 4 && bytes.substr(0, 4) == "RIFF") return "image/webp";
  return mimeForExtension(fallbackPath);
}

std::string mimeToExt(std::string_view contentType) {
  std::string_view type = contentType.substr(0, contentType.find(';'));
  auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; };
  while (!type.empty() && blank(type.front()))
    type.remove_prefix(1);
  while (!type.empty() && blank(type.back()))
    type.remove_suffix(1);
  if (type == "image/jpeg" || type == "image/jpg") return "jpg";
  if (type == "image/webp") return "webp";
  return "png";
}

double pngAspect(std::string_view bytes) {
  if (bytes.size() < 24) return 1.0;
  auto be32 = [&](std::size_t off) {
    std::uint32_t v = 0;
    for (std::size_t i = 0; i < 4; ++i)
      v = (v << 8) | static_cast<unsigned char>(bytes[off + i]);
    return v;
  };
  std::uint32_t w = be32(16), h = be32(20);
  if (h == 0) return 1.0;
  return static_cast<double>(w) / static_cast<double>(h);
}

}  // namespace vells::backend
