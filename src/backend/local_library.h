#pragma once

#include <filesystem>
#include <optional>
#include <stdexcept>
#include "platform/error.h"

namespace vells::backend {

// A library folder that couldn't be made or filled; the message names the
// folder and the reason.
class LibraryError : public Error {
 public:
  using Error::Error;
};

// Where the library lives: the database beside plain picture folders.
class LocalLibrary {
 public:
  explicit LocalLibrary(std::filesystem::path root) : root_(std::move(root)) {}

  // $VELLS_LIBRARY, else $XDG_DATA_HOME/Vells, else ~/.local/share/Vells.
  static std::filesystem::path standardRoot();

  const std::filesystem::path& root() const { return root_; }
  std::filesystem::path databasePath() const { return root_ / "orvo-tools.sqlite"; }
  std::filesystem::path backgrounds() const { return root_ / "backgrounds"; }
  std::filesystem::path overlays() const { return root_ / "overlays"; }
  std::filesystem::path layers() const { return root_ / "overlays" / "layers"; }
  std::filesystem::path stickerPacks() const { return root_ / "overlays" / "sticker-packs"; }
  std::filesystem::path appIcons() const { return root_ / "overlays" / "app-icons"; }
  std::filesystem::path screens() const { return root_ / "screens"; }
  std::filesystem::path output() const { return root_ / "output"; }

  // Creates the folder tree; folders that exist are fine.
  void prepare() const;

  // A source checkout of the older web service near the executable, whose data
  // a first run imports.
  static std::optional<std::filesystem::path> findRepo();
  static std::optional<std::filesystem::path> findRepo(const std::filesystem::path& start);

  // Copies a checkout's database and picture folders in; never overwrites.
  void importRepo(const std::filesystem::path& repo) const;

  static void copyTree(const std::filesystem::path& from, const std::filesystem::path& to);

 private:
  std::filesystem::path root_;
};

}  // namespace vells::backend
