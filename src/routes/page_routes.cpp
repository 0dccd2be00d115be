#include "routes/page_routes.h"

#include "backend/file_io.h"
#include "backend/header_value.h"
#include "backend/images.h"
#include "backend/local_backend.h"
#include "backend/mime.h"
#include "backend/request_params.h"
#include "backend/sets.h"
#include "backend/url_request.h"
#include "rendering/composite.h"

namespace vells::routes {

using rendering::CompositeRequest;
using rendering::Compositor;
using rendering::HTMLRenderer;
using rendering::Plan;

namespace fs = std::filesystem;
using backend::Failure;
using backend::LocalBackend;
using backend::Request;
using backend::Response;

namespace {

// The query every page route reads, with its fallbacks.
struct PageQuery {
  std::string set, page, os, theme, locale;
  bool fresh, dl, thumb;

  explicit PageQuery(const Request& r)
      : set(r.param("set", "default")),
        page(r.param("page", "home")),
        os(backend::osParam(r)),
        theme(backend::themeParam(r)),
        locale(r.param("locale", "en")),
        fresh(r.param("fresh") == "1"),
        dl(r.param("dl") == "1"),
        thumb(r.param("thumb") == "1") {}

  JSONValue args() const {
    return JSONValue::Object{
        {"set", set}, {"page", page}, {"os", os}, {"theme", theme}, {"locale", locale}};
  }
};

std::string url(const std::string& path,
                const std::vector<std::pair<std::string, std::string>>& q) {
  std::string out = path;
  char sep = '?';
  for (const auto& [k, v] : q) {
    out += sep + k + "=" + backend::percentEncode(v);
    sep = '&';
  }
  return out;
}

Response bytesAs(std::string body, const std::string& mime) {
  Response r;
  r.mime = mime;
  r.body = std::move(body);
  return r;
}

// A built-in page's plan as the routes outside the composite ask for it.
Plan planOf(Compositor& c, LocalBackend& b, const PageQuery& q, const backend::PageRow& row) {
  JSONValue args = q.args();
  args["isUploaded"] = false;
  args["builtin"] = Compositor::builtinOf(row, q.page);
  return Plan::of(b.core().callWithDocs("pagePlan", c.documents(q.set), args), q.set, q.page);
}

Response preview(HTMLRenderer& renderer, LocalBackend& b, const Request& request) {
  const PageQuery q(request);
  auto row = backend::pageOf(b, q.set, q.page);
  if (!row) return Response::notFound();
  Compositor c(b, renderer);
  std::optional<std::string> html;
  if (row->source == "builtin") {
    JSONValue args = q.args();
    args["builtin"] = Compositor::builtinOf(row, q.page);
    html = b.core().stringWithDocs("previewHtml", c.documents(q.set), args);
  } else {
    auto screen = backend::findScreen(b.library(), q.set, q.page, q.os, q.locale, q.theme);
    JSONValue imageUrl = screen ? JSONValue(url("/api/screen", {{"set", q.set},
                                                                {"page", q.page},
                                                                {"os", q.os},
                                                                {"locale", q.locale},
                                                                {"appearance", q.theme}}))
                                : JSONValue();
    html = b.core().string(
        "uploadPreviewHtml",
        JSONValue::Object{{"label", row->label}, {"theme", q.theme}, {"imageUrl", imageUrl}});
  }
  if (!html) return Response::notFound();
  return bytesAs(std::move(*html), "text/html; charset=utf-8");
}

Response decor(HTMLRenderer& renderer, LocalBackend& b, const Request& request) {
  const PageQuery q(request);
  auto row = backend::pageOf(b, q.set, q.page);
  if (!row) return Response::error("Unknown page", 404);
  JSONValue body = LocalBackend::json(request.body);
  if (!body.isObject()) body = JSONValue::Object{};
  const JSONValue* styleValue = body.find("style");
  JSONValue style = styleValue && styleValue->isObject() ? *styleValue : JSONValue::Object{};
  JSONValue hero;
  const JSONValue* decorValue = style.find("decor");
  if (!decorValue || (decorValue->isString() && *decorValue->asString() == "playful")) {
    Compositor c(b, renderer);
    const Plan plan = planOf(c, b, q, *row);
    const fs::path output = b.library().output();
    auto bytes = plan.heroCaptures.hero.empty()
                     ? std::nullopt
                     : backend::readFile(output / plan.heroCaptures.hero);
    std::optional<JSONValue> record;
    if (!plan.heroCaptures.heroRect.empty()) {
      if (auto text = backend::readFile(output / plan.heroCaptures.heroRect)) {
        record = JSONValue::tryParse(*text);
        if (record && !record->isObject()) record.reset();
      }
    }
    if (bytes && record) {
      hero = JSONValue::Object{{"rect", *record},
                               {"uri", url("/api/hero", {{"set", q.set},
                                                         {"page", q.page},
                                                         {"os", q.os},
                                                         {"theme", q.theme},
                                                         {"locale", q.locale}})},
                               {"aspect", backend::pngAspect(*bytes)}};
    }
  }
  JSONValue args = JSONValue::Object{
      {"page", q.page}, {"os", q.os}, {"theme", q.theme}, {"style", style}, {"hero", hero}};
  for (const char* key : {"hasTitle", "titleLines"}) {
    if (const JSONValue* v = body.find(key)) args[key] = *v;
  }
  auto answer = b.core().callJSON("decor", args);
  return Response::json(answer ? *answer : JSONValue::Object{});
}

Response heroRoute(HTMLRenderer& renderer, LocalBackend& b, const Request& request) {
  const PageQuery q(request);
  auto row = backend::pageOf(b, q.set, q.page);
  if (!row) return Response::notFound();
  Compositor c(b, renderer);
  const Plan plan = planOf(c, b, q, *row);
  if (plan.heroCaptures.hero.empty()) return Response::notFound();
  auto bytes = backend::readFile(b.library().output() / plan.heroCaptures.hero);
  if (!bytes) return Response::notFound();
  return bytesAs(std::move(*bytes), "image/png");
}

Response vell(HTMLRenderer& renderer, LocalBackend& b, const Request& request) {
  const PageQuery q(request);
  auto row = backend::pageOf(b, q.set, q.page);
  if (!row) return Response::notFound();
  Compositor c(b, renderer);
  if (row->source != "builtin") {
    auto screen = backend::findScreen(b.library(), q.set, q.page, q.os, q.locale, q.theme);
    auto bytes = screen ? backend::readFile(*screen) : std::nullopt;
    if (!bytes) return Response::text("No screen uploaded for this page", 404);
    return bytesAs(std::move(*bytes), backend::mimeForExtension(screen->string()));
  }
  const Plan plan = planOf(c, b, q, *row);
  const fs::path file = b.library().output() / plan.vell;
  std::error_code ec;
  if (!q.fresh && fs::exists(file, ec)) {
    auto bytes = backend::readFile(file);
    if (!bytes) return Response::notFound();
    return bytesAs(std::move(*bytes), "image/png");
  }
  JSONValue args = q.args();
  args["builtin"] = Compositor::builtinOf(row, q.page);
  auto html = b.core().stringWithDocs("pageHtml", c.documents(q.set), args);
  if (!html) return Response::notFound();
  backend::writeFileAtomically(file, renderer.renderDevice(*html, c.deviceSize(q.os), 3.0));
  auto bytes = backend::readFile(file);
  if (!bytes) return Response::notFound();
  return bytesAs(std::move(*bytes), "image/png");
}

Response compositeRoute(HTMLRenderer& renderer, LocalBackend& b, const Request& request) {
  const PageQuery q(request);
  if (!backend::pageOf(b, q.set, q.page)) return Response::notFound();
  // A store size is asked for by name; the cache's own size has a thumbnail,
  // the others don't.
  std::optional<rendering::StoreSize> size;
  if (const std::string name = request.param("size"); !name.empty()) {
    try {
      size = rendering::parseStoreSize(q.os, name);
    } catch (const rendering::StoreSizeError& e) {
      return Response::text(e.what(), 400);
    }
  }
  const bool wantThumb = q.thumb && !q.dl && !size;
  Compositor c(b, renderer);
  CompositeRequest cr;
  cr.set = q.set;
  cr.page = q.page;
  cr.os = q.os;
  cr.theme = q.theme;
  cr.locale = q.locale;
  cr.fresh = q.fresh;
  cr.thumbOnly = wantThumb;
  cr.size = size;
  auto result = c.composite(cr);
  if (!result) return Response::notFound();
  Response r;
  if (wantThumb) {
    if (auto thumb = backend::readFile(result->thumbPath)) {
      r.body = std::move(*thumb);
      r.mime = "image/jpeg";
      r.headers["ETag"] = "\"thumb-" + result->filename + "\"";
      return r;
    }
  }
  const std::string etag = "\"" + result->filename + "\"";
  // The name changes with the content, so a client holding this tag holds these bytes.
  if (request.ifNoneMatch == etag && !q.dl) {
    r.status = 304;
    r.mime = "image/png";
    r.headers["ETag"] = etag;
    return r;
  }
  auto png = backend::readFile(result->path);
  if (!png) return Response::text("Render failed", 500);
  r.body = std::move(*png);
  r.mime = "image/png";
  r.headers["ETag"] = etag;
  if (q.dl) r.headers["Content-Disposition"] = backend::attachmentDisposition(result->filename);
  return r;
}

}  // namespace

std::vector<backend::Route> pageRoutes(HTMLRenderer& renderer) {
  using Handler = Response (*)(HTMLRenderer&, LocalBackend&, const Request&);
  auto bind = [&renderer](Handler h) {
    return [&renderer, h](LocalBackend& b, const Request& r) { return h(renderer, b, r); };
  };
  return {{"GET", "/preview", bind(&preview)},
          {"POST", "/api/decor", bind(&decor)},
          {"GET", "/api/hero", bind(&heroRoute)},
          {"GET", "/vell", bind(&vell)},
          {"GET", "/composite", bind(&compositeRoute)}};
}

}  // namespace vells::routes
