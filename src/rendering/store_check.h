#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace vells::rendering {

// One thing a store would say about a set: a rejection (the upload fails) or
// advice (the store dislikes it or won't feature it). The sentence names the
// platform, locale and page it is about.
struct StoreFinding {
  bool rejected = false;
  std::string sentence;
};

// Checks a set's images against the stores' rules before an upload: each
// image's size class, exact size, alpha, aspect ratio and bytes; the count
// per locale; and, when the page's copy is known, the claims the stores
// dislike and how much of a Google Play image the caption takes.
class StoreCheck {
 public:
  static constexpr std::size_t maxBytes = 8 * 1024 * 1024;
  static constexpr double playMaxAspect = 2.3;
  static constexpr int playMinSide = 320, playMaxSide = 3840;
  static constexpr std::size_t appStoreMaxPerClass = 10;
  static constexpr std::size_t playMin = 2, playMax = 8;
  static constexpr double playMaxCaption = 0.20;

  // One image as it would be uploaded. `page` names it in the sentences.
  void addImage(const std::string& os, const std::string& locale, const std::string& page,
                const std::string& bytes);

  // A page's copy in one locale: its title and the copy issues the text check
  // found in it. Copy is the same on both platforms, so it is told once.
  void addCopy(const std::string& locale, const std::string& page,
               const std::optional<std::string>& title, const std::vector<std::string>& copyIssues);

  // The share of a Google Play image its measured caption covers.
  void addCaption(const std::string& locale, const std::string& page, double share);

  // Every finding so far, with the counts per locale, in the order found.
  std::vector<StoreFinding> findings() const;

  std::size_t images() const { return images_; }

 private:
  void reject(std::string sentence) { found_.push_back({true, std::move(sentence)}); }
  void advise(std::string sentence) { found_.push_back({false, std::move(sentence)}); }

  std::vector<StoreFinding> found_;
  // (os, locale) → the size class → how many images.
  std::map<std::pair<std::string, std::string>, std::map<std::string, std::size_t>> counts_;
  bool notFeatured_ = false;
  std::size_t images_ = 0;
};

}  // namespace vells::rendering
