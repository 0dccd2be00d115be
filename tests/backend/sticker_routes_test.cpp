#include <gtest/gtest.h>

#include "backend/images.h"
#include "backend/test_support.h"

namespace vells::testing {
namespace {

using backend::Response;
using Names = std::vector<std::string>;

class StickerRoutes : public ::testing::Test {
 protected:
  StickerRoutes() : b(backend::LocalLibrary(dir.path() / "lib"), std::make_shared<FakeCore>()) {
    b.start();
  }

  Response send(const std::string& method, const std::string& url, const std::string& body = "",
                const std::string& type = "") {
    return b.handle(backend::requestFromURL(url, method, body, type));
  }
  // One key of every record of the answer's list, in order.
  Names listed(const std::string& url, const std::string& list, const std::string& key) {
    Names out;
    const JSONValue answer = bodyJSON(send("GET", url));
    for (const JSONValue& entry : *answer.find(list)->asArray())
      out.push_back(entry.stringAt(key).value_or("?"));
    return out;
  }
  fs::path packs() { return b.library().stickerPacks(); }

  TempDir dir;
  backend::LocalBackend b;
};

TEST_F(StickerRoutes, PacksAndItemsInReadingOrder) {
  for (const char* name : {"zeta", "Pack 10", "\u00c9t\u00e9", "Banana", "Pack 2", "apple"})
    fs::create_directories(packs() / name);
  writeFile(packs() / "loose.png", "not a pack");
  EXPECT_EQ(listed("/api/sticker-packs", "packs", "id"),
            (Names{"apple", "Banana", "\u00c9t\u00e9", "Pack 2", "Pack 10", "zeta"}));

  for (const char* file : {"img 10.png", "a.PNG", "b.jpeg", "c.gif", "img 2.webp", "a.webp"})
    writeFile(packs() / "apple" / file, file);
  fs::create_directories(packs() / "apple" / "nested.png");
  EXPECT_EQ(bodyJSON(send("GET", "/api/sticker-packs")).find("packs")->asArray()->at(0),
            JSONValue::parse(R"({"id":"apple","name":"apple","count":5})"));
  EXPECT_EQ(listed("/api/sticker-packs/items?pack=apple", "items", "file"),
            (Names{"a.PNG", "a.webp", "b.jpeg", "img 2.webp", "img 10.png"}));
  EXPECT_EQ(listed("/api/sticker-packs/items?pack=apple", "items", "name"),
            (Names{"a", "a", "b", "img 2", "img 10"}));

  for (const char* pack : {"Dogs", "", "..", "../sticker-packs/apple"}) {
    const Response r = send("GET", std::string("/api/sticker-packs/items?pack=") + pack);
    EXPECT_EQ(r.body, R"({"error":"Unknown pack","ok":false})") << pack;
    EXPECT_EQ(r.status, 404);
  }
  fs::remove_all(packs());
  EXPECT_EQ(send("GET", "/api/sticker-packs").body, R"({"packs":[]})");
}

TEST_F(StickerRoutes, ImagesAreServedOnlyFromInsideAPack) {
  writeFile(packs() / "Cats" / "tom.png", "\x89PNG tom");
  writeFile(packs() / "Cats" / "notes.txt", "text");
  writeFile(packs() / "loose.png", "\x89PNG loose");
  writeFile(b.library().overlays() / "secret.png", "\x89PNG secret");
  const Response tom = send("GET", "/api/sticker-packs/image?pack=Cats&file=%2Ftom.png");
  EXPECT_EQ(tom.body, "\x89PNG tom");
  EXPECT_EQ(tom.headers.at("Cache-Control"), "no-store");
  for (const char* query :
       {"pack=Cats&file=notes.txt", "pack=Cats", "file=tom.png", "pack=&file=loose.png",
        "pack=..&file=secret.png", "pack=Cats&file=../../secret.png"}) {
    EXPECT_EQ(send("GET", std::string("/api/sticker-packs/image?") + query).status, 404) << query;
  }
}

TEST_F(StickerRoutes, AddingWritesIntoThePack) {
  auto add = [&](const std::string& query, const std::string& body, const std::string& type) {
    return send("POST", "/api/sticker-packs/items?" + query, body, type);
  };
  const std::string png = "\x89PNG\r\n\x1A\n", webp("RIFF\0\0\0\0WEBP", 12);
  EXPECT_EQ(add("pack=New&name=cat", png + "one", "image/png").body,
            R"({"file":"cat.png","ok":true})");
  add("pack=New&name=cat", webp + "two", "image/png");  // the bytes name the type
  add("pack=New&name=cat", png + "three", "image/png");
  add("pack=New&name=dog", png + "four", "image/gif");
  EXPECT_EQ(bodyJSON(add("pack=New&name=../../evil", png, "")).stringAt("file"), "....evil.png");
  EXPECT_EQ(backend::readFile(packs() / "New" / "cat.png"), png + "three");
  EXPECT_EQ(backend::readFile(packs() / "New" / "cat.webp"), webp + "two");
  EXPECT_EQ(backend::readFile(packs() / "New" / "dog.png"), png + "four");
  EXPECT_EQ(add("pack=New&name=text", "not a picture", "image/png").status, 400);

  for (const char* query : {"pack=New", "name=cat", "pack=%2F&name=cat", "pack=..&name=cat"}) {
    const Response r = add(query, "bytes", "image/png");
    EXPECT_EQ(r.body, R"({"error":"Need pack, name and an image","ok":false})") << query;
    EXPECT_EQ(r.status, 400);
  }
  EXPECT_EQ(add("pack=New&name=cat", "", "image/png").status, 400);
  EXPECT_EQ(backend::files(packs()), Names{"New"});
  EXPECT_EQ(backend::files(packs() / "New").size(), 4u);
  EXPECT_EQ(backend::files(b.library().overlays()).size(), 3u);  // layers, packs, app-icons
}

TEST_F(StickerRoutes, PlacingCopiesIntoTheSetsLayers) {
  writeFile(packs() / "Cats" / "tom.JPEG", "\xFF\xD8 tom");
  writeFile(packs() / "Cats" / "notes.txt", "text");
  const std::string asset = backend::sha("\xFF\xD8 tom") + ".jpg";
  for (const char* set : {"", "&set=s2", "&set=s2"}) {
    const std::string url = std::string("/api/sticker-packs/place?pack=Cats&file=tom.JPEG") + set;
    EXPECT_EQ(bodyJSON(send("POST", url)), (JSONValue::Object{{"ok", true}, {"asset", asset}}));
  }
  fs::remove_all(packs() / "Cats");  // the copies outlive the pack
  EXPECT_EQ(send("GET", "/api/layer-asset?asset=" + asset).body, "\xFF\xD8 tom");
  EXPECT_EQ(backend::files(backend::layerFolder(b.library(), "s2")), Names{asset});

  writeFile(packs() / "Cats" / "notes.txt", "text");
  for (const char* query : {"pack=Cats&file=tom.JPEG", "pack=Cats&file=notes.txt", "file=x.png"}) {
    const Response r = send("POST", std::string("/api/sticker-packs/place?") + query);
    EXPECT_EQ(r.body, R"({"error":"Unknown sticker","ok":false})") << query;
    EXPECT_EQ(r.status, 404);
  }
}

}  // namespace
}  // namespace vells::testing
