#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "rendering/html_renderer.h"

namespace vells::platform {
class DevToolsClient;
}

namespace vells::rendering {

// One page target of the headless browser. The target is made on first use
// and made again when its renderer crashed or the browser was restarted. A
// page that misses its time limit (a script that never ends, a DevTools call
// that never returns) has its script stopped and is closed: the next use gets
// a new page, so hostile HTML can only ever fail its own render. Every request
// a page makes is refused; pages carry their pictures and fonts as data: URLs.
class BrowserSlot final : public RenderSlot {
 public:
  using BrowserProvider = std::function<std::shared_ptr<platform::DevToolsClient>()>;
  static constexpr std::chrono::milliseconds defaultTimeLimit = std::chrono::seconds(60);

  // `timeLimit` bounds each step of a render: loading, each script, a capture.
  explicit BrowserSlot(BrowserProvider provider,
                       std::chrono::milliseconds timeLimit = defaultTimeLimit);
  ~BrowserSlot() override;

  void load(const std::string& html, CSSSize size) override;
  std::optional<Rect> rect(const std::string& selectorLiteral) override;
  JSONValue run(const std::string& body) override;
  std::string capturePNG(const Rect& rect, double pixelWidth, bool opaque) override;
  std::string captureJPEG(const Rect& rect, double pixelWidth, int quality) override;

  // Crashes the page's renderer, as a dying web content process would.
  void crashRenderer();

 private:
  void ensureTarget();
  void closeTarget();
  // Stops whatever the page's script is doing and closes the page.
  void retire();
  JSONValue call(const std::string& method, const JSONValue& params,
                 std::chrono::milliseconds timeout = std::chrono::seconds(30));
  std::string capture(const Rect& rect, double pixelWidth, const char* format, int quality,
                      bool optimizeForSpeed, int* width, int* height);

  BrowserProvider provider_;
  std::chrono::milliseconds timeLimit_;
  std::shared_ptr<platform::DevToolsClient> browser_;
  std::string targetId_;
  std::string sessionId_;
  std::string frameId_;
  // Set from the browser's reader thread when the page's renderer dies.
  std::shared_ptr<std::atomic<bool>> crashed_ = std::make_shared<std::atomic<bool>>(false);
};

// Makes a captured image exactly `width` × `height`, and without alpha when
// `opaque` (composited over black, as drawing into an opaque bitmap does).
// Bytes that already fit pass through untouched.
std::string conformPNG(std::string png, int width, int height, bool opaque);
std::string conformJPEG(std::string jpeg, int width, int height, int quality);
// A JPEG `width` pixels wide of an opaque PNG, its height in proportion.
std::string thumbnailJPEG(const std::string& png, int width, int quality);

}  // namespace vells::rendering
