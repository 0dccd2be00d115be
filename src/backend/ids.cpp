#include "backend/ids.h"

#include <chrono>

#include "platform/ascii.h"

namespace vells::backend {

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
  for (char c : platform::asciiLower(name)) {
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

}  // namespace vells::backend
