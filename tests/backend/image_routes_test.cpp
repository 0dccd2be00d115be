#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "backend/images.h"
#include "backend/test_support.h"

namespace vells::testing {
namespace {

using backend::LocalBackend;
using backend::LocalLibrary;
using backend::Response;
using namespace std::string_literals;

// Every file under `root`, relative, with its bytes: a picture of the whole tree.
std::map<std::string, std::string> tree(const fs::path& root) {
  std::map<std::string, std::string> out;
  std::error_code ec;
  for (auto it = fs::recursive_directory_iterator(root, ec); !ec && it != fs::end(it);
       it.increment(ec)) {
    // The database is no picture, and SQLite may touch its side files at will.
    if (it->is_regular_file() && !it->path().filename().string().starts_with("orvo-tools.sqlite")) {
      out[fs::relative(it->path(), root).string()] = backend::readFile(it->path()).value_or("?");
    }
  }
  return out;
}

std::vector<std::string> namesIn(const fs::path& folder) {
  auto names = backend::files(folder);
  std::sort(names.begin(), names.end());
  return names;
}

class ImageRoutes : public ::testing::Test {
 protected:
  ImageRoutes() : core(std::make_shared<FakeCore>()), b(LocalLibrary(dir.path() / "lib"), core) {
    b.start();
  }

  Response send(const std::string& method, const std::string& url, const std::string& body = "",
                const std::string& contentType = "") {
    return b.handle(backend::requestFromURL(url, method, body, contentType));
  }
  std::string error(const Response& r) { return bodyJSON(r).stringAt("error").value_or(""); }
  bool exists(const std::string& url) {
    return bodyJSON(send("GET", url)).boolAt("exists").value_or(false);
  }

  const LocalLibrary& lib() { return b.library(); }

