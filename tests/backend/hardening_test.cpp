#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <thread>

#include "backend/header_value.h"
#include "backend/id_rule.h"
#include "backend/picture_upload.h"
#include "backend/routes.h"
#include "backend/test_support.h"

namespace vells::testing {
namespace {

using namespace std::string_literals;
using backend::LocalBackend;
using backend::LocalLibrary;
using backend::Response;

const std::string png = "\x89PNG\r\n\x1A\n\0\0\0\rIHDR\0\0\0\x01\0\0\0\x01\x08\x06\0\0\0"s;

std::string failure(const Response& r) {
  auto body = JSONValue::tryParse(r.body);
  return std::to_string(r.status) + " " +
         (body ? body->stringAt("error").value_or(r.body) : r.body);
}

// Every file under `root` with its bytes: what "changes nothing" compares.
std::map<std::string, std::string> tree(const fs::path& root) {
  std::map<std::string, std::string> out;
  for (const auto& e : fs::recursive_directory_iterator(root)) {
    if (e.is_regular_file() && e.path().extension() != ".sqlite" &&
        e.path().string().find(".sqlite-") == std::string::npos) {
      out[fs::relative(e.path(), root).string()] = backend::readFile(e.path()).value_or("");
    }
  }
  return out;
}

class Hardening : public ::testing::Test {
 protected:
  Hardening() : core(std::make_shared<FakeCore>()), b(LocalLibrary(dir.path() / "lib"), core) {}

  Response send(const std::string& method, const std::string& url, const std::string& body = "") {
    return call(b, method, url, body);
  }
  std::string newSet(const std::string& name) {
    return *bodyJSON(send("POST", "/api/sets", R"({"name":")" + name + "\"}")).stringAt("id");
  }
  const LocalLibrary& lib() { return b.library(); }

  TempDir dir;
  std::shared_ptr<FakeCore> core;
  LocalBackend b;
};

TEST_F(Hardening, DeeplyNestedBodiesAreRefusedNotRecursedInto) {
  ASSERT_EQ(send("POST", "/api/texts?set=default", R"({"kept":1})").status, 200);
  for (const std::string& body : {std::string(30000, '[') + std::string(30000, ']'),
                                  std::string(100000, '{'), "[" + std::string(257, '[')}) {
    EXPECT_EQ(failure(send("POST", "/api/texts?set=default", body)),
              "400 Bad JSON body: nested too deeply");
    EXPECT_EQ(failure(send("POST", "/api/sets", body)), "400 Bad JSON body: nested too deeply");
  }
  EXPECT_EQ(send("GET", "/api/texts?set=default").body, R"({"kept":1})");
  // The limit itself is fine, and brackets inside strings are only text.
  const std::string deepest = std::string(256, '[') + std::string(256, ']');
  EXPECT_EQ(send("POST", "/api/order?set=default", deepest).status, 200);
  EXPECT_EQ(
      send("POST", "/api/texts?set=default", R"({"t":")" + std::string(5000, '[') + "\"}").status,
      200);
}

TEST_F(Hardening, DeletingASetRemovesOnlyItsOwnPictures) {
  newSet("Other");  // so that "default" isn't the last set
  ASSERT_EQ(send("POST", "/api/pages?set=default", R"({"pages":[{"id":"home","source":"upload"}]})")
                .status,
            200);
  const std::string copy =
      *bodyJSON(send("POST", "/api/sets/duplicate", R"({"from":"default"})")).stringAt("id");
  ASSERT_TRUE(copy.starts_with("default-copy-"));
  ASSERT_EQ(send("POST", "/api/screen?set=" + copy + "&page=home&os=ios&locale=en", png).status,
            200);
  ASSERT_EQ(send("POST", "/api/screen?set=default&page=home&os=ios&locale=de", png).status, 200);
  ASSERT_EQ(send("POST", "/api/background?set=default&page=home&os=ios", png).status, 200);
  // A file whose name only begins like the set's: another set's, or no set's.
  writeFile(lib().screens() / "spring-1700000000000-home-ios.png", png);

  EXPECT_EQ(failure(send("DELETE", "/api/sets?id=spring")), "404 Unknown set");
  EXPECT_EQ(send("DELETE", "/api/sets?id=default").status, 200);
  EXPECT_TRUE(fs::exists(lib().screens() / (copy + "-home-ios-en.png")));
  EXPECT_TRUE(fs::exists(lib().screens() / "spring-1700000000000-home-ios.png"));
  EXPECT_FALSE(fs::exists(lib().screens() / "default-home-ios-de.png"));
  EXPECT_FALSE(fs::exists(lib().backgrounds() / "default-home-ios.png"));
  EXPECT_EQ(send("GET", "/api/screen?set=" + copy + "&page=home&os=ios&locale=en").body, png);
}

