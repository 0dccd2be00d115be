#include "preview/preview_browser.h"

#include <cmath>
#include <sstream>

#include "platform/base64.h"
#include "platform/web/devtools_client.h"

namespace vells::preview {

using platform::DevToolsClient;
using platform::DevToolsError;

namespace {

std::string ratioFlag(double ratio) {
  std::ostringstream out;
  out << "--force-device-scale-factor=" << ratio;
  return out.str();
}

}  // namespace

PreviewBrowser::PreviewBrowser(const std::filesystem::path& executable, double ratio,
                               Handlers handlers, std::chrono::milliseconds limit)
    : browser_(
          std::make_shared<DevToolsClient>(executable, std::vector<std::string>{ratioFlag(ratio)})),
      limit_(limit) {
  targetId_ = browser_->call("Target.createTarget", JSONValue::Object{{"url", "about:blank"}})
                  .stringAt("targetId")
                  .value_or("");
  sessionId_ = browser_
                   ->call("Target.attachToTarget",
                          JSONValue::Object{{"targetId", targetId_}, {"flatten", true}})
                   .stringAt("sessionId")
                   .value_or("");
  if (targetId_.empty() || sessionId_.empty()) {
    throw DevToolsError(DevToolsError::Kind::protocol, "The browser gave no page to preview in.");
  }
  std::weak_ptr<DevToolsClient> weak = browser_;
  const std::string session = sessionId_;
  browser_->subscribe(session, [weak, session, h = std::move(handlers)](const std::string& method,
                                                                        const JSONValue& params) {
    auto b = weak.lock();
    if (!b) return;
    if (method == "Page.screencastFrame") {
      // Unacknowledged frames stop the screencast after three: answer first.
      b->send("Page.screencastFrameAck",
              JSONValue::Object{{"sessionId", params.numberAt("sessionId").value_or(0)}}, session);
      auto bytes = platform::base64Decode(params.stringAt("data").value_or(""));
      if (bytes && h.frame) h.frame(std::move(*bytes));
    } else if (method == "Runtime.bindingCalled") {
      if (h.message)
        h.message(params.stringAt("name").value_or(""), params.stringAt("payload").value_or(""));
    } else if (method == "Fetch.requestPaused") {
      if (h.request) h.request(params);
    } else if (method == "Inspector.targetCrashed") {
      b->failSession(session, DevToolsError::Kind::crashed, "the preview page quit");
      if (h.crashed) h.crashed();
    }
  });
  call("Inspector.enable", JSONValue::Object{});
  call("Page.enable", JSONValue::Object{});
  call("Runtime.enable", JSONValue::Object{});
  call("Runtime.addBinding", JSONValue::Object{{"name", "vellsReady"}});
  call("Runtime.addBinding", JSONValue::Object{{"name", "vellsRects"}});
  call("Runtime.addBinding", JSONValue::Object{{"name", "vellsPainted"}});
  call("Fetch.enable",
       JSONValue::Object{{"patterns", JSONValue::Array{JSONValue::Object{{"urlPattern", "*"}}}}});
}

PreviewBrowser::~PreviewBrowser() {
  if (browser_) browser_->unsubscribe(sessionId_);
}

JSONValue PreviewBrowser::call(const std::string& method, const JSONValue& params) {
  return browser_->call(method, params, sessionId_, limit_);
}

void PreviewBrowser::open(const std::string& url) {
  call("Page.navigate", JSONValue::Object{{"url", url}});
  // The screencast needs the page's new document in place.
  call("Runtime.evaluate", JSONValue::Object{{"expression", "1"}});
  call("Page.startScreencast", JSONValue::Object{{"format", "jpeg"},
                                                 {"quality", 80},
                                                 {"maxWidth", 16384},
                                                 {"maxHeight", 16384},
                                                 {"everyNthFrame", 1}});
}

void PreviewBrowser::setViewport(int width, int height) {
  if (width == width_ && height == height_) return;
  // A scale factor of 0 keeps the one the browser was started with.
  call("Emulation.setDeviceMetricsOverride",
       JSONValue::Object{
           {"width", width}, {"height", height}, {"deviceScaleFactor", 0}, {"mobile", false}});
  width_ = width;
  height_ = height;
}

void PreviewBrowser::evaluate(const std::string& script) {
  const JSONValue reply =
      call("Runtime.evaluate", JSONValue::Object{{"expression", script}, {"returnByValue", true}});
  if (const JSONValue* details = reply.find("exceptionDetails")) {
    throw DevToolsError(DevToolsError::Kind::protocol,
                        "The preview page failed: " + details->stringAt("text").value_or(""));
  }
}

std::string PreviewBrowser::captureJPEG(int quality) {
  const JSONValue reply =
      call("Page.captureScreenshot", JSONValue::Object{{"format", "jpeg"}, {"quality", quality}});
  auto bytes = platform::base64Decode(reply.stringAt("data").value_or(""));
  return bytes ? std::move(*bytes) : std::string();
}

bool PreviewBrowser::send(const std::string& method, const JSONValue& params) {
  return browser_->send(method, params, sessionId_);
}

std::string PreviewBrowser::postData(const std::string& requestId) {
  const JSONValue reply =
      call("Fetch.getRequestPostData", JSONValue::Object{{"requestId", requestId}});
  return reply.stringAt("postData").value_or("");
}

bool PreviewBrowser::alive() const {
  return browser_->alive();
}

pid_t PreviewBrowser::pid() const {
  return browser_->pid();
}

}  // namespace vells::preview
