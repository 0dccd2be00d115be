#include "backend/images.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <initializer_list>
#include <random>
#include <stdexcept>
#include <system_error>

#include "backend/content_name.h"
#include "backend/file_io.h"
#include "backend/ids.h"
#include "backend/mime.h"

namespace vells::backend {

namespace fs = std::filesystem;

namespace {

bool isFile(const fs::path& file) {
  std::error_code ec;
  return fs::is_regular_file(file, ec);
}

// The first of `base` with each extension that exists in `folder`.
std::optional<fs::path> firstWithExtension(const fs::path& folder, const std::string& base) {
  for (std::string_view ext : imageExtensions) {
    fs::path candidate = folder / (base + "." + std::string(ext));
    if (isFile(candidate)) return candidate;
  }
  return std::nullopt;
}

[[noreturn]] void writeFailed(const fs::path& file, int error) {
  throw LibraryError("Couldn’t write " + file.string() + ": " +
                     std::system_category().message(error));
}

void makeFolder(const fs::path& folder) {
  std::error_code ec;
  fs::create_directories(folder, ec);
  if (ec) throw LibraryError("Couldn’t create the folder " + folder.string() + ": " + ec.message());
}

std::string tempName(const fs::path& file) {
  static std::atomic<unsigned> counter{0};
  thread_local std::mt19937 random{std::random_device{}()};
  return "." + file.filename().string() + "." + std::to_string(::getpid()) + "-" +
         std::to_string(counter++) + "-" + std::to_string(random()) + ".tmp";
}

void requireNameParts(std::initializer_list<std::string_view> parts) {
  for (auto part : parts) {
    if (!isNamePart(part)) throw Failure(400, "Names may not contain \"/\"");
  }
}

void removeAll(const fs::path& folder, const std::string& base, std::string_view keep = {}) {
  for (std::string_view ext : imageExtensions) {
    if (ext == keep) continue;
    std::error_code ignored;
    fs::remove(folder / (base + "." + std::string(ext)), ignored);
  }
}

// The new file is in place before the old ones go, so a failed write changes
// nothing and a reader never finds the name missing.
void replaceFile(const fs::path& folder, const std::string& base, std::string_view bytes,
                 std::string_view ext) {
  makeFolder(folder);
  writeFileAtomically(folder / (base + "." + std::string(ext)), bytes);
  removeAll(folder, base, ext);
}

}  // namespace

bool isNamePart(std::string_view part) {
  return part.find('/') == std::string_view::npos && part.find('\0') == std::string_view::npos;
}

fs::path screenDir(const LocalLibrary& library, const std::optional<std::string>& appearance) {
  if (appearance == "light" || appearance == "dark") return library.screens() / *appearance;
  return library.screens();
}

std::string screenBaseName(std::string_view set, std::string_view page, std::string_view os,
                           std::string_view locale) {
  std::string name = std::string(set) + "-" + std::string(page) + "-" + std::string(os);
  if (!locale.empty()) name += "-" + std::string(locale);
  return name;
}

std::optional<fs::path> findScreen(const LocalLibrary& library, std::string_view set,
                                   std::string_view page, std::string_view os,
                                   std::string_view locale,
                                   const std::optional<std::string>& appearance) {
  for (auto part : {set, page, os, locale}) {
    if (!isNamePart(part)) return std::nullopt;
  }
  std::vector<fs::path> folders{library.screens()};
  if (appearance == "light" || appearance == "dark") {
    const std::string other = *appearance == "light" ? "dark" : "light";
    folders = {library.screens() / *appearance, library.screens(), library.screens() / other};
  }
  const std::string plain = screenBaseName(set, page, os, "");
  // The locale's name is built even when the locale is empty: it then ends in
  // "-" and finds nothing, which keeps an empty locale from meaning "any".
  const std::string localised = plain + "-" + std::string(locale);
  for (const fs::path& folder : folders) {
    if (auto found = firstWithExtension(folder, localised)) return found;
    if (auto found = firstWithExtension(folder, plain)) return found;
  }
  return std::nullopt;
}

void storeScreen(const LocalLibrary& library, std::string_view set, std::string_view page,
                 std::string_view os, std::string_view locale,
                 const std::optional<std::string>& appearance, std::string_view bytes,
                 std::string_view ext) {
  requireNameParts({set, page, os, locale});
  replaceFile(screenDir(library, appearance), screenBaseName(set, page, os, locale), bytes, ext);
}

void removeScreen(const LocalLibrary& library, std::string_view set, std::string_view page,
                  std::string_view os, std::string_view locale,
                  const std::optional<std::string>& appearance) {
  requireNameParts({set, page, os, locale});
  const std::string base = screenBaseName(set, page, os, locale);
  fs::path target = library.screens();
  if (appearance == "light" || appearance == "dark") {
    const fs::path own = screenDir(library, appearance);
    if (firstWithExtension(own, base)) target = own;
  }
  removeAll(target, base);
}

std::optional<fs::path> findImage(const fs::path& folder, std::string_view set,
                                  std::string_view page, std::string_view os) {
  for (auto part : {set, page, os}) {
    if (!isNamePart(part)) return std::nullopt;
  }
  if (auto found = firstWithExtension(folder, screenBaseName(set, page, os, ""))) return found;
  // Older libraries hold the default set's pictures without the set prefix.
  if (set == "default") {
    return firstWithExtension(folder, std::string(page) + "-" + std::string(os));
  }
  return std::nullopt;
}

void replaceImage(const fs::path& folder, std::string_view set, std::string_view page,
                  std::string_view os, std::string_view bytes, std::string_view ext) {
  requireNameParts({set, page, os});
  replaceFile(folder, screenBaseName(set, page, os, ""), bytes, ext);
}

void removeImage(const fs::path& folder, std::string_view set, std::string_view page,
                 std::string_view os) {
  requireNameParts({set, page, os});
  if (auto found = findImage(folder, set, page, os)) {
    std::error_code ignored;
    fs::remove(*found, ignored);
  }
}

fs::path layerFolder(const LocalLibrary& library, std::string_view set) {
  return library.layers() / setFolder(set);
}

std::optional<fs::path> layerAsset(const LocalLibrary& library, std::string_view set,
                                   std::string_view name) {
  // Equivalent to ^[a-f0-9]{16,64}\.(png|jpg|jpeg|webp)$: hex digits leave no
  // room for a separator or a "..".
  const auto dot = name.find('.');
  if (dot == std::string_view::npos || dot < 16 || dot > 64) return std::nullopt;
  const std::string_view hash = name.substr(0, dot), ext = name.substr(dot + 1);
  const bool hex = std::all_of(hash.begin(), hash.end(), [](char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f');
  });
  if (!hex ||
      std::find(imageExtensions.begin(), imageExtensions.end(), ext) == imageExtensions.end()) {
    return std::nullopt;
  }
  fs::path file = layerFolder(library, set) / std::string(name);
  if (!isFile(file)) return std::nullopt;
  return file;
}

std::string storeLayer(const LocalLibrary& library, std::string_view set, std::string_view bytes,
                       std::string_view ext) {
  const std::string name = sha(bytes) + "." + std::string(ext);
  const fs::path folder = layerFolder(library, set);
  makeFolder(folder);
  const fs::path file = folder / name;
  std::error_code ec;
  if (!fs::exists(file, ec)) writeFileAtomically(file, bytes);
  return name;
}

Response serveImage(const std::optional<fs::path>& file, bool immutable) {
  if (!file) return Response::notFound();
  auto bytes = readFile(*file);
  if (!bytes) return Response::notFound();
  Response r;
  r.mime = sniffMime(*bytes, file->string());
  r.body = std::move(*bytes);
  r.headers["Cache-Control"] = immutable ? "public, max-age=31536000, immutable" : "no-store";
  return r;
}

void writeFileAtomically(const fs::path& file, std::string_view bytes) {
  const fs::path folder = file.parent_path();
  fs::path temp;
  int fd = -1;
  for (int attempt = 0; fd < 0; ++attempt) {
    temp = folder / tempName(file);
    fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd < 0 && (errno != EEXIST || attempt == 8)) writeFailed(file, errno);
  }
  int error = 0;
  for (std::size_t done = 0; done < bytes.size() && !error;) {
    const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
    if (n >= 0) {
      done += static_cast<std::size_t>(n);
    } else if (errno != EINTR) {
      error = errno;
    }
  }
  if (::close(fd) != 0 && !error) error = errno;
  if (!error && ::rename(temp.c_str(), file.c_str()) != 0) error = errno;
  if (error) {
    ::unlink(temp.c_str());
    writeFailed(file, error);
  }
}

}  // namespace vells::backend
