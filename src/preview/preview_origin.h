#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "document/json_value.h"

namespace vells::backend {
class LocalBackend;
}

namespace vells::preview {

// The preview page's origin in the browser. Every request of the page and of
// its screen's frame stops in the browser's Fetch domain and is answered
// here: the page itself and the core script it lays out with, and every
// other path by the backend's own routes, POST bodies included. Page and
// frame share this one origin, so the frame is never opaque to the page.
class PreviewOrigin {
 public:
  static constexpr std::string_view origin = "http://vells.localhost";
  static constexpr std::string_view pagePath = "/__vells/preview";
  static constexpr std::string_view scriptPath = "/__vells/core.js";

  PreviewOrigin(backend::LocalBackend& backend, std::string pageHTML, std::string coreScript);
  // The page and the script from the resource folder. Throws PreviewError
  // when either is missing.
  static PreviewOrigin fromResources(backend::LocalBackend& backend,
                                     const std::filesystem::path& resourceDir);

  // The address the browser opens.
  static std::string pageURL() { return std::string(origin) + std::string(pagePath); }

  // The Fetch command that ends a paused request, as {method, params}:
  // fulfilled for this origin, refused for any other. `postData` is the
  // request's body when the event didn't carry it. Safe from any thread.
  struct Command {
    std::string method;
    JSONValue params;
  };
  Command answer(const JSONValue& paused, const std::optional<std::string>& postData = {}) const;

 private:
  backend::LocalBackend* backend_;
  std::string pageHTML_;
  std::string coreScript_;
};

}  // namespace vells::preview
