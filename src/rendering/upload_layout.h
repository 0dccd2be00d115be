#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "platform/error.h"

namespace vells::rendering {

// The upload folder can't be written; what() says why and what to do.
class UploadLayoutError : public Error {
 public:
  using Error::Error;
};

// The folder layout the stores' upload tools read: App Store images under
// screenshots/<App Store locale>/, Google Play images under
// metadata/android/<Play locale>/images/phoneScreenshots/, each named
// NN_<page>.png. Everything is written into a hidden folder beside the
// target first and moved into place only when every image is in, so a full
// disk or a stop never leaves a folder that looks complete; a locale folder
// already there is replaced as a whole, other files in the tree are kept.
class UploadLayout {
 public:
  // Throws UploadLayoutError when the folder can't be made.
  explicit UploadLayout(std::filesystem::path root);
  ~UploadLayout();
  UploadLayout(const UploadLayout&) = delete;
  UploadLayout& operator=(const UploadLayout&) = delete;

  // The store's code for one of our locales, or empty when that store has no
  // such language (the caller reports and skips it).
  static std::string storeLocale(const std::string& os, const std::string& locale);

  // The path of an image inside the layout, relative to its root.
  static std::filesystem::path relativePath(const std::string& os, const std::string& storeLocale,
                                            std::size_t place, const std::string& page);

  // Stages one image. Throws UploadLayoutError when it can't be written.
  void add(const std::string& os, const std::string& locale, std::size_t place,
           const std::string& page, const std::string& bytes);

  // Moves every staged locale folder into place. Until then the target tree
  // is untouched; a layout never committed is removed with its staging.
  void commit();

  std::size_t count() const { return count_; }

 private:
  std::filesystem::path root_, staging_;
  std::vector<std::filesystem::path> folders_;  // staged leaf folders, relative
  std::size_t count_ = 0;
};

}  // namespace vells::rendering
