#include <filesystem>

#include "backend/file_io.h"
#include "backend/local_backend.h"
#include "backend/routes.h"
#include "platform/ascii.h"

namespace vells::backend {

namespace {

std::string assetMime(const std::string& name) {
  const std::string ext = platform::asciiLower(std::filesystem::path(name).extension().string());
  if (ext == ".woff2") return "font/woff2";
  if (ext == ".ttf") return "font/ttf";
  if (ext == ".png") return "image/png";
  if (ext == ".svg") return "image/svg+xml";
  if (ext == ".webp") return "image/webp";
  return "application/octet-stream";
}

// Serves a file of the script's assets. Only names the catalogue lists are
// reachable, so no path in a request can lead anywhere else.
Response asset(LocalBackend& backend, std::string_view rest, const char* catalogKey,
               const char* folder) {
  const std::string name(rest);
  if (!backend.catalog().files(catalogKey).contains(name)) return Response::notFound();
  auto root = backend.core().assetsRoot();
  if (!root) return Response::notFound();
  auto bytes = readFile(*root / folder / name);
  if (!bytes) return Response::notFound();
  Response r;
  r.mime = assetMime(name);
  r.body = std::move(*bytes);
  r.headers["Cache-Control"] = "public, max-age=31536000, immutable";
  return r;
}

Response font(LocalBackend& backend, const Request&, std::string_view rest) {
  return asset(backend, rest, "fontFiles", "fonts");
}

Response pattern(LocalBackend& backend, const Request&, std::string_view rest) {
  return asset(backend, rest, "patterns", "pattern");
}

}  // namespace

std::vector<PrefixRoute> assetRoutes() {
  return {{"GET", "/fonts/", &font}, {"GET", "/pattern/", &pattern}};
}

}  // namespace vells::backend
