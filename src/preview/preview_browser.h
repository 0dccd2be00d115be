#pragma once

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "document/json_value.h"

namespace vells::platform {
class DevToolsClient;
}

namespace vells::preview {

// The preview's own headless browser: one page with its requests held for
// the origin, two bindings for the page's messages, and a screencast of JPEG
// frames. The browser draws at `ratio` device pixels per CSS pixel, so frames
// arrive in device pixels. Handlers run on the browser's reader thread and
// must not block.
//
// Blocking: construction starts the browser (well under a second); the
// calls wait for the browser, each within its limit, and throw
// platform::DevToolsError when it doesn't answer or went away.
class PreviewBrowser {
 public:
  struct Handlers {
    // A screencast frame, already acknowledged: JPEG bytes.
    std::function<void(std::string jpeg)> frame;
    // A binding the page called: "vellsReady", "vellsRects" or "vellsPainted",
    // with its text.
    std::function<void(const std::string& name, const std::string& payload)> message;
    // A request of the page, held until it is answered through send().
    std::function<void(const JSONValue& paused)> request;
    // The page's renderer died.
    std::function<void()> crashed;
  };

  PreviewBrowser(const std::filesystem::path& executable, double ratio, Handlers handlers,
                 std::chrono::milliseconds limit);
  ~PreviewBrowser();
  PreviewBrowser(const PreviewBrowser&) = delete;
  PreviewBrowser& operator=(const PreviewBrowser&) = delete;

  // Opens `url` in the page and starts the screencast.
  void open(const std::string& url);
  // The page's viewport in CSS pixels; a size it has costs nothing.
  void setViewport(int width, int height);
  // Runs `script` in the page and returns when it has run.
  void evaluate(const std::string& script);
  // The viewport now, as a JPEG in device pixels.
  std::string captureJPEG(int quality);
  // A command of the page's session whose answer nobody waits for.
  bool send(const std::string& method, const JSONValue& params);
  // Fetch.getRequestPostData, for a body the paused event didn't carry.
  std::string postData(const std::string& requestId);

  bool alive() const;
  pid_t pid() const;
  std::weak_ptr<platform::DevToolsClient> client() const { return browser_; }

 private:
  JSONValue call(const std::string& method, const JSONValue& params);

  std::shared_ptr<platform::DevToolsClient> browser_;
  std::chrono::milliseconds limit_;
  std::string targetId_;
  std::string sessionId_;
  int width_ = 0;
  int height_ = 0;
};

}  // namespace vells::preview