TEST_F(Hardening, IdsThatCouldNameAnotherPlaceAreRefusedWhereTheyEnter) {
  ASSERT_EQ(send("POST", "/api/texts?set=default", R"({"mine":1})").status, 200);
  const auto before = tree(lib().root());
  const std::string longId(300, 'a');
  for (const std::string& url : std::vector<std::string>{
           "/api/texts?set=default%00evil", "/api/texts?set=..%2F..%2Fx", "/api/texts?set=a%5Cb",
           "/api/pages?set=a%0Db", "/api/texts?set=" + longId,
           "/api/screen?set=default&page=" + longId + "&os=ios", "/api/screen?page=..&os=ios"}) {
    const Response r = send("POST", url, url.starts_with("/api/screen") ? png : R"({"x":1})");
    EXPECT_EQ(r.status, 400) << url << " " << r.body;
    EXPECT_EQ(r.body.find(lib().root().string()), std::string::npos) << r.body;
  }
  EXPECT_EQ(failure(send("DELETE", "/api/sets?id=" + longId)),
            "400 A set id can\u2019t be longer than 128 bytes.");
  for (const char* id : {"../../../tmp/x", "a/b", "..", "a\\\\b", "tab\\there"}) {
    const std::string body = R"({"pages":[{"id":")" + std::string(id) + R"(","source":"upload"}]})";
    EXPECT_EQ(failure(send("POST", "/api/pages?set=default", body)),
              "400 A page id can\u2019t contain \u201C/\u201D, \u201C\\\u201D, \u201C..\u201D or "
              "control characters.")
        << id;
  }
  EXPECT_EQ(send("GET", "/api/texts?set=default").body, R"({"mine":1})");
  EXPECT_EQ(tree(lib().root()), before);
  EXPECT_EQ(b.db().query("SELECT count(*) FROM set_pages WHERE id LIKE '%..%'")[0][0],
            backend::LocalDatabase::Value(std::int64_t{0}));
}

TEST_F(Hardening, SetsMadeByTwoProcessesAtOnceAllGetIds) {
  // A second backend on the same folder is what a second process is: its own
  // connection and its own clock for ids.
  LocalBackend other(LocalLibrary(dir.path() / "lib"), core);
  // The other process made sets faster than one a millisecond: its ids run
  // seconds ahead of the clock this one reads.
  const std::int64_t now = backend::nowMs();
  other.db().query(
      "WITH RECURSIVE n(ms) AS (SELECT ? UNION ALL SELECT ms + 1 FROM n WHERE ms < ?) "
      "INSERT INTO sets (id, name) SELECT 'race-' || ms, 'Race' FROM n",
      {now, now + 19999});
  other.skipIdsThrough(now + 20000);
  std::atomic<int> failed{0};
  auto make = [&](LocalBackend& backend) {
    for (int i = 0; i < 150; ++i) {
      if (call(backend, "POST", "/api/sets", R"({"name":"Race"})").status != 200) ++failed;
    }
  };
  std::thread first(make, std::ref(b)), second(make, std::ref(other));
  first.join();
  second.join();
  EXPECT_EQ(failed, 0);
  EXPECT_EQ(bodyJSON(send("GET", "/api/sets")).asArray()->size(), 20300u);
}

