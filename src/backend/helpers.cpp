#include "backend/helpers.h"

#include <algorithm>
#include <chrono>
#include <fstream>
#include <sstream>

#include "platform/sha256.h"

namespace vells::backend {

namespace fs = std::filesystem;

bool startsWith(std::string_view s, std::string_view prefix) {
  return s.substr(0, prefix.size()) == prefix;
}

std::string toLower(std::string_view s) {
  std::string out(s);
  std::transform(out.begin(), out.end(), out.begin(),
                 [](unsigned char c) { return c >= 'A' && c <= 'Z' ? char(c + 32) : char(c); });
  return out;
}

std::string mimeForExtension(std::string_view name) {
  std::string ext = toLower(fs::path(std::string(name)).extension().string());
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

std::string sha(std::string_view bytes) {
  return platform::sha256Hex(bytes).substr(0, 32);
}

std::string safeName(std::string_view name) {
  std::string out;
  for (char c : name) {
    bool keep = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                c == ' ' || c == '_' || c == '.' || c == '-';
    if (keep) out.push_back(c);
  }
  auto first = out.find_first_not_of(' ');
  if (first == std::string::npos) return "";
  return out.substr(first, out.find_last_not_of(' ') - first + 1);
}

std::string slugOf(std::string_view name) {
  std::string slug;
  bool pendingDash = false;
  for (char c : toLower(name)) {
    if ((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9')) {
      if (pendingDash && !slug.empty()) slug.push_back('-');
      pendingDash = false;
      slug.push_back(c);
    } else {
      pendingDash = true;
    }
  }
  return slug;
}

std::string newSetId(std::string_view name, std::int64_t nowMs) {
  const std::string slug = slugOf(name);
  return (slug.empty() ? "set" : slug) + "-" + std::to_string(nowMs);
}

std::int64_t nowMs() {
  using namespace std::chrono;
  return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

std::optional<double> mtimeMs(const fs::path& file) {
  std::error_code ec;
  auto t = fs::last_write_time(file, ec);
  if (ec) return std::nullopt;
  auto sys = std::chrono::file_clock::to_sys(t);
  return std::chrono::duration<double, std::milli>(sys.time_since_epoch()).count();
}

std::vector<std::string> files(const fs::path& folder) {
  std::vector<std::string> names;
  std::error_code ec;
  fs::directory_iterator it(folder, ec);
  if (ec) return names;
  for (; it != fs::directory_iterator(); it.increment(ec)) {
    if (ec) break;
    names.push_back(it->path().filename().string());
  }
  return names;
}

std::string osParam(const Request& request) {
  return request.param("os") == "ios" ? "ios" : "android";
}

std::string themeParam(const Request& request) {
  return request.param("theme") == "light" ? "light" : "dark";
}

std::optional<std::string> appearanceParam(const Request& request) {
  auto it = request.query.find("appearance");
  if (it != request.query.end() && (it->second == "light" || it->second == "dark"))
    return it->second;
  return std::nullopt;
}

std::map<std::string, std::string> overrides(const JSONValue& texts, std::string_view page,
                                             std::string_view locale) {
  std::map<std::string, std::string> out;
  const JSONValue* p = texts.find(page);
  const JSONValue* l = p ? p->find(locale) : nullptr;
  const JSONValue* screen = l ? l->find("screen") : nullptr;
  if (!screen || !screen->isObject()) return out;
  for (const auto& [key, value] : *screen->asObject()) {
    // A map of strings: one entry of another type spoils the whole map.
    if (!value.isString()) return {};
    out.emplace(key, *value.asString());
  }
  return out;
}

std::string setFolder(std::string_view setId) {
  std::string out;
  for (char c : setId) {
    auto u = static_cast<unsigned char>(c);
    if (u >= 0x80 && u < 0xC0) continue;  // one "_" per character, not per UTF-8 byte
    bool keep = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                c == '_' || c == '-';
    out.push_back(keep ? c : '_');
  }
  return out;
}

std::optional<std::string> readFile(const fs::path& file) {
  std::error_code ec;
  if (fs::is_directory(file, ec)) return std::nullopt;
  std::ifstream in(file, std::ios::binary);
  if (!in) return std::nullopt;
  std::ostringstream ss;
  ss << in.rdbuf();
  if (in.bad()) return std::nullopt;
  return std::move(ss).str();
}

}  // namespace vells::backend
