#include <map>
#include <set>

#include "backend/images.h"
#include "backend/local_backend.h"
#include "backend/request_params.h"
#include "backend/sets.h"
#include "rendering/composite.h"
#include "routes/measure_script.h"
#include "routes/text_routes.h"
#include "text/readability.h"

namespace vells::routes {

namespace {

using backend::LocalBackend;
using backend::Request;
using backend::Response;
using rendering::Compositor;
using rendering::Plan;
using text::Box;
using text::Readability;

// [left, top, width, height]; anything else is no box.
std::optional<Box> boxOf(const JSONValue* value) {
  const JSONValue::Array* a = value ? value->asArray() : nullptr;
  if (!a || a->size() != 4) return std::nullopt;
  double n[4];
  for (std::size_t i = 0; i < 4; ++i) {
    const double* d = (*a)[i].asNumber();
    if (!d) return std::nullopt;
    n[i] = *d;
  }
  return Box{n[0], n[1], n[2], n[3]};
}

// The style's text layers that the page drew, each with its measured box.
std::vector<Readability::TextLayer> measuredTextLayers(const JSONValue::Object& style,
                                                       const JSONValue& report) {
  std::map<std::string, std::optional<Box>, std::less<>> boxes;
  if (const JSONValue* measured = report.find("layers"); measured && measured->isArray()) {
    for (const JSONValue& layer : *measured->asArray()) {
      if (auto id = layer.stringAt("id")) boxes[*id] = boxOf(layer.find("box"));
    }
  }
  std::vector<Readability::TextLayer> out;
  auto layers = style.find("layers");
  if (layers == style.end() || !layers->second.isArray()) return out;
  std::set<std::string, std::less<>> taken;
  for (const JSONValue& layer : *layers->second.asArray()) {
    auto id = layer.stringAt("id");
    if (!id || layer.stringAt("kind") != "text") continue;
    auto box = boxes.find(*id);
    if (box == boxes.end() || !box->second || !taken.insert(*id).second) continue;
    out.push_back(
        {*id, layer.stringAt("text").value_or(""), layer.stringAt("color"), *box->second});
  }
  return out;
}

Response textFit(rendering::HTMLRenderer& renderer, LocalBackend& b, const Request& request) {
  const std::string set = request.param("set", "default");
  const std::string page = request.param("page", "home");
  const std::string os = backend::osParam(request);
  const std::string locale = request.param("locale", "en");
  const auto row = backend::pageOf(b, set, page);
  if (!row) return Response::notFound();

  Compositor compositor(b, renderer);
  const backend::Documents docs = compositor.documents(set);
  const JSONValue common = JSONValue::Object{{"set", set},
                                             {"page", page},
                                             {"os", os},
                                             {"theme", backend::themeParam(request)},
                                             {"locale", locale},
                                             {"isUploaded", row->source == "upload"},
                                             {"builtin", Compositor::builtinOf(row, page)}};
  const Plan plan = Plan::of(b.core().callWithDocs("pagePlan", docs, common), set, page);

  // Measuring needs no pictures but the layers': the phone is drawn empty.
  JSONValue htmlArgs = common;
  htmlArgs["pageLabel"] = row->label;
  htmlArgs["layerUris"] = compositor.layerUris(set, plan.style);
  for (const char* key : {"phone", "hero", "background", "overlay"})
    htmlArgs[key] = JSONValue();
  const std::string html = b.core().stringWithDocs("compositeHtml", docs, htmlArgs).value_or("");
  const rendering::CSSSize canvas = compositor.canvasSize(os);
  std::string measured = renderer.measureText(html, canvas, std::string(kMeasureScript));

  auto report = JSONValue::tryParse(measured);
  if (!report || !report->isObject()) {
    Response r;
    r.mime = "application/json";
    r.body = std::move(measured);
    return r;
  }

  std::optional<Box> titleBox;
  if (const JSONValue* title = report->find("title")) titleBox = boxOf(title->find("box"));
  const bool hasBackgroundImage =
      backend::findImage(b.library().backgrounds(), set, page, os).has_value();
  const Readability::Contrast contrast = Readability::contrastIssues(
      plan.style, plan.title, titleBox, measuredTextLayers(plan.style, *report),
      {canvas.width, canvas.height}, hasBackgroundImage);

  JSONValue::Array issues;
  if (const JSONValue* own = report->find("issues"); own && own->isArray()) {
    issues = *own->asArray();
  }
  for (const std::string& s : contrast.issues)
    issues.emplace_back(s);
  for (const std::string& s : Readability::copyIssues(plan.title, locale))
    issues.emplace_back(s);
  JSONValue::Array fixes;
  for (const Readability::ColorFix& fix : contrast.fixes)
    fixes.push_back(fix.json());
  (*report)["issues"] = std::move(issues);
  (*report)["colorFixes"] = std::move(fixes);
  return Response::json(*report);
}

}  // namespace

std::vector<backend::Route> textRoutes(rendering::HTMLRenderer& renderer) {
  return {{"GET", "/api/text-fit",
           [&renderer](LocalBackend& b, const Request& r) { return textFit(renderer, b, r); }}};
}

}  // namespace vells::routes