TEST_F(Hardening, TwoDeletesAtOnceNeverRemoveTheLastSet) {
  LocalBackend other(LocalLibrary(dir.path() / "lib"), core);
  for (int round = 0; round < 200; ++round) {
    const std::string a = newSet("A"), c = newSet("B");
    for (const auto& row : b.db().loadSets()) {
      if (row.id != a && row.id != c) {
        ASSERT_EQ(send("DELETE", "/api/sets?id=" + row.id).status, 200);
      }
    }
    std::thread first([&] { call(b, "DELETE", "/api/sets?id=" + a); });
    std::thread second([&] { call(other, "DELETE", "/api/sets?id=" + c); });
    first.join();
    second.join();
    ASSERT_EQ(b.db().loadSets().size(), 1u) << "round " << round;
  }
}

TEST_F(Hardening, HeaderValuesCannotCarryLinesFromARequest) {
  // A route of a layer above that echoes request text into a header.
  backend::RouteFamilies echo;
  echo.exact.push_back({"GET", "/echo", [](LocalBackend&, const backend::Request& r) {
                          Response out = Response::ok();
                          out.headers["Content-Disposition"] =
                              "attachment; filename=\"" + r.param("name") + ".zip\"";
                          out.mime = "text/plain; " + r.param("name");
                          return out;
                        }});
  LocalBackend echoing(LocalLibrary(dir.path() / "lib"), core, echo);
  const Response r = call(echoing, "GET", "/echo?name=x%22%0D%0AX-Injected:%20yes%0A%0Dmore%00end");
  for (const std::string& value : {r.headers.at("Content-Disposition"), r.mime})
    EXPECT_EQ(value.find_first_of("\r\n"s + '\0'), std::string::npos) << value;

  EXPECT_EQ(backend::attachmentDisposition("tempo-en-ios-dark.zip"),
            "attachment; filename=\"tempo-en-ios-dark.zip\"; "
            "filename*=UTF-8''tempo-en-ios-dark.zip");
  EXPECT_EQ(backend::attachmentDisposition("x\"\r\nX-Injected: \u00fc.zip"),
            "attachment; filename=\"x___X-Injected: __.zip\"; "
            "filename*=UTF-8''x%22%0D%0AX-Injected%3A%20%C3%BC.zip");
  EXPECT_EQ(failure(call(b, "GET", "/api/download-all?set=x%22%0D%0AX-Injected:%20yes")),
            "400 A set id can\u2019t contain \u201C/\u201D, \u201C\\\u201D, \u201C..\u201D or "
            "control characters.");
}

TEST_F(Hardening, ClientMistakesAre4xxAndNeverShowTheLibraryFolder) {
  EXPECT_EQ(failure(send("POST", "/api/sets", R"({"name":"A","appId":"nope"})")),
            "400 No app in the library has the id \u201Cnope\u201D; add the app first, or leave "
            "the set unfiled.");
  const std::string set = newSet("Filed");
  EXPECT_EQ(failure(send("PATCH", "/api/sets", R"({"id":")" + set + R"(","appId":"nope"})")),
            "400 No app in the library has the id \u201Cnope\u201D; add the app first, or leave "
            "the set unfiled.");
  // A write the platform refuses names the file inside the library only.
  fs::create_directories(lib().screens() / "default-home-ios.png" / "blocker");
  const Response r = send("POST", "/api/screen?page=home&os=ios", png);
  EXPECT_EQ(r.status, 500);
  EXPECT_EQ(r.body.find(lib().root().string()), std::string::npos) << r.body;
  EXPECT_NE(r.body.find("screens/default-home-ios.png"), std::string::npos) << r.body;
}

