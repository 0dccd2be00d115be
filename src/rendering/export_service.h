#pragma once

#include <chrono>
#include <cstddef>
#include <exception>
#include <functional>
#include <optional>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <vector>

#include "backend/local_backend.h"
#include "rendering/html_renderer.h"
#include "rendering/store_size.h"

namespace vells::rendering {

// What one archive holds: a set in one os and theme, one locale or all.
struct ExportRequest {
  std::string set = "default";
  std::string os = "ios";
  std::string theme = "light";
  std::string locale;                    // empty: every locale of the set, one folder each
  std::vector<std::string> skipLocales{};  // of every locale, those left out
  std::optional<StoreSize> size{};         // absent: the render cache's own size
};

// One finished image of an export, handed over in archive order.
struct ExportImage {
  std::string locale, page;
  std::size_t place = 0;  // 1-based, in the locale's page order
  std::string name;       // the archive entry's name
  const std::string& bytes;
};

// One image of an export, told once it is settled.
struct ExportProgress {
  enum class Outcome { added, leftOut };
  std::size_t done = 0, total = 0;
  std::string locale, page;
  Outcome outcome = Outcome::added;
  std::chrono::milliseconds took{0};  // the render, or the cache read
};

// A finished archive and the name it is offered under.
struct ExportArchive {
  std::string bytes;
  std::size_t entries = 0;
  std::string fileName;  // <set>[-<locale>]-<os>-<theme>.zip
};

// An export that can't begin; what() is the sentence for the user.
class ExportRefused : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// A page's render failed, so the export failed as a whole. cause() is the
// engine's or the script's own error, for callers that answer by its kind.
class ExportPageFailed : public std::runtime_error {
 public:
  ExportPageFailed(const std::string& what, std::exception_ptr cause)
      : std::runtime_error(what), cause_(std::move(cause)) {}
  const std::exception_ptr& cause() const { return cause_; }

 private:
  std::exception_ptr cause_;
};

// The caller asked the export to stop; nothing was made.
class ExportStopped : public std::runtime_error {
 public:
  ExportStopped() : std::runtime_error("The export was stopped.") {}
};

// An archive entry's name: the folder ("" or "<locale>/"), the 1-based place
// with at least two digits, the page id.
std::string exportEntryName(const std::string& folder, std::size_t place, const std::string& page);

// A set's finished store images as one ZIP archive, in each locale's page
// order, rendering what the cache lacks. The first failed page stops the rest
// and fails the export; a page with nothing to draw is left out and its
// number isn't given to another.
//
// Blocking: run() renders on the calling thread and on the backend's executor
// (as interactive work, one render slot each) and returns the whole archive.
// It returns early, with ExportStopped, once `stop` is requested and the
// renders under way have ended.
class ExportService {
 public:
  // Told on the calling thread, in archive order.
  using Progress = std::function<void(const ExportProgress&)>;

  ExportService(backend::LocalBackend& backend, HTMLRenderer& renderer);

  ExportArchive run(const ExportRequest& request, const Progress& progress = {},
                    const std::stop_token& stop = {});

  // The same renders, each finished image handed to `sink` on the calling
  // thread in archive order instead of into an archive. Returns how many.
  using Sink = std::function<void(const ExportImage&)>;
  std::size_t write(const ExportRequest& request, const Sink& sink, const Progress& progress = {},
                    const std::stop_token& stop = {});

 private:
  backend::LocalBackend& backend_;
  HTMLRenderer& renderer_;
};

}  // namespace vells::rendering
