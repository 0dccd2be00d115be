#include <algorithm>
#include <filesystem>

#include "backend/file_io.h"
#include "backend/images.h"
#include "backend/local_backend.h"
#include "backend/mime.h"
#include "backend/request_params.h"
#include "backend/routes.h"
#include "backend/sets.h"
#include "platform/ascii.h"

namespace vells::backend {

namespace fs = std::filesystem;

namespace {

// What every screen route reads from its query. `os` is taken as it stands:
// these routes name files, and a file of another os is simply not found.
struct ScreenQuery {
  std::string set, page, os, locale;
  std::optional<std::string> appearance;

  explicit ScreenQuery(const Request& r)
      : set(r.param("set", "default")),
        page(r.param("page")),
        os(r.param("os", "android")),
        locale(r.param("locale")),
        appearance(appearanceParam(r)) {}

  std::optional<fs::path> find(const LocalLibrary& library) const {
    return findScreen(library, set, page, os, locale, appearance);
  }
};

// An upload body: checked before anything on disk is touched.
const std::string& imageBody(const Request& request) {
  if (request.body.empty()) throw Failure(400, "Empty image");
  if (request.body.size() > maxImageBytes) throw Failure(413, "Image too large");
  return request.body;
}

Response exists(bool found) {
  return Response::json(JSONValue::Object{{"exists", found}});
}

Response serveScreen(LocalBackend& backend, const Request& request) {
  auto file = ScreenQuery(request).find(backend.library());
  if (!file) return Response::notFound();
  auto bytes = readFile(*file);
  if (!bytes) return Response::notFound();
  Response r;
  r.mime = mimeForExtension(file->filename().string());
  r.body = std::move(*bytes);
  r.headers["Cache-Control"] = "no-cache";
  return r;
}

Response hasScreen(LocalBackend& backend, const Request& request) {
  return exists(ScreenQuery(request).find(backend.library()).has_value());
}

// Screen uploads are typed by a looser rule than mimeToExt: any type that
// mentions jpeg or webp.
std::string screenExt(std::string_view contentType) {
  if (contentType.find("jpeg") != std::string_view::npos) return "jpg";
  if (contentType.find("webp") != std::string_view::npos) return "webp";
  return "png";
}

Response uploadScreen(LocalBackend& backend, const Request& request) {
  const std::string& body = imageBody(request);
  const ScreenQuery q(request);
  storeScreen(backend.library(), q.set, q.page, q.os, q.locale, q.appearance, body,
              screenExt(request.contentType));
  return Response::ok();
}

Response deleteScreen(LocalBackend& backend, const Request& request) {
  const ScreenQuery q(request);
  removeScreen(backend.library(), q.set, q.page, q.os, q.locale, q.appearance);
  return Response::ok();
}

// The pieces of `s` between each "-", empty ones included.
std::vector<std::string> splitDashes(std::string_view s) {
  std::vector<std::string> pieces;
  for (std::size_t start = 0;;) {
    const auto dash = s.find('-', start);
    pieces.emplace_back(s.substr(start, dash - start));
    if (dash == std::string_view::npos) return pieces;
    start = dash + 1;
  }
}

Response screens(LocalBackend& backend, const Request& request) {
  const std::string set = request.param("set", "default");
  const std::vector<PageRow> pages = pagesOf(backend, set);
  const fs::path root = backend.library().screens();
  const std::pair<fs::path, JSONValue> folders[] = {
      {root, nullptr}, {root / "light", "light"}, {root / "dark", "dark"}};
  JSONValue::Array found;
  for (const auto& [folder, appearance] : folders) {
    std::vector<std::string> names = files(folder);
    std::sort(names.begin(), names.end());  // directory order is no order at all
    for (const std::string& file : names) {
      const fs::path path(file);
      const std::string ext = platform::asciiLower(path.extension().string());
      if (std::none_of(imageExtensions.begin(), imageExtensions.end(),
                       [&](std::string_view e) { return ext == "." + std::string(e); })) {
        continue;
      }
      const std::string name = path.stem().string();
      for (const PageRow& page : pages) {
        const std::string prefix = set + "-" + page.id + "-";
        if (!name.starts_with(prefix)) continue;
        std::vector<std::string> pieces = splitDashes(std::string_view(name).substr(prefix.size()));
        if (pieces.front() != "ios" && pieces.front() != "android") continue;
        JSONValue::Object entry;
        entry["page"] = page.id;
        entry["os"] = pieces.front();
        entry["locale"] = nullptr;
        if (pieces.size() > 1) {
          std::string locale = pieces[1];
          for (std::size_t i = 2; i < pieces.size(); ++i)
            locale += "-" + pieces[i];
          entry["locale"] = locale;
        }
        entry["appearance"] = appearance;
        found.emplace_back(std::move(entry));
      }
    }
  }
  return Response::json(JSONValue::Object{{"screens", std::move(found)}});
}

// Backgrounds and overlays share everything but their folder.
struct ImageQuery {
  std::string set, page, os;
  explicit ImageQuery(const Request& r)
      : set(r.param("set", "default")),
        page(r.param("page", "home")),
        os(r.param("os", "android")) {}
};

using Folder = fs::path (LocalLibrary::*)() const;

std::vector<Route> imageFamily(std::string_view path, std::string_view hasPath, Folder folder) {
  auto serve = [folder](LocalBackend& backend, const Request& request) {
    const ImageQuery q(request);
    return serveImage(findImage((backend.library().*folder)(), q.set, q.page, q.os), false);
  };
  auto has = [folder](LocalBackend& backend, const Request& request) {
    const ImageQuery q(request);
    return exists(findImage((backend.library().*folder)(), q.set, q.page, q.os).has_value());
  };
  auto replace = [folder](LocalBackend& backend, const Request& request) {
    const std::string& body = imageBody(request);
    const ImageQuery q(request);
    replaceImage((backend.library().*folder)(), q.set, q.page, q.os, body,
                 mimeToExt(request.contentType));
    return Response::ok();
  };
  auto remove = [folder](LocalBackend& backend, const Request& request) {
    const ImageQuery q(request);
    removeImage((backend.library().*folder)(), q.set, q.page, q.os);
    return Response::ok();
  };
  return {{"GET", path, serve},
          {"POST", path, replace},
          {"DELETE", path, remove},
          {"GET", hasPath, has}};
}

Response serveLayerAsset(LocalBackend& backend, const Request& request) {
  return serveImage(
      layerAsset(backend.library(), request.param("set", "default"), request.param("asset")), true);
}

Response uploadLayerAsset(LocalBackend& backend, const Request& request) {
  const std::string& body = imageBody(request);
  const std::string name = storeLayer(backend.library(), request.param("set", "default"), body,
                                      mimeToExt(request.contentType));
  return Response::json(JSONValue::Object{{"ok", true}, {"asset", name}});
}

}  // namespace

std::vector<Route> imageRoutes() {
  std::vector<Route> routes{
      {"GET", "/api/screens", &screens},
      {"GET", "/api/screen", &serveScreen},
      {"POST", "/api/screen", &uploadScreen},
      {"DELETE", "/api/screen", &deleteScreen},
      {"GET", "/api/has-screen", &hasScreen},
      {"GET", "/api/layer-asset", &serveLayerAsset},
      {"POST", "/api/layer-asset", &uploadLayerAsset},
  };
  for (auto family :
       {imageFamily("/api/background", "/api/has-background", &LocalLibrary::backgrounds),
        imageFamily("/api/overlay", "/api/has-overlay", &LocalLibrary::overlays)}) {
    for (Route& r : family)
      routes.push_back(std::move(r));
  }
  return routes;
}

}  // namespace vells::backend
