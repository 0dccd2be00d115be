#include "rendering/browser_slot.h"

#include <cmath>

#include "platform/base64.h"
#include "platform/web/devtools_client.h"
#include "rendering/page_scripts.h"

namespace vells::rendering {

using platform::DevToolsClient;
using platform::DevToolsError;

namespace {

constexpr const char* kQuit = "the web content process quit";
constexpr auto kLoadTimeout = std::chrono::seconds(60);

int roundPixels(double v) {
  return static_cast<int>(std::lround(v));
}

}  // namespace

BrowserSlot::BrowserSlot(BrowserProvider provider) : provider_(std::move(provider)) {}

BrowserSlot::~BrowserSlot() {
  closeTarget();
}

void BrowserSlot::closeTarget() {
  if (!browser_ || targetId_.empty()) return;
  browser_->unsubscribe(sessionId_);
  if (browser_->alive()) {
    try {
      browser_->call("Target.closeTarget", JSONValue::Object{{"targetId", targetId_}}, {},
                     std::chrono::seconds(5));
    } catch (const DevToolsError&) {
      // a target that can't be closed dies with its browser
    }
  }
  targetId_.clear();
  sessionId_.clear();
  frameId_.clear();
}

void BrowserSlot::ensureTarget() {
  std::shared_ptr<DevToolsClient> browser;
  try {
    browser = provider_();
  } catch (const DevToolsError& e) {
    throw RenderError::engine(e.what());
  }
  if (browser == browser_ && !targetId_.empty() && !*crashed_) return;
  closeTarget();
  browser_ = browser;
  crashed_ = std::make_shared<std::atomic<bool>>(false);
  try {
    targetId_ = *browser_->call("Target.createTarget", JSONValue::Object{{"url", "about:blank"}})
                     .stringAt("targetId");
    sessionId_ = *browser_
                      ->call("Target.attachToTarget",
                             JSONValue::Object{{"targetId", targetId_}, {"flatten", true}})
                      .stringAt("sessionId");
    std::weak_ptr<DevToolsClient> weak = browser_;
    auto crashed = crashed_;
    const std::string session = sessionId_;
    browser_->subscribe(session,
                        [weak, crashed, session](const std::string& method, const JSONValue&) {
                          if (method != "Inspector.targetCrashed") return;
                          *crashed = true;
                          if (auto b = weak.lock())
                            b->failSession(session, DevToolsError::Kind::crashed, kQuit);
                        });
    call("Inspector.enable", JSONValue::Object{});
    call("Page.enable", JSONValue::Object{});
    call("Emulation.setDefaultBackgroundColorOverride",
         JSONValue::Object{{"color", JSONValue::Object{{"r", 0}, {"g", 0}, {"b", 0}, {"a", 0}}}});
    const JSONValue tree = call("Page.getFrameTree", JSONValue::Object{});
    const JSONValue* frame =
        tree.find("frameTree") ? tree.find("frameTree")->find("frame") : nullptr;
    frameId_ = frame ? frame->stringAt("id").value_or(targetId_) : targetId_;
  } catch (const DevToolsError& e) {
    closeTarget();
    throw RenderError::engine(e.what());
  } catch (const std::bad_optional_access&) {
    closeTarget();
    throw RenderError::engine("The browser gave no page to render in.");
  }
}

JSONValue BrowserSlot::call(const std::string& method, const JSONValue& params,
                            std::chrono::milliseconds timeout) {
  return browser_->call(method, params, sessionId_, timeout);
}

void BrowserSlot::load(const std::string& html, CSSSize size) {
  ensureTarget();
  try {
    call("Emulation.setDeviceMetricsOverride",
         JSONValue::Object{{"width", roundPixels(size.width)},
                           {"height", roundPixels(size.height)},
                           {"deviceScaleFactor", 1},
                           {"mobile", false}});
    // A blank page between loads, so no picture or font of the last page is reused by URL.
    call("Page.navigate", JSONValue::Object{{"url", "about:blank"}});
    call("Page.setDocumentContent", JSONValue::Object{{"frameId", frameId_}, {"html", html}},
         kLoadTimeout);
    const JSONValue ready =
        call("Runtime.evaluate",
             JSONValue::Object{
                 {"expression", kReadyScript}, {"awaitPromise", true}, {"returnByValue", true}},
             kLoadTimeout);
    if (const JSONValue* details = ready.find("exceptionDetails")) {
      throw RenderError::load(details->stringAt("text").value_or("script error"));
    }
  } catch (const DevToolsError& e) {
    if (e.kind() == DevToolsError::Kind::crashed || *crashed_) throw RenderError::load(kQuit);
    throw RenderError::load(e.what());
  }
  if (*crashed_) throw RenderError::load(kQuit);
}

JSONValue BrowserSlot::run(const std::string& body) {
  ensureTarget();
  JSONValue reply;
  try {
    reply = call("Runtime.evaluate",
                 JSONValue::Object{{"expression", "(async () => {\n" + body + "\n})()"},
                                   {"awaitPromise", true},
                                   {"returnByValue", true}},
                 kLoadTimeout);
  } catch (const DevToolsError& e) {
    if (e.kind() == DevToolsError::Kind::crashed) throw RenderError::engine(kQuit);
    throw RenderError::engine(e.what());
  }
  if (const JSONValue* details = reply.find("exceptionDetails")) {
    const JSONValue* exception = details->find("exception");
    std::string message = exception ? exception->stringAt("description").value_or("") : "";
    if (message.empty()) message = details->stringAt("text").value_or("script error");
    throw RenderError::engine("A script in the page failed: " + message);
  }
  const JSONValue* result = reply.find("result");
  const JSONValue* value = result ? result->find("value") : nullptr;
  return value ? *value : JSONValue();
}

std::optional<Rect> BrowserSlot::rect(const std::string& selectorLiteral) {
  JSONValue v = run("const el = document.querySelector(" + selectorLiteral +
                    ");\nif (!el) return null;\nconst r = el.getBoundingClientRect();\n"
                    "return [r.x, r.y, r.width, r.height];");
  const auto* a = v.asArray();
  if (!a || a->size() != 4) return std::nullopt;
  for (const auto& e : *a) {
    if (!e.isNumber()) return std::nullopt;
  }
  return Rect{*(*a)[0].asNumber(), *(*a)[1].asNumber(), *(*a)[2].asNumber(), *(*a)[3].asNumber()};
}

std::string BrowserSlot::capture(const Rect& rect, double pixelWidth, const char* format,
                                 int quality, bool optimizeForSpeed, int* width, int* height) {
  if (!(rect.width > 0) || !(rect.height > 0)) throw RenderError::snapshot();
  const int w = roundPixels(pixelWidth);
  const int h = roundPixels(pixelWidth * rect.height / rect.width);
  if (w < 1 || h < 1) throw RenderError::snapshot();
  ensureTarget();
  const double scale = w / rect.width;
  JSONValue params = JSONValue::Object{{"format", format},
                                       {"clip", JSONValue::Object{{"x", rect.x},
                                                                  {"y", rect.y},
                                                                  {"width", rect.width},
                                                                  {"height", h / scale},
                                                                  {"scale", scale}}},
                                       {"fromSurface", true},
                                       {"captureBeyondViewport", false},
                                       {"optimizeForSpeed", optimizeForSpeed}};
  if (quality >= 0) params["quality"] = quality;
  JSONValue reply;
  try {
    reply = call("Page.captureScreenshot", params, kLoadTimeout);
  } catch (const DevToolsError& e) {
    if (e.kind() == DevToolsError::Kind::crashed) throw RenderError::engine(kQuit);
    throw RenderError::engine(e.what());
  }
  auto data = reply.stringAt("data");
  auto bytes = data ? platform::base64Decode(*data) : std::nullopt;
  if (!bytes || bytes->empty()) throw RenderError::snapshot();
  *width = w;
  *height = h;
  return std::move(*bytes);
}

std::string BrowserSlot::capturePNG(const Rect& rect, double pixelWidth, bool opaque) {
  int w = 0, h = 0;
  // Chromium's PNG encoder dominates a capture; its fast mode is worth the larger file.
  std::string png = capture(rect, pixelWidth, "png", -1, true, &w, &h);
  return conformPNG(std::move(png), w, h, opaque);
}

std::string BrowserSlot::captureJPEG(const Rect& rect, double pixelWidth, int quality) {
  int w = 0, h = 0;
  std::string jpeg = capture(rect, pixelWidth, "jpeg", quality, false, &w, &h);
  return conformJPEG(std::move(jpeg), w, h, quality);
}

void BrowserSlot::crashRenderer() {
  ensureTarget();
  try {
    call("Page.crash", JSONValue::Object{}, std::chrono::seconds(5));
  } catch (const DevToolsError&) {
    // the crash itself ends the call
  }
}

}  // namespace vells::rendering
