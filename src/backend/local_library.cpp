#include "backend/local_library.h"

#include <cstdlib>
#include <string>

#include "backend/local_database.h"

namespace vells::backend {

namespace fs = std::filesystem;

namespace {

std::string reason(const std::error_code& ec) {
  return ec.message();
}

void makeFolder(const fs::path& folder) {
  std::error_code ec;
  fs::create_directories(folder, ec);
  if (!ec && !fs::is_directory(folder, ec)) ec = std::make_error_code(std::errc::not_a_directory);
  if (ec) {
    throw LibraryError("Couldn\u2019t create the library folder " + folder.string() + ": " +
                       reason(ec));
  }
}

std::string envOr(const char* name) {
  const char* v = std::getenv(name);
  return v ? std::string(v) : std::string();
}

}  // namespace

fs::path LocalLibrary::standardRoot() {
  std::string lib = envOr("VELLS_LIBRARY");
  if (!lib.empty()) {
    std::error_code ec;
    fs::path abs = fs::absolute(lib, ec);
    return ec ? fs::path(lib) : abs;
  }
  std::string data = envOr("XDG_DATA_HOME");
  // The XDG rules ignore a relative data home.
  if (!data.empty() && fs::path(data).is_absolute()) return fs::path(data) / "Vells";
  std::string home = envOr("HOME");
  if (home.empty()) home = ".";
  return fs::path(home) / ".local" / "share" / "Vells";
}

void LocalLibrary::prepare() const {
  for (const fs::path& folder : {root_, backgrounds(), overlays(), layers(), stickerPacks(),
                                 appIcons(), screens(), output()}) {
    makeFolder(folder);
  }
}

std::optional<fs::path> LocalLibrary::findRepo() {
  std::error_code ec;
  fs::path exe = fs::read_symlink("/proc/self/exe", ec);
  if (ec) return std::nullopt;
  return findRepo(exe);
}

std::optional<fs::path> LocalLibrary::findRepo(const fs::path& start) {
  std::error_code ec;
  fs::path dir = start;
  for (int level = 0; level < 8; ++level) {
    dir = dir.parent_path();
    if (fs::exists(dir / "packages" / "core" / "package.json", ec)) return dir;
    fs::path sibling = dir / "Orvo Tools";
    if (fs::exists(sibling / "packages" / "core" / "package.json", ec)) return sibling;
  }
  return std::nullopt;
}

void LocalLibrary::importRepo(const fs::path& repo) const {
  std::error_code ec;
  fs::path source = repo / "data" / "orvo-tools.sqlite";
  if (fs::exists(source, ec)) LocalDatabase::copyDatabase(source, databasePath());
  for (const char* folder : {"backgrounds", "overlays", "screens"}) {
    copyTree(repo / folder, root_ / folder);
  }
}

void LocalLibrary::copyTree(const fs::path& from, const fs::path& to) {
  std::error_code ec;
  fs::recursive_directory_iterator it(from, ec);
  if (ec) return;
  const fs::path base = from.lexically_normal();
  for (; it != fs::recursive_directory_iterator(); it.increment(ec)) {
    if (ec) return;
    const fs::path item = it->path();
    fs::path target = to / item.lexically_normal().lexically_relative(base);
    std::error_code typeError;
    bool isDir = it->is_directory(typeError);
    if (!typeError && isDir) {
      std::error_code mk;
      fs::create_directories(target, mk);
      if (mk) {
        throw LibraryError("Couldn\u2019t create the folder " + target.string() + ": " +
                           reason(mk));
      }
      continue;
    }
    if (fs::exists(target, ec)) continue;  // never overwrite what the library holds
    if (item.filename().string().starts_with(".")) continue;
    std::error_code cp;
    fs::create_directories(target.parent_path(), cp);
    if (!cp) fs::copy_file(item, target, cp);
    if (cp) {
      throw LibraryError("Couldn\u2019t copy " + item.string() + " to " + target.string() + ": " +
                         reason(cp));
    }
  }
}

}  // namespace vells::backend
