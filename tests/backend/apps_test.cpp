#include <gtest/gtest.h>

#include "backend/apps.h"
#include "backend/fake_store_server.h"
#include "platform/net/http_get.h"

namespace vells::testing {
namespace {

using backend::appIdFromLink;
using backend::cleanProfile;
namespace app_store = backend::app_store;
namespace net = platform::net;

TEST(AppIds, LinksListedIdsAndSlugs) {
  EXPECT_EQ(appIdFromLink("https://apps.apple.com/us/app/name/id1234567890?mt=8"), "1234567890");
  EXPECT_EQ(appIdFromLink(" \t987\t "), "987");
  EXPECT_EQ(appIdFromLink("id123"), std::nullopt);
  EXPECT_EQ(appIdFromLink("/id12x"), "12");
  EXPECT_EQ(appIdFromLink("https://x/app/idea/id55"), "55");
  EXPECT_EQ(appIdFromLink("987\n"), std::nullopt);  // only blanks and tabs are trimmed

  EXPECT_TRUE(backend::isListed("0123"));
  EXPECT_FALSE(backend::isListed(""));
  EXPECT_FALSE(backend::isListed("unlisted-app-17"));
  EXPECT_FALSE(backend::isListed("\u0661\u0662\u0663"));  // Arabic-Indic digits

  EXPECT_EQ(backend::unlistedAppId("  My  App! 2 ", 5), "unlisted-my-app-2-5");
  EXPECT_EQ(backend::unlistedAppId("!!!", 5), "unlisted-app-5");
  EXPECT_EQ(backend::unlistedAppId("\u00c9t\u00e9", 5), "unlisted-t-5");
}

TEST(Profiles, KeepOnlyWhatGenerationReads) {
  EXPECT_EQ(JSONValue(*cleanProfile(JSONValue::parse(
                R"({"platforms":["ios","web","ios"],"about":" a ","audience":"\n","x":1})"))),
            JSONValue::parse(R"({"platforms":["ios"],"about":"a"})"));
  EXPECT_EQ(cleanProfile(JSONValue::parse(R"({"platforms":["web"]})")), std::nullopt);
  EXPECT_EQ(cleanProfile(JSONValue::parse(R"(["about"])")), std::nullopt);

  // Unicode white space counts; the cut is by character, never inside one.
  EXPECT_EQ(cleanProfile(JSONValue::Object{{"brandColor", "\u00a0#f00\u2028"}})->at("brandColor"),
            JSONValue("#f00"));
  EXPECT_EQ(cleanProfile(JSONValue::Object{{"about", std::string(700, 'x')}})->at("about"),
            JSONValue(std::string(600, 'x')));
  std::string thumbs;  // each: two code points, eight bytes, one character
  for (int i = 0; i < 601; ++i)
    thumbs += "\U0001F44D\U0001F3FD";
  EXPECT_EQ(*cleanProfile(JSONValue::Object{{"about", thumbs}})->at("about").asString(),
            thumbs.substr(0, 600 * 8));
}

TEST(StoreLookup, MapsTheFirstResult) {
  const JSONValue::Object info = app_store::infoFromResult(JSONValue::parse(R"({
    "trackName":"Tally","artworkUrl100":"https://x/100.png","price":"free","currency":7,
    "primaryGenreId":6017,"languageCodesISO2A":"EN","features":["iosUniversal"],
    "trackContentRating":"4+","userRatingCountForCurrentVersion":3.5})"));
  EXPECT_EQ(info.size(), 32u);
  EXPECT_EQ(JSONValue(info), JSONValue::parse(R"({
    "name":"Tally","developer":null,"icon":"https://x/100.png","icon512":"https://x/100.png",
    "rating":null,"ratingCount":null,"category":null,"price":null,"numericPrice":0,
    "currency":"","version":null,"description":"","genreId":"6017","genres":[],
    "releaseDate":"","lastUpdated":"","minimumOsVersion":"","languages":[],"fileSizeBytes":"",
    "screenshotUrls":[],"ipadScreenshotUrls":[],"appletvScreenshotUrls":[],
    "contentAdvisoryRating":"","advisories":[],"releaseNotes":"","sellerUrl":"","bundleId":"",
    "trackViewUrl":"","ratingCurrentVersion":null,"ratingCountCurrentVersion":null,
    "isUniversal":true,"isMadeForKids":true})"));
  EXPECT_EQ(app_store::infoFromResult(JSONValue::parse(R"({"primaryGenreId":"6017",
              "trackContentRating":"4+"})"))
                .at("isMadeForKids"),
            JSONValue(false));
}

TEST(StoreLookup, AsksInOneOrderOverHttpsUnlessTold) {
  FakeStoreServer store;
  store.answer(200, R"({"results":[{"trackName":"One"},{"trackName":"Two"}]})");
  EXPECT_EQ(app_store::info("42", {store.base() + "/", true})->at("name"), JSONValue("One"));
  EXPECT_EQ(store.targets(), std::vector<std::string>{"/lookup?id=42&country=us&entity=software"});
  store.answer(200, R"({"results":[{},1]})");
  EXPECT_EQ(app_store::info("42", {store.base(), true}), std::nullopt);

  EXPECT_EQ(app_store::Endpoint{}.base, "https://itunes.apple.com");
  EXPECT_THROW(app_store::info("42", {store.base(), false}), net::TransportError);
  EXPECT_THROW(net::httpGet(store.base() + "/x"), net::TransportError);
  EXPECT_EQ(store.targets().size(), 2u);  // the refused ones never left

  std::string closed;
  {
    FakeStoreServer gone;
    closed = gone.base() + "/lookup";
  }
  try {
    net::httpGet(closed, net::Schemes::httpAndHttps);
    ADD_FAILURE() << "a refused connection must throw";
  } catch (const net::TransportError& e) {
    EXPECT_NE(std::string(e.what()).find(closed), std::string::npos) << e.what();
  }
}

}  // namespace
}  // namespace vells::testing
