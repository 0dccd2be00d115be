#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include "backend/core_script.h"
#include "backend/local_backend.h"
#include "document/json_value.h"
#include "rendering/html_renderer.h"
#include "rendering/store_size.h"

namespace vells::rendering {

// File names of the capture stage, relative to the render cache.
struct CaptureNames {
  std::string hero, heroRect, phone;

  // dict[name] read as a string map; missing names are "".
  static CaptureNames of(const JSONValue& dict, const std::string& name);
};

// What the script decides about a page before anything is drawn.
struct Plan {
  JSONValue::Object style;
  std::optional<std::string> title;
  bool withHero = false;
  CaptureNames captures, heroCaptures;
  std::string vell;

  // An absent or ill-shaped answer is an empty plan.
  static Plan of(const std::optional<JSONValue>& answer, const std::string& set,
                 const std::string& page);
};

struct CompositeResult {
  std::filesystem::path path;
  std::string filename;
  std::filesystem::path thumbPath;
  bool ready = false;
};

struct CompositeRequest {
  std::string set = "default", page = "home", os = "android", theme = "dark", locale = "en";
  bool fresh = false;      // redo the stages even if files exist
  bool check = false;      // render nothing, only tell what is there
  bool thumbOnly = false;  // the thumbnail is wanted, not the PNG
  // A store size to draw at; absent, the cache's own size. A size of another
  // aspect extends the background; such an image gets no thumbnail.
  std::optional<StoreSize> size{};
  // Background work gets slots and the script only when no interactive work waits.
  platform::Priority priority = platform::Priority::interactive;
};

// Makes the finished store image of a page and its thumbnail in the render
// cache, reusing every file whose name the script still gives.
class Compositor {
 public:
  Compositor(backend::LocalBackend& backend, HTMLRenderer& renderer);

  // Absent: with `check`, a capture is missing; otherwise an unknown page row
  // of an uploaded page never is. Throws Failure (404 "Unknown page"),
  // CoreError, RenderError or file-system errors.
  std::optional<CompositeResult> composite(const CompositeRequest& request);

  // The built-in screen a page draws: its row's builtinId, the row's id, or the page id.
  static std::string builtinOf(const std::optional<backend::PageRow>& row, const std::string& page);
  // Every image layer's picture as a data: URI, by asset name.
  JSONValue::Object layerUris(const std::string& set, const JSONValue::Object& style) const;
  CSSSize deviceSize(const std::string& os);
  CSSSize canvasSize(const std::string& os);

  backend::Documents documents(const std::string& set);

 private:
  backend::LocalBackend& backend_;
  HTMLRenderer& renderer_;
};

}  // namespace vells::rendering
