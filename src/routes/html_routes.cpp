#include "routes/html_routes.h"

#include <cmath>

#include "backend/images.h"
#include "backend/local_backend.h"
#include "backend/request_params.h"

namespace vells::routes {

using rendering::CSSSize;
using rendering::HTMLRenderer;
using rendering::Rect;
using rendering::RenderError;

namespace {

using backend::Failure;
using backend::LocalBackend;
using backend::Request;
using backend::Response;

JSONValue bodyObject(const Request& request) {
  JSONValue body = LocalBackend::json(request.body);
  return body.isObject() ? body : JSONValue::Object{};
}

bool isBlank(std::string_view s) {
  return s.find_first_not_of(" \t\n\r\v\f") == std::string_view::npos;
}

// The phone's CSS size from the catalogue; one missing side drops both, so a
// half-filled entry never mixes with the fallback.
CSSSize deviceSize(LocalBackend& backend, const std::string& os) {
  const JSONValue devices = backend.catalog().value("devices");
  const JSONValue* entry = devices.find(os);
  auto w = entry ? entry->numberAt("width") : std::nullopt;
  auto h = entry ? entry->numberAt("height") : std::nullopt;
  if (!w || !h) return {393, 852};
  return {*w, *h};
}

// One render of the whole viewport; the lease goes back to the pool on every path.
std::string capture(HTMLRenderer& renderer, const std::string& html, CSSSize size, double scale,
                    bool opaque) {
  HTMLRenderer::Lease slot = renderer.acquire(platform::Priority::interactive);
  slot->load(html, size);
  std::string png =
      slot->capturePNG(Rect{0, 0, size.width, size.height}, scale * size.width, opaque);
  if (png.empty()) throw RenderError::snapshot();
  return png;
}

Response screenHTML(HTMLRenderer& renderer, LocalBackend& backend, const Request& request) {
  const std::string page = request.param("page");
  const std::string html = bodyObject(request).stringAt("html").value_or("");
  if (page.empty() || isBlank(html)) throw Failure(400, "Need page and html");
  const std::string set = request.param("set", "default");
  const std::string os = backend::osParam(request);
  const std::string locale = request.param("locale");
  const auto appearance = backend::appearanceParam(request);
  // A name that can't be stored is refused before the render, not after it.
  for (const std::string* part : {&set, &page, &locale}) {
    if (!backend::isNamePart(*part)) throw Failure(400, "Names may not contain \"/\"");
  }
  const CSSSize size = deviceSize(backend, os);
  // A RenderError leaves the route as a 500 with its own description.
  const std::string png = capture(renderer, html, size, 3, true);
  backend::storeScreen(backend.library(), set, page, os, locale, appearance, png, "png");
  return Response::json(
      JSONValue::Object{{"ok", true}, {"width", 3 * size.width}, {"height", 3 * size.height}});
}

Response layerHTML(HTMLRenderer& renderer, LocalBackend& backend, const Request& request) {
  const JSONValue body = bodyObject(request);
  const std::string html = body.stringAt("html").value_or("");
  const double width = std::round(body.numberAt("width").value_or(0));
  const double height = std::round(body.numberAt("height").value_or(0));
  auto inBounds = [](double side) { return side >= 8 && side <= 1400; };
  if (isBlank(html) || !inBounds(width) || !inBounds(height)) {
    throw Failure(400, "Need html, and width and height between 8 and 1400");
  }
  std::string png;
  try {
    png = capture(renderer, html, {width, height}, 2, false);
  } catch (const RenderError&) {
    throw Failure(500, "Render failed");
  }
  const std::string name =
      backend::storeLayer(backend.library(), request.param("set", "default"), png, "png");
  return Response::json(
      JSONValue::Object{{"ok", true}, {"asset", name}, {"width", width}, {"height", height}});
}

}  // namespace

backend::RouteFamilies htmlRoutes(HTMLRenderer& renderer) {
  HTMLRenderer* r = &renderer;
  backend::RouteFamilies families;
  families.exact.push_back({"POST", "/api/screen-html", [r](LocalBackend& b, const Request& q) {
                              return screenHTML(*r, b, q);
                            }});
  families.exact.push_back({"POST", "/api/layer-html", [r](LocalBackend& b, const Request& q) {
                              return layerHTML(*r, b, q);
                            }});
  return families;
}

}  // namespace vells::routes
