#pragma once

#include <optional>
#include <stdexcept>
#include <string>

#include "document/json_value.h"
#include "platform/error.h"

namespace vells::rendering {

// A rectangle in CSS pixels of the loaded page.
struct Rect {
  double x = 0, y = 0, width = 0, height = 0;

  JSONValue json() const {
    return JSONValue::Object{{"x", x}, {"y", y}, {"width", width}, {"height", height}};
  }
  friend bool operator==(const Rect&, const Rect&) = default;
};

struct CSSSize {
  double width = 0, height = 0;
};

class RenderError : public Error {
 public:
  enum class Kind { load, missing, snapshot, engine };

  static RenderError load(const std::string& reason) {
    return RenderError(Kind::load, "The page failed to load: " + reason);
  }
  static RenderError missing(const std::string& selector) {
    return RenderError(Kind::missing, selector + " was not found in the rendered page.");
  }
  static RenderError snapshot() {
    return RenderError(Kind::snapshot, "The headless browser returned no image.");
  }
  // The browser itself failed (a script error in the page, a time-out, a crash
  // outside a load): its own words.
  static RenderError engine(const std::string& message) {
    return RenderError(Kind::engine, message);
  }
  Kind kind() const { return kind_; }

 private:
  RenderError(Kind kind, const std::string& message) : Error(message), kind_(kind) {}
  Kind kind_;
};

// One loaded page in the render engine, as the effects flattening and the
// capture steps use it. Implemented by the browser's slots; tests may fake it.
class PageSlot {
 public:
  virtual ~PageSlot() = default;

  // Runs `body` as the body of an async function in the page (it may `await`
  // and `return`) and answers the returned value as JSON; undefined is null.
  // A script error throws RenderError::engine with the page's message.
  virtual JSONValue run(const std::string& body) = 0;

  // A PNG of `rect` exactly round(pixelWidth) wide and
  // round(pixelWidth × height ÷ width) high: RGB without alpha when `opaque`,
  // RGBA (straight alpha, as PNG stores it) otherwise. Sizes below 1 pixel
  // throw RenderError::snapshot.
  virtual std::string capturePNG(const Rect& rect, double pixelWidth, bool opaque) = 0;
};

}  // namespace vells::rendering
