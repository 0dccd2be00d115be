#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "backend/messages.h"
#include "capture/screen_import.h"
#include "document/records.h"

namespace vells::capture {

// Sends one request to the backend and gives its answer; the app passes its
// client's call, the command line the backend's `handle`.
using BackendCall = std::function<backend::Response(const backend::Request&)>;

// What an import files the pictures under.
struct ImportTarget {
  std::string set;
  DeviceOS os = DeviceOS::android;
  ThemeName theme = ThemeName::dark;
  std::vector<SetPage> pages;
  std::vector<std::string> localeCodes;

  // The set's pages and languages as the backend has them; throws vells::Error
  // with a sentence when the set doesn't exist or the backend can't answer.
  static ImportTarget load(const BackendCall& call, const std::string& set, DeviceOS os,
                           ThemeName theme);
};

struct ImportReport {
  int added = 0;
  int failed = 0;
  std::vector<std::filesystem::path> unused;
  // One sentence per picture that failed, saying why and what to do.
  std::vector<std::string> problems;
  // The one line for the person.
  std::string summary;

  // The summary, then each problem on a line of its own.
  std::string text() const;
};

// Uploads a drop's pictures one at a time as the screens its plan gives. A
// failed picture is counted and explained; the ones before and after it stay
// imported.
class ScreenImporter {
 public:
  // Larger than any phone's screenshot by far: a file this big is the wrong file.
  static constexpr std::uintmax_t kMaxBytes = std::uintmax_t{50} * 1024 * 1024;

  explicit ScreenImporter(BackendCall call) : call_(std::move(call)) {}

  // `progress` hears (done, total) after each picture.
  ImportReport run(const std::vector<std::filesystem::path>& dropped, const ImportTarget& target,
                   const std::function<void(int, int)>& progress = {}) const;

 private:
  // Empty when the picture was stored; otherwise the sentence why not.
  std::string upload(const screen_import::Assignment& assignment, const ImportTarget& target) const;

  BackendCall call_;
};

// Uploads one screen for (set, page, os, locale, appearance); empty when the
// backend stored it, otherwise its reason.
std::string uploadScreen(const BackendCall& call, const std::string& set, const std::string& page,
                         DeviceOS os, const std::optional<std::string>& locale,
                         ThemeName appearance, std::string bytes, const std::string& contentType);

}  // namespace vells::capture
