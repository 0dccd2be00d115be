#include <gtest/gtest.h>

#include "backend/file_io.h"
#include "backend/test_support.h"

namespace vells::testing {
namespace {

using backend::LibraryError;
using backend::LocalLibrary;

TEST(LocalLibrary, PrepareMakesTheTreeAndIsRepeatable) {
  TempDir dir;
  LocalLibrary lib(dir.path() / "deep" / "Vells");
  lib.prepare();
  writeFile(lib.backgrounds() / "keep.png", "k");
  lib.prepare();
  for (const char* sub : {"backgrounds", "overlays/layers", "overlays/sticker-packs",
                          "overlays/app-icons", "screens", "output"}) {
    EXPECT_TRUE(fs::is_directory(lib.root() / sub)) << sub;
  }
  EXPECT_EQ(*backend::readFile(lib.backgrounds() / "keep.png"), "k");

  writeFile(dir.path() / "file", "x");
  LocalLibrary blocked(dir.path() / "file");
  EXPECT_THROW(blocked.prepare(), LibraryError);
}

TEST(LocalLibrary, FindRepoWalksUpEightFolders) {
  TempDir dir;
  const fs::path start = dir.path() / "a/b/c/d/e/f/g/h/i/bin/exe";
  EXPECT_FALSE(LocalLibrary::findRepo(start).has_value());

  writeFile(dir.path() / "a/b/Orvo Tools/packages/core/package.json", "{}");
  EXPECT_FALSE(LocalLibrary::findRepo(start).has_value());  // nine levels up: too far
  auto found = LocalLibrary::findRepo(dir.path() / "a/b/c/d/e/f/g/h/bin/exe");
  ASSERT_TRUE(found.has_value());
  EXPECT_EQ(*found, dir.path() / "a/b/Orvo Tools");

  writeFile(dir.path() / "a/b/c/d/packages/core/package.json", "{}");
  EXPECT_EQ(*LocalLibrary::findRepo(start), dir.path() / "a/b/c/d");
}

TEST(LocalLibrary, CopyTreeNeverOverwritesAndSkipsDotFiles) {
  TempDir dir;
  const fs::path from = dir.path() / "from", to = dir.path() / "to";
  writeFile(from / "a.png", "new");
  writeFile(from / ".DS_Store", "junk");
  writeFile(from / ".hidden" / "inside.png", "in");
  writeFile(from / "sub" / "b.png", "b");
  writeFile(to / "a.png", "old");
  LocalLibrary::copyTree(from, to);
  EXPECT_EQ(*backend::readFile(to / "a.png"), "old");
  EXPECT_FALSE(fs::exists(to / ".DS_Store"));
  EXPECT_TRUE(fs::is_directory(to / ".hidden"));
  EXPECT_EQ(*backend::readFile(to / ".hidden" / "inside.png"), "in");
  EXPECT_EQ(*backend::readFile(to / "sub" / "b.png"), "b");
  EXPECT_NO_THROW(LocalLibrary::copyTree(dir.path() / "missing", to));
}

TEST(LocalLibrary, ImportWithoutDatabaseStillCopiesPictures) {
  TempDir dir;
  const fs::path repo = dir.path() / "repo";
  writeFile(repo / "backgrounds" / "home-ios.png", "bg");
  writeFile(repo / "screens" / "dark" / "default-home-ios.png", "s");
  LocalLibrary lib(dir.path() / "lib");
  lib.prepare();
  lib.importRepo(repo);
  EXPECT_FALSE(fs::exists(lib.databasePath()));
  EXPECT_EQ(*backend::readFile(lib.backgrounds() / "home-ios.png"), "bg");
  EXPECT_EQ(*backend::readFile(lib.screens() / "dark" / "default-home-ios.png"), "s");
}

// Restores an environment variable when the test is done with it.
class SavedEnv {
 public:
  explicit SavedEnv(const char* name) : name_(name) {
    if (const char* v = std::getenv(name)) value_ = v;
  }
  ~SavedEnv() {
    if (value_) {
      ::setenv(name_, value_->c_str(), 1);
    } else {
      ::unsetenv(name_);
    }
  }

 private:
  const char* name_;
  std::optional<std::string> value_;
};

TEST(LocalLibrary, StandardRootFollowsTheEnvironment) {
  SavedEnv library("VELLS_LIBRARY"), xdg("XDG_DATA_HOME"), home("HOME");
  ::setenv("VELLS_LIBRARY", "/tmp/some-library", 1);
  EXPECT_EQ(LocalLibrary::standardRoot(), fs::path("/tmp/some-library"));
  ::unsetenv("VELLS_LIBRARY");
  ::setenv("XDG_DATA_HOME", "/tmp/xdg", 1);
  EXPECT_EQ(LocalLibrary::standardRoot(), fs::path("/tmp/xdg/Vells"));
  ::setenv("XDG_DATA_HOME", "relative", 1);
  ::setenv("HOME", "/home/someone", 1);
  EXPECT_EQ(LocalLibrary::standardRoot(), fs::path("/home/someone/.local/share/Vells"));
}

}  // namespace
}  // namespace vells::testing
