#include "rendering/upload_layout.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <random>

#include "backend/images.h"
#include "rendering/store_locales.h"

namespace vells::rendering {

namespace fs = std::filesystem;

namespace {

std::string randomSuffix() {
  std::random_device device;
  char buffer[17];
  std::snprintf(buffer, sizeof buffer, "%08x%08x", device(), device());
  return buffer;
}

std::string words(const std::error_code& ec) {
  return ec.message();
}

}  // namespace

UploadLayout::UploadLayout(fs::path root) : root_(std::move(root)) {
  std::error_code ec;
  fs::create_directories(root_, ec);
  if (ec || !fs::is_directory(root_))
    throw UploadLayoutError("Couldn't make the folder " + root_.string() + " (" + words(ec) +
                            "). Choose a folder you can write to.");
  staging_ = root_ / (".vellora-upload-" + std::to_string(::getpid()) + "-" + randomSuffix());
  if (!fs::create_directory(staging_, ec) || ec)
    throw UploadLayoutError("Couldn't write into " + root_.string() + " (" + words(ec) +
                            "). Choose a folder you can write to.");
}

UploadLayout::~UploadLayout() {
  std::error_code ec;
  fs::remove_all(staging_, ec);
}

std::string UploadLayout::storeLocale(const std::string& os, const std::string& locale) {
  auto code = os == "android" ? playLocale(locale) : appStoreLocale(locale);
  return code.value_or("");
}

fs::path UploadLayout::relativePath(const std::string& os, const std::string& storeLocale,
                                    std::size_t place, const std::string& page) {
  char number[24];
  std::snprintf(number, sizeof number, "%02zu", place);
  const std::string file = std::string(number) + "_" + page + ".png";
  if (os == "android")
    return fs::path("metadata") / "android" / storeLocale / "images" / "phoneScreenshots" / file;
  return fs::path("screenshots") / storeLocale / file;
}

void UploadLayout::add(const std::string& os, const std::string& locale, std::size_t place,
                       const std::string& page, const std::string& bytes) {
  const std::string code = storeLocale(os, locale);
  if (code.empty())
    throw UploadLayoutError("The " + std::string(os == "android" ? "Google Play" : "App Store") +
                            " has no language '" + locale + "'.");
  const fs::path relative = relativePath(os, code, place, page);
  const fs::path folder = relative.parent_path();
  if (std::find(folders_.begin(), folders_.end(), folder) == folders_.end())
    folders_.push_back(folder);
  std::error_code ec;
  fs::create_directories(staging_ / folder, ec);
  try {
    if (ec) throw std::runtime_error(words(ec));
    backend::writeFileAtomically(staging_ / relative, bytes);
  } catch (const std::exception& e) {
    throw UploadLayoutError("Couldn't write " + (root_ / relative).string() + " (" + e.what() +
                            "). Nothing was changed in " + root_.string() + ".");
  }
  ++count_;
}

void UploadLayout::commit() {
  // Each locale folder is swapped whole: the old one steps aside, the new one
  // moves in, the old one goes. Renames inside one file system can't fill a disk.
  for (const fs::path& folder : folders_) {
    const fs::path target = root_ / folder;
    const fs::path old = staging_ / "replaced" / folder;
    std::error_code ec;
    fs::create_directories(target.parent_path(), ec);
    if (!ec && fs::exists(target)) {
      fs::create_directories(old.parent_path(), ec);
      if (!ec) fs::rename(target, old, ec);
    }
    if (!ec) fs::rename(staging_ / folder, target, ec);
    if (ec)
      throw UploadLayoutError("Couldn't move the images into " + target.string() + " (" +
                              words(ec) + ").");
  }
}

}  // namespace vells::rendering
