#include "rendering/store_check.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdint>
#include <cstdio>

#include "platform/ascii.h"
#include "rendering/store_size.h"

namespace vells::rendering {

namespace {

struct Picture {
  bool known = false;
  int width = 0, height = 0;
  bool alpha = false;
};

std::uint32_t be32(const std::string& b, std::size_t at) {
  std::uint32_t v = 0;
  for (std::size_t i = 0; i < 4; ++i)
    v = (v << 8) | static_cast<unsigned char>(b[at + i]);
  return v;
}

// Size and alpha from the file's own header: a PNG's colour type or a tRNS
// chunk before the pixels; a JPEG's frame header (JPEG has no alpha).
Picture inspect(const std::string& b) {
  Picture p;
  if (b.size() >= 33 && b.compare(0, 8, "\x89PNG\r\n\x1a\n") == 0 &&
      b.compare(12, 4, "IHDR") == 0) {
    p.known = true;
    p.width = static_cast<int>(be32(b, 16));
    p.height = static_cast<int>(be32(b, 20));
    const int colorType = static_cast<unsigned char>(b[25]);
    p.alpha = colorType == 4 || colorType == 6;
    for (std::size_t at = 8; !p.alpha && at + 8 <= b.size();) {
      const std::uint32_t length = be32(b, at);
      const std::string type = b.substr(at + 4, 4);
      if (type == "tRNS") p.alpha = true;
      if (type == "IDAT" || type == "IEND") break;
      at += 12 + static_cast<std::size_t>(length);
    }
    return p;
  }
  if (b.size() >= 4 && static_cast<unsigned char>(b[0]) == 0xFF &&
      static_cast<unsigned char>(b[1]) == 0xD8) {
    for (std::size_t at = 2; at + 9 < b.size();) {
      if (static_cast<unsigned char>(b[at]) != 0xFF) break;
      const unsigned marker = static_cast<unsigned char>(b[at + 1]);
      const std::size_t length =
          (static_cast<unsigned char>(b[at + 2]) << 8) | static_cast<unsigned char>(b[at + 3]);
      const bool frame =
          marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
      if (frame) {
        p.known = true;
        p.height =
            (static_cast<unsigned char>(b[at + 5]) << 8) | static_cast<unsigned char>(b[at + 6]);
        p.width =
            (static_cast<unsigned char>(b[at + 7]) << 8) | static_cast<unsigned char>(b[at + 8]);
        return p;
      }
      at += 2 + length;
    }
  }
  return p;
}

std::string storeName(const std::string& os) {
  return os == "android" ? "Google Play" : "the App Store";
}

std::string megabytes(std::size_t bytes) {
  char text[32];
  std::snprintf(text, sizeof text, "%.1f MB", static_cast<double>(bytes) / (1024.0 * 1024.0));
  return text;
}

std::string sizeWords(int w, int h) {
  return std::to_string(w) + "\u00d7" + std::to_string(h);
}

std::string sizesOf(const std::string& os) {
  std::string list;
  for (const auto& s : storeSizes(os)) {
    if (!list.empty()) list += ", ";
    list += s.name();
  }
  return list;
}

// Whether `word` stands alone in `text` (ASCII letters around it don't count as alone).
bool hasWord(const std::string& lower, const std::string& word) {
  for (std::size_t at = lower.find(word); at != std::string::npos; at = lower.find(word, at + 1)) {
    const bool before = at == 0 || !std::isalnum(static_cast<unsigned char>(lower[at - 1]));
    const std::size_t end = at + word.size();
    const bool after = end >= lower.size() || !std::isalnum(static_cast<unsigned char>(lower[end]));
    if (before && after) return true;
  }
  return false;
}

}  // namespace

void StoreCheck::addImage(const std::string& os, const std::string& locale, const std::string& page,
                          const std::string& bytes) {
  ++images_;
  const std::string where = os + " " + locale + " " + page;
  const Picture p = inspect(bytes);
  if (!p.known) {
    reject(where + ": isn't a PNG or JPEG picture; the stores take only those.");
    return;
  }
  std::string storeClass = "other sizes";
  if (os == "android") {
    const int shortSide = std::min(p.width, p.height);
    const int longSide = std::max(p.width, p.height);
    const double aspect = shortSide > 0 ? static_cast<double>(longSide) / shortSide : 0;
    if (shortSide < playMinSide || longSide > playMaxSide || aspect > playMaxAspect + 1e-9) {
      char ratio[16];
      std::snprintf(ratio, sizeof ratio, "%.2f:1", aspect);
      reject(where + ": " + sizeWords(p.width, p.height) + " (" + ratio +
             ") isn't a size Google Play takes: each side 320 to 3840 px, the long side at most "
             "2.3 times the short one.");
    }
    if (auto size = storeSizeOf(os, p.width, p.height)) storeClass = size->storeClass;
    const bool featured = p.width * 16 == p.height * 9 && p.width >= 1080;
    if (!featured && !notFeatured_) {
      notFeatured_ = true;
      advise(where + ": " + sizeWords(p.width, p.height) +
             " isn't 9:16 of at least 1080\u00d71920, so Google Play won't feature these "
             "screenshots in its promotions. Export with --size 1080x1920 for that.");
    }
  } else if (auto size = storeSizeOf(os, p.width, p.height)) {
    storeClass = size->storeClass;
  } else {
    reject(where + ": " + sizeWords(p.width, p.height) +
           " isn't an iPhone size the App Store takes. The sizes are " + sizesOf(os) + ".");
  }
  if (p.alpha) {
    reject(where + ": has an alpha channel, and " + storeName(os) +
           " rejects screenshots with transparency. Export it again opaque.");
  }
  if (bytes.size() > maxBytes) {
    reject(where + ": is " + megabytes(bytes.size()) +
           "; the stores take at most 8 MB per screenshot.");
  }
  ++counts_[{os, locale}][storeClass];
}

void StoreCheck::addCopy(const std::string& locale, const std::string& page,
                         const std::optional<std::string>& title,
                         const std::vector<std::string>& copyIssues) {
  const std::string where = locale + " " + page;
  for (const std::string& issue : copyIssues)
    advise(where + ": " + issue);
  if (!title) return;
  const std::string lower = platform::asciiLower(*title);
  if (lower.find("#1") != std::string::npos || hasWord(lower, "no. 1") ||
      hasWord(lower, "number one") || hasWord(lower, "best")) {
    advise(where +
           ": the title claims to be the best or number one; the stores reject ranking claims "
           "they can't verify.");
  }
}

void StoreCheck::addCaption(const std::string& locale, const std::string& page, double share) {
  if (share <= playMaxCaption) return;
  advise("android " + locale + " " + page + ": the caption covers " +
         std::to_string(static_cast<int>(std::lround(share * 100))) +
         " % of the image; Google Play advises at most 20 %.");
}

std::vector<StoreFinding> StoreCheck::findings() const {
  std::vector<StoreFinding> all = found_;
  for (const auto& [key, classes] : counts_) {
    const auto& [os, locale] = key;
    if (os == "android") {
      std::size_t total = 0;
      for (const auto& [name, n] : classes)
        total += n;
      if (total < playMin || total > playMax) {
        all.push_back({true, os + " " + locale + ": " + std::to_string(total) +
                                 (total == 1 ? " screenshot" : " screenshots") +
                                 "; Google Play needs at least 2 and takes at most 8."});
      }
      continue;
    }
    for (const auto& [name, n] : classes) {
      if (n > appStoreMaxPerClass) {
        all.push_back({true, os + " " + locale + ": " + std::to_string(n) + " screenshots of " +
                                 name + "; the App Store takes at most 10 per size."});
      }
    }
  }
  return all;
}

}  // namespace vells::rendering
