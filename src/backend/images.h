#pragma once

#include <array>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "backend/local_library.h"
#include "backend/messages.h"

// The user's pictures: plain files in the library, found again by name alone.
namespace vells::backend {

// The extensions a screen, background or overlay may have, in the order they
// are looked for and removed.
inline constexpr std::array<std::string_view, 4> imageExtensions{"png", "jpg", "jpeg", "webp"};

// Uploads above this size are refused before anything is touched: no store
// picture comes near it, and the body is held in memory on its way here.
inline constexpr std::size_t maxImageBytes = std::size_t{64} << 20;

// Names are built from request values, so a "/" (or a NUL) would leave the
// folder. Every value that becomes part of a file name passes this test.
bool isNamePart(std::string_view part);

// `screens/`, or `screens/<appearance>` for "light" and "dark".
std::filesystem::path screenDir(const LocalLibrary& library,
                                const std::optional<std::string>& appearance);

// "<set>-<page>-<os>", with "-<locale>" when the locale isn't empty: the name
// an upload gets, without its extension.
std::string screenBaseName(std::string_view set, std::string_view page, std::string_view os,
                           std::string_view locale);

// The best uploaded screen: the appearance's folder, the plain folder, then the
// other appearance's; in each, the locale's name before the plain one. An empty
// locale finds only plain names. Absent when nothing matches or a value can't
// be part of a name.
std::optional<std::filesystem::path> findScreen(const LocalLibrary& library, std::string_view set,
                                                std::string_view page, std::string_view os,
                                                std::string_view locale,
                                                const std::optional<std::string>& appearance);

// Stores a screen under its name in `screenDir(appearance)`, replacing a file of
// the same name with any extension. Throws Failure 400 for a value that can't be
// part of a name, and the platform's error when the file can't be written, in
// which case the old file stays.
void storeScreen(const LocalLibrary& library, std::string_view set, std::string_view page,
                 std::string_view os, std::string_view locale,
                 const std::optional<std::string>& appearance, std::string_view bytes,
                 std::string_view ext);

// Removes the screen's name with every extension from `screens/<appearance>`
// when that folder holds it, else from `screens/`. Failures to remove are
// ignored; a value that can't be part of a name throws Failure 400.
void removeScreen(const LocalLibrary& library, std::string_view set, std::string_view page,
                  std::string_view os, std::string_view locale,
                  const std::optional<std::string>& appearance);

// A background or overlay in `folder`: "<set>-<page>-<os>" with each extension,
// then, for the set "default" only, the older "<page>-<os>".
std::optional<std::filesystem::path> findImage(const std::filesystem::path& folder,
                                               std::string_view set, std::string_view page,
                                               std::string_view os);

// Stores "<set>-<page>-<os>.<ext>" in `folder`, replacing that name with any
// other extension. An older unprefixed file of the set "default" stays: the new
// one hides it. Throws as storeScreen does.
void replaceImage(const std::filesystem::path& folder, std::string_view set, std::string_view page,
                  std::string_view os, std::string_view bytes, std::string_view ext);
// Removes the one file findImage finds, if any; other extensions stay. Throws
// Failure 400 for a value that can't be part of a name.
void removeImage(const std::filesystem::path& folder, std::string_view set, std::string_view page,
                 std::string_view os);

// `overlays/layers/<set folder>`.
std::filesystem::path layerFolder(const LocalLibrary& library, std::string_view set);
// A stored layer asset; absent unless `name` is a content name (hex digits and
// an image extension, so no path separator) and the file exists.
std::optional<std::filesystem::path> layerAsset(const LocalLibrary& library, std::string_view set,
                                                std::string_view name);
// Stores bytes under their content name "<sha>.<ext>" and answers that name.
// Equal content is written once; an existing file is left as it is.
std::string storeLayer(const LocalLibrary& library, std::string_view set, std::string_view bytes,
                       std::string_view ext);

// The file's bytes with a sniffed type and "no-store", or the long-lived
// "immutable" header for content-named files; 404 when absent or unreadable.
Response serveImage(const std::optional<std::filesystem::path>& file, bool immutable);

// Writes through a hidden temporary name in the same folder and renames it into
// place, so a reader never meets half a file and a failed write leaves the old
// one. Throws LibraryError with the platform's reason.
void writeFileAtomically(const std::filesystem::path& file, std::string_view bytes);

}  // namespace vells::backend
