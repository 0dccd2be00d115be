#include <gtest/gtest.h>

#include <algorithm>

#include "backend/images.h"
#include "backend/picture_upload.h"
#include "backend/test_support.h"

namespace vells::testing {
namespace {

using backend::LocalBackend;
using backend::LocalLibrary;
using backend::Response;
using Names = std::vector<std::string>;
using namespace std::string_literals;

// Uploads are checked by their first bytes; what follows is the test's own.
const std::string pngSig = "\x89PNG\r\n\x1A\n"s, jpegSig = "\xFF\xD8\xFF"s;

// Every file under `root` but the database (SQLite may touch it at will), with its bytes.
std::map<std::string, std::string> tree(const fs::path& root) {
  std::map<std::string, std::string> out;
  for (const auto& e : fs::recursive_directory_iterator(root))
    if (e.is_regular_file() && !e.path().filename().string().starts_with("orvo-tools.sqlite"))
      out[fs::relative(e.path(), root).string()] = *backend::readFile(e.path());
  return out;
}

Names namesIn(const fs::path& folder) {
  auto names = backend::files(folder);
  std::sort(names.begin(), names.end());
  return names;
}

class ImageRoutes : public ::testing::Test {
 protected:
  ImageRoutes() : b(LocalLibrary(dir.path() / "lib"), std::make_shared<FakeCore>()) { b.start(); }
  Response send(const std::string& method, const std::string& url, const std::string& body = "",
                const std::string& type = "") {
    return b.handle(backend::requestFromURL(url, method, body, type));
  }
  std::string get(const std::string& url) { return send("GET", url).body; }
  int status(const std::string& method, const std::string& url) { return send(method, url).status; }
  bool exists(const std::string& u) { return bodyJSON(send("GET", u)).boolAt("exists") == true; }
  std::string failure(const Response& r) {
    return std::to_string(r.status) + " " + bodyJSON(r).stringAt("error").value_or("");
  }
  std::string asset(const std::string& url, const std::string& bytes, const std::string& type) {
    return bodyJSON(send("POST", url, bytes, type)).stringAt("asset").value_or("");
  }
  const LocalLibrary& lib() { return b.library(); }
  TempDir dir;
  LocalBackend b;
};

TEST_F(ImageRoutes, ScreenSearchGoesFolderByFolderLocaleFirst) {
  const fs::path screens = lib().screens();
  const std::string dark = "/api/screen?page=home&os=ios&appearance=dark";
  writeFile(screens / "light" / "default-home-ios.png", "light");
  EXPECT_EQ(get(dark), "light");  // the other appearance comes last
  writeFile(screens / "default-home-ios.png", "neutral");
  EXPECT_EQ(get(dark), "neutral");
  writeFile(screens / "dark" / "default-home-ios.png", "dark");
  EXPECT_EQ(get(dark), "dark");

  // Inside each folder the locale's name comes first, then the plain one.
  writeFile(screens / "default-home-ios-de.png", "neutral de");
  EXPECT_EQ(get(dark + "&locale=de"), "dark");
  EXPECT_EQ(get("/api/screen?page=home&os=ios&locale=de"), "neutral de");

  // Any other appearance is none: only the plain folder is searched.
  fs::remove(screens / "default-home-ios.png");
  fs::remove(screens / "default-home-ios-de.png");
  EXPECT_FALSE(exists("/api/has-screen?page=home&os=ios&appearance=sepia"));
  EXPECT_TRUE(exists("/api/has-screen?page=home&os=ios&appearance=light"));

  // "os" defaults to android, page to ""; each extension wins over those before it.
  for (const std::string ext : {"webp", "jpeg", "jpg", "png"}) {
    writeFile(screens / ("default--android." + ext), ext);
    EXPECT_EQ(get("/api/screen"), ext);
  }
  // A folder with an image's name is no image.
  fs::create_directories(screens / "s2-home-ios.png");
  EXPECT_EQ(status("GET", "/api/screen?set=s2&page=home&os=ios"), 404);
}

TEST_F(ImageRoutes, ScreenUploadReplacesEveryExtension) {
  const fs::path screens = lib().screens();
  const std::string url = "/api/screen?page=home&os=ios&locale=de";
  writeFile(screens / "default-home-ios-de.webp", "old webp");
  writeFile(screens / "default-home-ios.png", "no locale: another name");

  EXPECT_EQ(send("POST", url, pngSig + "png bytes", "image/png").body, R"({"ok":true})");
  EXPECT_EQ(namesIn(screens), (Names{"default-home-ios-de.png", "default-home-ios.png"}));
  send("POST", url, jpegSig + "jpeg bytes", "image/jpeg");
  EXPECT_EQ(namesIn(screens), (Names{"default-home-ios-de.jpg", "default-home-ios.png"}));
  EXPECT_EQ(get(url), jpegSig + "jpeg bytes");
  send("POST", url, pngSig + "claimed gif", "image/gif");  // the bytes decide, not the type
  EXPECT_EQ(backend::readFile(screens / "default-home-ios-de.png"), pngSig + "claimed gif");
  // An empty locale is the plain name; an appearance makes its folder.
  send("POST", "/api/screen?set=s1&page=p&locale=&appearance=dark", pngSig + "dark", "image/png");
  EXPECT_EQ(namesIn(screens / "dark"), (Names{"s1-p-android.png"}));
}

TEST_F(ImageRoutes, ScreenDeleteTargetsOneFolderAndEveryExtension) {
  const fs::path screens = lib().screens();
  for (const std::string ext : {"png", "jpg", "jpeg", "webp"}) {
    writeFile(screens / "dark" / ("default-home-ios." + ext), "d");
    writeFile(screens / ("default-home-ios." + ext), "n");
  }
  writeFile(screens / "default-home-ios-de.png", "de");
  const std::string url = "/api/screen?page=home&os=ios&appearance=dark";
  EXPECT_EQ(send("DELETE", url).body, R"({"ok":true})");
  EXPECT_EQ(namesIn(screens).size(), 6u);  // four plain, one locale, the empty dark folder
  // Nothing left in the appearance's folder: the plain folder is the target.
  send("DELETE", url);
  EXPECT_EQ(namesIn(screens), (Names{"dark", "default-home-ios-de.png"}));
}

TEST_F(ImageRoutes, BackgroundsWithTheDefaultSetsOlderNames) {
  const fs::path folder = lib().backgrounds();
  const std::string url = "/api/background?os=ios";
  writeFile(folder / "home-ios.png", "legacy");
  EXPECT_EQ(get(url), "legacy");
  // The prefixed name wins over the older one, whatever the extensions.
  writeFile(folder / "default-home-ios.webp", "RIFF....WEBP");
  EXPECT_EQ(send("GET", url).mime, "image/webp");  // sniffed from the bytes

  // An upload hides the older file but leaves it in place.
  send("POST", url, jpegSig + " jpeg", " image/jpeg ; q=1");
  EXPECT_EQ(namesIn(folder), (Names{"default-home-ios.jpg", "home-ios.png"}));
  EXPECT_EQ(get(url), jpegSig + " jpeg");

  // Delete removes only the file the search finds: the prefixed one, then the older one.
  writeFile(folder / "default-home-ios.png", "second");
  send("DELETE", url);
  EXPECT_EQ(namesIn(folder), (Names{"default-home-ios.jpg", "home-ios.png"}));
  send("DELETE", url);
  send("DELETE", url);
  EXPECT_TRUE(namesIn(folder).empty());
}

TEST_F(ImageRoutes, LayerAssetsAreNamedByContent) {
  const std::string bytes = "RIFF\x10\0\0\0WEBPVP8 layer"s;
  const std::string url = "/api/layer-asset?set=Spring%20sale%3A2";
  const std::string name = asset(url, bytes, "image/webp");
  EXPECT_EQ(name, backend::sha(bytes) + ".webp");
  const fs::path file = lib().layers() / "Spring_sale_2" / name;
  EXPECT_EQ(backend::readFile(file), bytes);
  EXPECT_EQ(asset(url, bytes, "image/webp"), name);  // the same bytes, the same name
  EXPECT_EQ(get(url + "&asset=" + name), bytes);
  // The bytes name the type, whatever the client claimed.
  const std::string png = asset("/api/layer-asset", pngSig, "image/gif");
  EXPECT_EQ(png, backend::sha(pngSig) + ".png");

  // Only content names inside the set's folder are served, even for files that exist.
  const fs::path s1 = lib().layers() / "s1";
  const std::string a64(64, 'a');
  for (const std::string& n : {"0123456789abcdef.png"s, "0123456789abcdef.jpeg"s, a64 + ".webp"}) {
    writeFile(s1 / n, "x");
    EXPECT_EQ(status("GET", "/api/layer-asset?set=s1&asset=" + n), 200) << n;
  }
  writeFile(lib().layers() / "0123456789abcdef.png", "outside the set's folder");
  Names refused{"0123456789ABCDEF.png", "0123456789abcde.png", a64 + "a.png",
                "0123456789abcdef.gif", "0123456789abcdef.png.png"};
  for (const auto& n : refused)
    writeFile(s1 / n, "x");
  refused.insert(refused.end(), {"../0123456789abcdef.png", "..%2F0123456789abcdef.png", "",
                                 "../../orvo-tools.sqlite"});
  for (const std::string& n : refused)
    EXPECT_EQ(status("GET", "/api/layer-asset?set=s1&asset=" + n), 404) << n;
  // A set id can't climb out either: it isn't an id at all.
  EXPECT_EQ(status("GET", "/api/layer-asset?set=..&asset=0123456789abcdef.png"), 400);
}

TEST_F(ImageRoutes, BadUploadsChangeNothing) {
  const fs::path root = lib().root();
  writeFile(lib().screens() / "default-home-ios.png", "kept");
  writeFile(lib().backgrounds() / "default-home-ios.png", "kept");
  writeFile(root / "x-home-ios.png", "outside");
  const auto before = tree(root);

  for (const char* url : {"/api/screen?page=home&os=ios", "/api/background?os=ios",
                          "/api/overlay?os=ios", "/api/layer-asset"}) {
    EXPECT_EQ(failure(send("POST", url, "", "image/jpeg")), "400 Empty image") << url;
    const std::string tooLarge = jpegSig + std::string(backend::maxScreenBytes, 'x');
    EXPECT_EQ(send("POST", url, tooLarge, "image/jpeg").status, 413) << url;
  }
  // Values that would name a file outside the folder.
  for (const char* url :
       {"/api/screen?set=../x&page=home&os=ios", "/api/screen?page=../../x&os=ios",
        "/api/screen?page=home&os=ios&locale=/../../x", "/api/background?set=../x&os=ios",
        "/api/overlay?set=a&page=b/../../c&os=ios", "/api/screen?set=a%00b&page=home"}) {
    for (const char* method : {"POST", "DELETE"})
      EXPECT_EQ(send(method, url, pngSig + "new", "image/png").status, 400) << method << " " << url;
    const int found = status("GET", url);
    EXPECT_TRUE(found == 400 || found == 404) << url << " " << found;
  }
  EXPECT_EQ(tree(root), before);
}

TEST_F(ImageRoutes, FailedWritesKeepTheOldFile) {
  const fs::path screens = lib().screens();
  writeFile(screens / "default-home-ios.png", "old");
  // A folder where the new file should go makes the final rename fail.
  fs::create_directories(screens / "default-home-ios.jpg" / "blocker");
  EXPECT_EQ(send("POST", "/api/screen?page=home&os=ios", jpegSig + "new", "image/jpeg").status,
            500);
  EXPECT_EQ(namesIn(screens), (Names{"default-home-ios.jpg", "default-home-ios.png"}));
  EXPECT_EQ(get("/api/screen?page=home&os=ios"), "old");

  // A background whose folder went missing is written all the same.
  fs::remove_all(lib().backgrounds());
  EXPECT_EQ(send("POST", "/api/background", pngSig, "image/png").status, 200);
}

}  // namespace
}  // namespace vells::testing