  TempDir dir;
  std::shared_ptr<FakeCore> core;
  LocalBackend b;
};

TEST_F(ImageRoutes, ScreenSearchGoesFolderByFolderLocaleFirst) {
  const fs::path screens = lib().screens();
  const std::string dark = "/api/screen?page=home&os=ios&appearance=dark";

  writeFile(screens / "light" / "default-home-ios.png", "light");
  EXPECT_EQ(send("GET", dark).body, "light");  // the other appearance comes last
  writeFile(screens / "default-home-ios.png", "neutral");
  EXPECT_EQ(send("GET", dark).body, "neutral");
  writeFile(screens / "dark" / "default-home-ios.png", "dark");
  EXPECT_EQ(send("GET", dark).body, "dark");

  // Inside each folder the locale's name comes first, then the plain one,
  // before the search moves to the next folder.
  writeFile(screens / "default-home-ios-de.png", "neutral de");
  EXPECT_EQ(send("GET", dark + "&locale=de").body, "dark");
  EXPECT_EQ(send("GET", "/api/screen?page=home&os=ios&locale=de").body, "neutral de");
  EXPECT_EQ(send("GET", "/api/screen?page=home&os=ios&locale=fr").body, "neutral");
  EXPECT_EQ(send("GET", "/api/screen?page=home&os=ios").body, "neutral");

  // Any other appearance is none: only the plain folder is searched.
  fs::remove(screens / "default-home-ios.png");
  fs::remove(screens / "default-home-ios-de.png");
  EXPECT_EQ(send("GET", "/api/screen?page=home&os=ios&appearance=sepia").status, 404);
  EXPECT_FALSE(exists("/api/has-screen?page=home&os=ios&appearance=sepia"));
  EXPECT_TRUE(exists("/api/has-screen?page=home&os=ios&appearance=light"));
  EXPECT_EQ(send("GET", "/api/screen?page=home&os=ios&appearance=light").body, "light");

  // An empty locale doesn't make "<name>-" match a file with a locale.
  EXPECT_FALSE(exists("/api/has-screen?page=stats&os=ios&locale="));
  writeFile(screens / "default-stats-ios-.png", "odd");
  EXPECT_TRUE(exists("/api/has-screen?page=stats&os=ios&locale="));
}

TEST_F(ImageRoutes, ScreenExtensionsOsAndHeaders) {
  const fs::path screens = lib().screens();
  // "os" is taken as it stands and defaults to android, page to "".
  writeFile(screens / "default--android.webp", "webp");
  writeFile(screens / "default--android.jpeg", "jpeg");
  Response r = send("GET", "/api/screen");
  EXPECT_EQ(r.status, 200);
  EXPECT_EQ(r.body, "jpeg");  // jpeg before webp
  EXPECT_EQ(r.mime, "image/jpeg");
  EXPECT_EQ(r.headers.at("Cache-Control"), "no-cache");
  writeFile(screens / "default--android.jpg", "\x89PNG but named jpg");
  r = send("GET", "/api/screen");
  EXPECT_EQ(r.body, "\x89PNG but named jpg");
  EXPECT_EQ(r.mime, "image/jpeg");  // screens go by the extension, not the bytes
  writeFile(screens / "default--android.png", "png");
  EXPECT_EQ(send("GET", "/api/screen").body, "png");

  writeFile(screens / "s1-home-windows.png", "w");
  EXPECT_EQ(send("GET", "/api/screen?set=s1&page=home&os=windows").body, "w");
  EXPECT_EQ(send("GET", "/api/screen?set=s1&page=home").status, 404);
  EXPECT_FALSE(exists("/api/has-screen?set=s1&page=home"));

  r = send("GET", "/api/screen?set=nothing&page=home");
  EXPECT_EQ(r.status, 404);
  EXPECT_EQ(r.body, "Not found");
  // A folder with an image's name is no image.
  fs::create_directories(screens / "s2-home-ios.png");
  EXPECT_EQ(send("GET", "/api/screen?set=s2&page=home&os=ios").status, 404);
}

TEST_F(ImageRoutes, ScreenUploadReplacesEveryExtension) {
  const fs::path screens = lib().screens();
  const std::string url = "/api/screen?page=home&os=ios&locale=de";
  writeFile(screens / "default-home-ios-de.webp", "old webp");
  writeFile(screens / "default-home-ios.png", "no locale: another name");

  Response r = send("POST", url, "png bytes", "image/png");
  EXPECT_EQ(r.status, 200);
  EXPECT_EQ(r.body, R"({"ok":true})");
  EXPECT_EQ(namesIn(screens),
            (std::vector<std::string>{"default-home-ios-de.png", "default-home-ios.png"}));

  EXPECT_EQ(send("POST", url, "jpeg bytes", "image/jpeg").status, 200);
  EXPECT_EQ(namesIn(screens),
            (std::vector<std::string>{"default-home-ios-de.jpg", "default-home-ios.png"}));
  EXPECT_EQ(send("GET", url).body, "jpeg bytes");

  // The type is read loosely: anything that mentions webp, anything else png.
  send("POST", url, "webp bytes", "IMAGE/webp; q=1");
  EXPECT_EQ(namesIn(screens),
            (std::vector<std::string>{"default-home-ios-de.webp", "default-home-ios.png"}));
  send("POST", url, "gif bytes", "image/gif");
  EXPECT_EQ(backend::readFile(screens / "default-home-ios-de.png"), "gif bytes");

  // An empty locale is the plain name; an appearance makes its folder.
  send("POST", "/api/screen?set=s1&page=p&locale=&appearance=dark", "dark", "image/png");
  EXPECT_EQ(namesIn(screens / "dark"), (std::vector<std::string>{"s1-p-android.png"}));
  send("POST", "/api/screen?set=s1&page=p&appearance=light", "light", "image/png");
  EXPECT_EQ(send("GET", "/api/screen?set=s1&page=p&appearance=dark").body, "dark");
  EXPECT_EQ(send("GET", "/api/screen?set=s1&page=p&appearance=light").body, "light");
  EXPECT_EQ(send("GET", "/api/screen?set=s1&page=p").status, 404);
}

TEST_F(ImageRoutes, ScreenDeleteTargetsOneFolderAndEveryExtension) {
  const fs::path screens = lib().screens();
  for (const char* ext : {"png", "jpg", "jpeg", "webp"}) {
    writeFile(screens / "dark" / (std::string("default-home-ios.") + ext), "d");
    writeFile(screens / (std::string("default-home-ios.") + ext), "n");
  }
  writeFile(screens / "default-home-ios-de.png", "de");
  const std::string url = "/api/screen?page=home&os=ios&appearance=dark";

  EXPECT_EQ(send("DELETE", url).body, R"({"ok":true})");
  EXPECT_TRUE(namesIn(screens / "dark").empty());
  EXPECT_EQ(namesIn(screens).size(), 6u);  // four plain, one locale, the dark folder
  // Nothing left in the appearance's folder: the plain folder is the target.
  send("DELETE", url);
  EXPECT_EQ(namesIn(screens), (std::vector<std::string>{"dark", "default-home-ios-de.png"}));
  EXPECT_EQ(send("DELETE", url).status, 200);  // nothing there at all
  send("DELETE", "/api/screen?page=home&os=ios&locale=de");
  EXPECT_EQ(namesIn(screens), (std::vector<std::string>{"dark"}));
}

TEST_F(ImageRoutes, BackgroundsWithTheDefaultSetsOlderNames) {
  const fs::path folder = lib().backgrounds();
  writeFile(folder / "home-ios.png", "legacy");
  Response r = send("GET", "/api/background?os=ios");
  EXPECT_EQ(r.body, "legacy");
  EXPECT_EQ(r.headers.at("Cache-Control"), "no-store");
  EXPECT_TRUE(exists("/api/has-background?os=ios"));
  EXPECT_EQ(send("GET", "/api/background?set=s1&os=ios").status, 404);
  EXPECT_FALSE(exists("/api/has-background?set=s1&os=ios"));

  // The prefixed name wins over the older one, whatever the extensions.
  writeFile(folder / "default-home-ios.webp", "RIFF....WEBP");
  r = send("GET", "/api/background?os=ios");
  EXPECT_EQ(r.body, "RIFF....WEBP");
  EXPECT_EQ(r.mime, "image/webp");  // sniffed from the bytes

  // An upload hides the older file but leaves it in place.
  r = send("POST", "/api/background?os=ios", "\xFF\xD8 jpeg", " image/jpeg ; q=1");
  EXPECT_EQ(r.body, R"({"ok":true})");
  EXPECT_EQ(namesIn(folder), (std::vector<std::string>{"default-home-ios.jpg", "home-ios.png"}));
  r = send("GET", "/api/background?os=ios");
  EXPECT_EQ(r.body, "\xFF\xD8 jpeg");
  EXPECT_EQ(r.mime, "image/jpeg");
  send("POST", "/api/background?os=ios", "png", "image/JPEG");  // no case folding: png
  EXPECT_EQ(namesIn(folder), (std::vector<std::string>{"default-home-ios.png", "home-ios.png"}));

  // Delete removes only what the search finds: first the prefixed file, then the older one.
  writeFile(folder / "default-home-ios.jpg", "second");
  EXPECT_EQ(send("DELETE", "/api/background?os=ios").body, R"({"ok":true})");
  EXPECT_EQ(namesIn(folder), (std::vector<std::string>{"default-home-ios.jpg", "home-ios.png"}));
  send("DELETE", "/api/background?os=ios");
  send("DELETE", "/api/background?os=ios");
  EXPECT_TRUE(namesIn(folder).empty());
  EXPECT_EQ(send("DELETE", "/api/background?os=ios").body, R"({"ok":true})");
}

TEST_F(ImageRoutes, LayerAssetsAreNamedByContent) {
  const std::string bytes = "RIFF\x10\0\0\0WEBPVP8 layer"s;
  Response r = send("POST", "/api/layer-asset?set=Spring%20sale%2F2", bytes, "image/webp");
  ASSERT_EQ(r.status, 200) << r.body;
  const std::string name = *bodyJSON(r).stringAt("asset");
  EXPECT_EQ(name, backend::sha(bytes) + ".webp");
  EXPECT_EQ(name.size(), 32u + 5u);
  const fs::path file = lib().layers() / "Spring_sale_2" / name;
  EXPECT_EQ(backend::readFile(file), bytes);

  // The same bytes again: the same name, and the file isn't written again.
  const auto old = fs::file_time_type::clock::now() - std::chrono::hours(24);
  fs::last_write_time(file, old);
  r = send("POST", "/api/layer-asset?set=Spring%20sale%2F2", bytes, "image/webp");
  EXPECT_EQ(*bodyJSON(r).stringAt("asset"), name);
  EXPECT_EQ(fs::last_write_time(file), old);
  EXPECT_EQ(namesIn(file.parent_path()).size(), 1u);

  r = send("GET", "/api/layer-asset?set=Spring%20sale%2F2&asset=" + name);
  EXPECT_EQ(r.status, 200);
  EXPECT_EQ(r.body, bytes);
  EXPECT_EQ(r.mime, "image/webp");
  EXPECT_EQ(r.headers.at("Cache-Control"), "public, max-age=31536000, immutable");
  EXPECT_EQ(send("GET", "/api/layer-asset?set=other&asset=" + name).status, 404);

  // The default set, and a png for any type that isn't jpeg or webp.
  r = send("POST", "/api/layer-asset", "\x89PNG", "image/gif");
  const std::string png = *bodyJSON(r).stringAt("asset");
  EXPECT_EQ(png, backend::sha("\x89PNG") + ".png");
  EXPECT_EQ(send("GET", "/api/layer-asset?asset=" + png).body, "\x89PNG");
  r = send("POST", "/api/layer-asset", "\xFF\xD8", "image/jpg");
  EXPECT_THAT(*bodyJSON(r).stringAt("asset"), ::testing::EndsWith(".jpg"));
}

TEST_F(ImageRoutes, LayerAssetNamesMustBeContentNames) {
  const fs::path layers = lib().layers();
  for (const std::string& name : std::vector<std::string>{
           "0123456789abcdef.png", "0123456789abcdef.jpeg", std::string(64, 'a') + ".webp"}) {
    writeFile(layers / "s1" / name, "x");
    EXPECT_EQ(send("GET", "/api/layer-asset?set=s1&asset=" + name).status, 200) << name;
  }
  // Files that exist, under names the rule refuses.
  writeFile(layers / "0123456789abcdef.png", "outside the set's folder");
  writeFile(layers / "s1" / "0123456789ABCDEF.png", "x");
  writeFile(layers / "s1" / "0123456789abcde.png", "x");
  writeFile(layers / "s1" / (std::string(65, 'a') + ".png"), "x");
  writeFile(layers / "s1" / "0123456789abcdef.gif", "x");
  writeFile(layers / "s1" / "0123456789abcdef.png.png", "x");
  for (const std::string& asset : std::vector<std::string>{
           "../0123456789abcdef.png", "..%2F0123456789abcdef.png", "0123456789ABCDEF.png",
           "0123456789abcde.png", std::string(65, 'a') + ".png", "0123456789abcdef.gif",
           "0123456789abcdef.png.png", "", "../../orvo-tools.sqlite"}) {
    EXPECT_EQ(send("GET", "/api/layer-asset?set=s1&asset=" + asset).status, 404) << asset;
  }
  // A set name can't climb out either: it becomes one folder name.
  EXPECT_EQ(send("GET", "/api/layer-asset?set=..&asset=0123456789abcdef.png").status, 404);
}

TEST_F(ImageRoutes, BadUploadsChangeNothing) {
  const fs::path root = lib().root();
  writeFile(lib().screens() / "default-home-ios.png", "kept");
  writeFile(lib().backgrounds() / "default-home-ios.png", "kept");
  writeFile(root / "x-home-ios.png", "outside");
  const auto before = tree(root);

  for (const char* url : {"/api/screen?page=home&os=ios", "/api/background?os=ios",
                          "/api/overlay?os=ios", "/api/layer-asset"}) {
    Response r = send("POST", url, "", "image/jpeg");
    EXPECT_EQ(r.status, 400) << url;
    EXPECT_EQ(error(r), "Empty image") << url;
    r = send("POST", url, std::string(backend::maxImageBytes + 1, 'x'), "image/jpeg");
    EXPECT_EQ(r.status, 413) << url;
    EXPECT_EQ(error(r), "Image too large") << url;
  }
  // Values that would name a file outside the folder.
  for (const char* url :
       {"/api/screen?set=../x&page=home&os=ios", "/api/screen?page=../../x&os=ios",
        "/api/screen?page=home&os=ios&locale=/../../x", "/api/background?set=../x&os=ios",
        "/api/overlay?set=a&page=b/../../c&os=ios", "/api/screen?set=a%00b&page=home"}) {
    for (const char* method : {"POST", "DELETE"}) {
      Response r = send(method, url, "new", "image/png");
      EXPECT_EQ(r.status, 400) << method << " " << url;
      EXPECT_EQ(error(r), "Names may not contain \"/\"") << url;
    }
    EXPECT_EQ(send("GET", url).status, 404) << url;
  }
  EXPECT_FALSE(exists("/api/has-screen?set=..&page=x-home&os=ios"));
  EXPECT_FALSE(exists("/api/has-background?set=x&page=../../x-home&os=ios"));
  EXPECT_EQ(send("DELETE", "/api/background?set=..&page=/x-home&os=ios").status, 400);
  EXPECT_EQ(tree(root), before);
}

TEST_F(ImageRoutes, FailedWritesKeepTheOldFile) {
  const fs::path screens = lib().screens();
  writeFile(screens / "default-home-ios.png", "old");
  // A folder where the new file should go makes the final rename fail.
  fs::create_directories(screens / "default-home-ios.jpg" / "blocker");
  Response r = send("POST", "/api/screen?page=home&os=ios", "new", "image/jpeg");
  EXPECT_EQ(r.status, 500);
  EXPECT_THAT(r.body, ::testing::HasSubstr("default-home-ios.jpg"));
  EXPECT_EQ(namesIn(screens),
            (std::vector<std::string>{"default-home-ios.jpg", "default-home-ios.png"}));
  EXPECT_EQ(send("GET", "/api/screen?page=home&os=ios").body, "old");

  // An appearance folder that can't be made.
  writeFile(screens / "dark", "a file, not a folder");
  r = send("POST", "/api/screen?page=home&os=ios&appearance=dark", "new", "image/png");
  EXPECT_EQ(r.status, 500);
  EXPECT_THAT(r.body, ::testing::HasSubstr("dark"));

  // A background whose folder went missing is written all the same.
  fs::remove_all(lib().backgrounds());
  EXPECT_EQ(send("POST", "/api/background", "png", "image/png").status, 200);
  EXPECT_EQ(namesIn(lib().backgrounds()), (std::vector<std::string>{"default-home-android.png"}));
}

}  // namespace
}  // namespace vells::testing
