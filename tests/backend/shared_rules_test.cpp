#include <gtest/gtest.h>

#include "backend/content_name.h"
#include "backend/ids.h"
#include "backend/mime.h"
#include "backend/request_params.h"
#include "backend/sets.h"
#include "backend/url_request.h"
#include "document/json_value.h"

namespace vells::backend {
namespace {

TEST(Helpers, MimeRules) {
  EXPECT_EQ(mimeForExtension("a/b.JPEG"), "image/jpeg");
  EXPECT_EQ(mimeForExtension("x.webp"), "image/webp");
  EXPECT_EQ(mimeForExtension("x.gif"), "image/png");
  EXPECT_EQ(mimeForExtension("noext"), "image/png");
  EXPECT_EQ(sniffMime("\x89PNG....", "a.jpg"), "image/png");
  EXPECT_EQ(sniffMime("\xFF\xD8\xFF", "a.png"), "image/jpeg");
  EXPECT_EQ(sniffMime("RIFF....WEBP", "a.png"), "image/webp");
  EXPECT_EQ(sniffMime("R", "a.jpg"), "image/jpeg");
  EXPECT_EQ(sniffMime("", "a.webp"), "image/webp");
  EXPECT_EQ(mimeToExt(" image/jpeg ; charset=x"), "jpg");
  EXPECT_EQ(mimeToExt("image/jpg"), "jpg");
  EXPECT_EQ(mimeToExt("image/webp"), "webp");
  EXPECT_EQ(mimeToExt("IMAGE/JPEG"), "png");  // no case folding
  EXPECT_EQ(mimeToExt(""), "png");
}

TEST(Helpers, PngAspectReadsTheHeader) {
  std::string png(24, '\0');
  png[18] = '\x04', png[19] = '\xDA';  // width 1242
  png[22] = '\x0A', png[23] = '\x80';  // height 2688
  EXPECT_DOUBLE_EQ(pngAspect(png), 1242.0 / 2688.0);
  EXPECT_DOUBLE_EQ(pngAspect(png.substr(0, 23)), 1.0);
  png[22] = png[23] = 0;
  EXPECT_DOUBLE_EQ(pngAspect(png), 1.0);
}

TEST(Helpers, ShaIsTheFirst128BitsOfSha256) {
  EXPECT_EQ(sha("abc"), "ba7816bf8f01cfea414140de5dae2223");
  EXPECT_EQ(sha(""), "e3b0c44298fc1c149afbf4c8996fb924");
  EXPECT_EQ(sha(std::string("a\0b", 3)).size(), 32u);
  EXPECT_NE(sha(std::string("a\0b", 3)), sha("a"));
}

TEST(Helpers, SafeNameAndSetFolder) {
  EXPECT_EQ(safeName("  ../../etc/passwd "), "....etcpasswd");
  EXPECT_EQ(safeName("My Pack_1.png"), "My Pack_1.png");
  EXPECT_EQ(safeName("ünïcödé"), "ncd");
  EXPECT_EQ(safeName("///"), "");
  EXPECT_EQ(setFolder("spring-sale-1"), "spring-sale-1");
  EXPECT_EQ(setFolder("a.b/c"), "a_b_c");
  EXPECT_EQ(setFolder("é"), "_");
}

TEST(Helpers, NewSetId) {
  EXPECT_EQ(newSetId("Spring Sale", 1700000000000), "spring-sale-1700000000000");
  EXPECT_EQ(newSetId("--Ünïcode!!--2", 1), "n-code-2-1");
  EXPECT_EQ(newSetId("", 5), "set-5");
  EXPECT_EQ(newSetId("???", 5), "set-5");
}

TEST(Helpers, QueryReaders) {
  Request r;
  EXPECT_EQ(osParam(r), "android");
  EXPECT_EQ(themeParam(r), "dark");
  EXPECT_FALSE(appearanceParam(r));
  r.query = {{"os", "ios"}, {"theme", "light"}, {"appearance", "light"}};
  EXPECT_EQ(osParam(r), "ios");
  EXPECT_EQ(themeParam(r), "light");
  EXPECT_EQ(*appearanceParam(r), "light");
  r.query = {{"os", "IOS"}, {"theme", "Light"}, {"appearance", "dim"}};
  EXPECT_EQ(osParam(r), "android");
  EXPECT_EQ(themeParam(r), "dark");
  EXPECT_FALSE(appearanceParam(r));
}

TEST(Helpers, OverridesNeedAStringMap) {
  auto texts = JSONValue::parse(
      R"({"home":{"de":{"screen":{"a":"1","b":"2"}},"fr":{"screen":{"a":1}},"en":{"screen":[]}}})");
  EXPECT_EQ(overrides(texts, "home", "de"),
            (std::map<std::string, std::string>{{"a", "1"}, {"b", "2"}}));
  EXPECT_TRUE(overrides(texts, "home", "fr").empty());
  EXPECT_TRUE(overrides(texts, "home", "en").empty());
  EXPECT_TRUE(overrides(texts, "away", "de").empty());
  EXPECT_TRUE(overrides(JSONValue::parse("[1]"), "home", "de").empty());
}

TEST(UrlRequest, PathAndQueryRules) {
  auto r = requestFromURL("vells://local/api/pages?x=1&x=2&bare&set=my%20set#frag");
  EXPECT_EQ(r.method, "GET");
  EXPECT_EQ(r.path, "/api/pages");
  EXPECT_EQ(r.query.at("x"), "2");
  EXPECT_EQ(r.query.at("bare"), "");
  EXPECT_EQ(r.query.at("set"), "my set");
  EXPECT_EQ(requestFromURL("/a%20b/c").path, "/a b/c");
  EXPECT_EQ(requestFromURL("/bad%zzpath").path, "/bad%zzpath");  // raw where decoding fails
  EXPECT_EQ(requestFromURL("/bad%ffpath").path, "/bad%ffpath");  // not UTF-8
  EXPECT_EQ(requestFromURL("vells://local").path, "/");
  EXPECT_EQ(requestFromURL("vells://local?a=b").query.at("a"), "b");
  EXPECT_EQ(requestFromURL("/p?a=1+2").query.at("a"), "1+2");  // "+" is no blank here
  EXPECT_EQ(requestFromURL("/p?a=x=y").query.at("a"), "x=y");
  auto post = requestFromURL("/api/sets", "", "{}", "application/json", "\"tag\"");
  EXPECT_EQ(post.method, "GET");
  EXPECT_EQ(post.body, "{}");
  EXPECT_EQ(post.contentType, "application/json");
  EXPECT_EQ(*post.ifNoneMatch, "\"tag\"");
}

}  // namespace
}  // namespace vells::backend