TEST_F(Hardening, UploadsMustBePictures) {
  b.start();
  const auto before = tree(lib().root());
  const std::string html = "<html><script>alert(1)</script></html>";
  for (const char* url :
       {"/api/screen?page=home&os=ios", "/api/background?os=ios", "/api/overlay?os=ios",
        "/api/layer-asset", "/api/orvo/app-icon", "/api/sticker-packs/items?pack=p&name=n"}) {
    EXPECT_EQ(failure(send("POST", url, html)),
              "400 This isn\u2019t a picture Vellora can use: upload a PNG, JPEG or WebP file.")
        << url;
  }
  EXPECT_EQ(failure(send("POST", "/api/screen?page=home&os=ios",
                         "\0\0\0\x18"
                         "ftypheic\0\0\0\0mif1heic"s)),
            "400 HEIC pictures can\u2019t be used here: save it as PNG or JPEG and upload that.");
  EXPECT_EQ(tree(lib().root()), before);
  // The bytes decide the stored type, whatever the client claimed.
  const std::string jpeg = "\xFF\xD8\xFF\xE0 jpeg"s;
  ASSERT_EQ(call(b, "POST", "/api/screen?page=home&os=ios", jpeg).status, 200);
  EXPECT_TRUE(fs::exists(lib().screens() / "default-home-ios.jpg"));
  EXPECT_EQ(send("GET", "/api/screen?page=home&os=ios").mime, "image/jpeg");
  EXPECT_EQ(failure(send("POST", "/api/layer-asset",
                         png + std::string(backend::maxLayerAssetBytes, '\0'))),
            "413 Image too large: this upload takes at most 32 MB.");
}

TEST(ReadOnlyLibrary, ServesReadsAndRefusesWritesWithASentence) {
  TempDir dir;
  const fs::path root = dir.path() / "lib";
  std::string set;
  {
    LocalBackend writer(LocalLibrary(root), std::make_shared<FakeCore>());
    set = *bodyJSON(call(writer, "POST", "/api/sets", R"({"name":"Kept"})")).stringAt("id");
    ASSERT_EQ(call(writer, "POST", "/api/texts?set=" + set, R"({"t":1})").status, 200);
    ASSERT_EQ(call(writer, "POST", "/api/screen?page=home&os=ios&set=" + set, png).status, 200);
  }
  const auto before = tree(root);
  for (const auto& e : fs::recursive_directory_iterator(root)) {
    fs::permissions(e.path(), fs::perms::owner_write | fs::perms::group_write,
                    fs::perm_options::remove);
  }
  fs::permissions(root, fs::perms::owner_write, fs::perm_options::remove);
  // Root may write anything, so the reader is a process that dropped to "nobody".
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    if (::setgid(65534) != 0 || ::setuid(65534) != 0) ::_exit(100);
    LocalBackend reader(LocalLibrary(root), std::make_shared<FakeCore>());
    int failed = 0;
    if (call(reader, "GET", "/api/texts?set=" + set).body != R"({"t":1})") failed |= 1;
    if (call(reader, "GET", "/api/screen?page=home&os=ios&set=" + set).body != png) failed |= 2;
    const Response write = call(reader, "POST", "/api/texts?set=" + set, R"({"t":2})");
    if (write.status != 403 ||
        bodyJSON(write).stringAt("error") != backend::LocalDatabase::readOnlyMessage) {
      failed |= 4;
    }
    if (call(reader, "DELETE", "/api/sets?id=" + set).status != 403) failed |= 8;
    ::_exit(failed);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0) << "1 texts, 2 screen, 4 write refusal, 8 delete refusal";
  EXPECT_EQ(tree(root), before);
}

TEST(IdRule, SaysWhatIsWrong) {
  EXPECT_EQ(backend::idProblem("set", "spring-sale-1700000000000"), std::nullopt);
  EXPECT_EQ(backend::idProblem("page", "\u00e9t\u00e9 2"), std::nullopt);
  EXPECT_EQ(backend::idProblem("set", ""), std::nullopt);
  EXPECT_EQ(backend::idProblem("set", std::string(128, 'x')), std::nullopt);
  EXPECT_TRUE(backend::idProblem("set", std::string(129, 'x')));
  for (const std::string& bad : {"a/b"s, "a\\b"s, "a..b"s, "a\0b"s, "a\x7F"s, "\xFF\xFE"s})
    EXPECT_TRUE(backend::idProblem("set", bad)) << bad;
}

}  // namespace
}  // namespace vells::testing
