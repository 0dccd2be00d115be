#include <filesystem>

#include "backend/file_io.h"
#include "backend/ids.h"
#include "backend/images.h"
#include "backend/local_backend.h"
#include "backend/mime.h"
#include "backend/name_order.h"
#include "backend/routes.h"
#include "platform/ascii.h"

namespace vells::backend {

namespace fs = std::filesystem;

namespace {

// \.(png|jpe?g|webp)$ without regard to case.
bool isStickerName(std::string_view name) {
  const std::string lower = platform::asciiLower(name);
  for (std::string_view ext : {".png", ".jpg", ".jpeg", ".webp"}) {
    if (lower.ends_with(ext)) return true;
  }
  return false;
}

bool isFile(const fs::path& path) {
  std::error_code ec;
  return fs::is_regular_file(path, ec);
}

// A pack's folder name from a client's value. safeName keeps dots, and "." or
// ".." as a folder would reach the pack folder itself or the overlays above it.
std::string packName(std::string_view raw) {
  std::string name = safeName(raw);
  if (name == "." || name == "..") return "";
  return name;
}

// The sticker files of a folder; nested folders never count, whatever their name.
std::vector<std::string> stickersIn(const fs::path& folder) {
  std::vector<std::string> names;
  for (std::string& name : files(folder)) {
    if (isStickerName(name) && isFile(folder / name)) names.push_back(std::move(name));
  }
  return names;
}

std::optional<fs::path> stickerFile(const LocalLibrary& library, const Request& request) {
  const auto pack = request.query.find("pack");
  const auto file = request.query.find("file");
  if (pack == request.query.end() || file == request.query.end()) return std::nullopt;
  const std::string packFolder = packName(pack->second);
  const std::string fileName = safeName(file->second);
  if (packFolder.empty() || !isStickerName(fileName)) return std::nullopt;
  fs::path path = library.stickerPacks() / packFolder / fileName;
  if (!isFile(path)) return std::nullopt;
  return path;
}

Response stickerPacks(LocalBackend& backend, const Request&) {
  const fs::path root = backend.library().stickerPacks();
  std::vector<std::string> names;
  for (std::string& name : files(root)) {
    std::error_code ec;
    if (fs::is_directory(root / name, ec)) names.push_back(std::move(name));
  }
  sortForPeople(names);
  JSONValue::Array packs;
  for (const std::string& name : names) {
    JSONValue::Object pack{{"id", name}, {"name", name}};
    pack["count"] = stickersIn(root / name).size();
    packs.emplace_back(std::move(pack));
  }
  return Response::json(JSONValue::Object{{"packs", std::move(packs)}});
}

Response stickerItems(LocalBackend& backend, const Request& request) {
  const std::string pack = packName(request.param("pack"));
  const fs::path folder = backend.library().stickerPacks() / pack;
  std::error_code ec;
  if (pack.empty() || !fs::is_directory(folder, ec)) throw Failure(404, "Unknown pack");
  std::vector<std::string> names = stickersIn(folder);
  sortForPeople(names);
  JSONValue::Array items;
  for (const std::string& file : names) {
    JSONValue::Object item{{"name", fs::path(file).stem().string()}, {"file", file}};
    items.emplace_back(std::move(item));
  }
  return Response::json(JSONValue::Object{{"items", std::move(items)}});
}

Response stickerImage(LocalBackend& backend, const Request& request) {
  return serveImage(stickerFile(backend.library(), request), false);
}

// Adding to a pack that doesn't exist yet makes it.
Response addSticker(LocalBackend& backend, const Request& request) {
  const std::string pack = packName(request.param("pack"));
  const std::string name = safeName(request.param("name"));
  if (pack.empty() || name.empty() || request.body.empty()) {
    throw Failure(400, "Need pack, name and an image");
  }
  if (request.body.size() > maxImageBytes) throw Failure(413, "Image too large");
  const fs::path folder = backend.library().stickerPacks() / pack;
  fs::create_directories(folder);
  const std::string file = name + "." + mimeToExt(request.contentType);
  writeFileAtomically(folder / file, request.body);
  return Response::json(JSONValue::Object{{"ok", true}, {"file", file}});
}

// The copy in the set's layer store keeps the layer alive when the pack
// changes or goes.
Response placeSticker(LocalBackend& backend, const Request& request) {
  const auto file = stickerFile(backend.library(), request);
  const auto bytes = file ? readFile(*file) : std::nullopt;
  if (!bytes) throw Failure(404, "Unknown sticker");
  // The name ends in one of the sticker extensions, so the part after the last
  // dot is one (a file named just ".png" has no stem, but has that extension).
  const std::string name = file->filename().string();
  std::string ext = platform::asciiLower(name.substr(name.rfind('.') + 1));
  if (ext == "jpeg") ext = "jpg";
  const std::string asset =
      storeLayer(backend.library(), request.param("set", "default"), *bytes, ext);
  return Response::json(JSONValue::Object{{"ok", true}, {"asset", asset}});
}

}  // namespace

std::vector<Route> stickerRoutes() {
  return {
      {"GET", "/api/sticker-packs", &stickerPacks},
      {"GET", "/api/sticker-packs/items", &stickerItems},
      {"GET", "/api/sticker-packs/image", &stickerImage},
      {"POST", "/api/sticker-packs/items", &addSticker},
      {"POST", "/api/sticker-packs/place", &placeSticker},
  };
}

}  // namespace vells::backend
