// The stores' rules without a browser: the sizes and how a design fills
// them, the stores' locale codes, the upload folders, and the checks on
// planted images.
#include <gtest/gtest.h>

#include <opencv2/imgcodecs.hpp>

#include "backend/images.h"
#include "backend/test_support.h"
#include "rendering/store_check.h"
#include "rendering/store_locales.h"
#include "rendering/store_size.h"
#include "rendering/upload_layout.h"

namespace vells::rendering {
namespace {

namespace fs = std::filesystem;

std::string png(int width, int height, int channels, int level = 9) {
  cv::Mat image(height, width, channels == 4 ? CV_8UC4 : CV_8UC3, cv::Scalar(40, 120, 200, 255));
  std::vector<uchar> out;
  cv::imencode(".png", image, out, {cv::IMWRITE_PNG_COMPRESSION, level});
  return {out.begin(), out.end()};
}

// Random pixels don't compress: a picture of the size asked for, give or take.
std::string noisyPNG(int width, int height) {
  cv::Mat image(height, width, CV_8UC3);
  cv::randu(image, cv::Scalar::all(0), cv::Scalar::all(255));
  std::vector<uchar> out;
  cv::imencode(".png", image, out, {cv::IMWRITE_PNG_COMPRESSION, 0});
  return {out.begin(), out.end()};
}

TEST(StoreSizes, EachFitsTheDesignAtOneScaleAndExtendsTheBackground) {
  const CSSSize ios{621, 1344}, android{642, 1389};
  for (const std::string os : {"ios", "android"}) {
    for (const StoreSize& size : storeSizes(os)) {
      SCOPED_TRACE(size.name());
      const StoreFit fit = storeFit(os == "ios" ? ios : android, size.width, size.height);
      EXPECT_NEAR(fit.stage.width * fit.scale, size.width, 1e-6);
      EXPECT_NEAR(fit.stage.height * fit.scale, size.height, 1e-6);
      EXPECT_TRUE(fit.side == 0 || fit.bottom == 0) << "only one way to extend";
    }
  }
  const StoreFit same = storeFit(ios, 1242, 2688);
  EXPECT_DOUBLE_EQ(same.scale, 2);
  EXPECT_FALSE(same.extends());
  const StoreFit taller = storeFit(ios, 1320, 2868);
  EXPECT_NEAR(taller.scale, 1320.0 / 621, 1e-9);
  EXPECT_NEAR(taller.bottom, 2868 / taller.scale - 1344, 1e-9);
  EXPECT_GT(taller.bottom, 5);
  EXPECT_EQ(taller.side, 0);
  const StoreFit wider = storeFit(ios, 1080, 1920);
  EXPECT_NEAR(wider.scale, 1920.0 / 1344, 1e-9);
  EXPECT_NEAR(wider.side, (1080 / wider.scale - 621) / 2, 1e-9);
  EXPECT_EQ(wider.bottom, 0);
}

TEST(StoreSizes, TheRequiredClassIsTheDefaultAndABadNameListsTheValidOnes) {
  EXPECT_EQ(requiredStoreSize("ios").name(), "1320x2868");
  EXPECT_EQ(requiredStoreSize("android").name(), "1284x2778");
  EXPECT_EQ(parseStoreSize("ios", "1290\u00d72796").name(), "1290x2796");
  try {
    parseStoreSize("android", "1320x2868");
    ADD_FAILURE() << "an iPhone size passed for Android";
  } catch (const StoreSizeError& e) {
    const std::string what = e.what();
    EXPECT_NE(what.find("There is no Android size '1320x2868'"), std::string::npos) << what;
    EXPECT_NE(what.find("1080x1920 (Android phone 9:16)"), std::string::npos) << what;
  }
  EXPECT_THROW(parseStoreSize("ios", "big"), StoreSizeError);
}

TEST(StoreLocales, EachStoreSpellsOurLocalesItsOwnWay) {
  const std::vector<std::tuple<std::string, std::string, std::string>> expected{
      {"en", "en-US", "en-US"},        {"de", "de-DE", "de-DE"},    {"ja", "ja", "ja-JP"},
      {"ar", "ar-SA", "ar"},           {"pt-BR", "pt-BR", "pt-BR"}, {"zh-Hans", "zh-Hans", "zh-CN"},
      {"zh-Hant", "zh-Hant", "zh-TW"}, {"he", "he", "iw-IL"},       {"es-MX", "es-MX", "es-419"},
      {"no", "no", "no-NO"},           {"fr-CA", "fr-CA", "fr-CA"}, {"DE-de", "de-DE", "de-DE"},
  };
  for (const auto& [ours, apple, play] : expected) {
    SCOPED_TRACE(ours);
    EXPECT_EQ(appStoreLocale(ours).value_or("none"), apple);
    EXPECT_EQ(playLocale(ours).value_or("none"), play);
  }
  // Persian is on Google Play but not on the App Store; nobody has Klingon.
  EXPECT_FALSE(appStoreLocale("fa"));
  EXPECT_EQ(playLocale("fa").value_or(""), "fa");
  EXPECT_FALSE(appStoreLocale("tlh"));
  EXPECT_FALSE(playLocale("tlh"));
}

TEST(UploadLayout, WritesTheToolsFoldersOnlyWhenCommittedAndKeepsOtherFiles) {
  testing::TempDir dir;
  const fs::path root = dir.path() / "fastlane";
  fs::create_directories(root / "screenshots" / "de-DE");
  backend::writeFileAtomically(root / "screenshots" / "de-DE" / "old.png", "old");
  backend::writeFileAtomically(root / "Fastfile", "lane");
  {
    UploadLayout layout(root);
    layout.add("ios", "de", 1, "home", "ios-de-1");
    layout.add("android", "ja", 2, "focus", "android-ja-2");
    EXPECT_THROW(layout.add("ios", "fa", 1, "home", "x"), UploadLayoutError);
    // Nothing shows before the commit.
    EXPECT_TRUE(fs::exists(root / "screenshots" / "de-DE" / "old.png"));
    EXPECT_FALSE(fs::exists(root / "metadata"));
    layout.commit();
    EXPECT_EQ(layout.count(), 2u);
  }
  EXPECT_EQ(backend::readFile(root / "screenshots" / "de-DE" / "01_home.png").value_or(""),
            "ios-de-1");
  EXPECT_FALSE(fs::exists(root / "screenshots" / "de-DE" / "old.png"))
      << "a locale is replaced whole";
  EXPECT_EQ(backend::readFile(root / "metadata" / "android" / "ja-JP" / "images" /
                              "phoneScreenshots" / "02_focus.png")
                .value_or(""),
            "android-ja-2");
  EXPECT_EQ(backend::readFile(root / "Fastfile").value_or(""), "lane");
  // No staging folder is left behind, committed or not.
  {
    UploadLayout abandoned(root);
    abandoned.add("ios", "en", 1, "home", "never");
  }
  for (const auto& entry : fs::directory_iterator(root))
    EXPECT_NE(entry.path().filename().string().rfind(".vellora-upload-", 0), 0u) << entry.path();
  EXPECT_FALSE(fs::exists(root / "screenshots" / "en-US"));
}

TEST(StoreCheck, ExportedImagesPassAndPlantedBadOnesAreRejectedWithSentences) {
  StoreCheck good;
  for (const char* locale : {"en", "de"}) {
    good.addImage("ios", locale, "home", png(1320, 2868, 3));
    good.addImage("android", locale, "home", png(1080, 1920, 3));
    good.addImage("android", locale, "focus", png(1080, 1920, 3));
  }
  for (const auto& finding : good.findings())
    EXPECT_FALSE(finding.rejected) << finding.sentence;

  StoreCheck bad;
  bad.addImage("ios", "en", "alpha", png(1320, 2868, 4));
  bad.addImage("android", "en", "tall", png(1000, 2400, 3));
  for (int i = 0; i < 10; ++i)
    bad.addImage("ios", "de", "page" + std::to_string(i), png(1242, 2688, 3));
  bad.addImage("ios", "de", "eleventh", png(1242, 2688, 3));
  const std::string heavy = noisyPNG(1320, 2868);
  ASSERT_GT(heavy.size(), 9u * 1024 * 1024);
  bad.addImage("ios", "ja", "heavy", heavy);
  bad.addImage("ios", "ja", "text", "not a picture");
  std::vector<std::string> rejected;
  for (const auto& finding : bad.findings())
    if (finding.rejected) rejected.push_back(finding.sentence);
  auto has = [&](const std::string& part) {
    return std::any_of(rejected.begin(), rejected.end(),
                       [&](const std::string& s) { return s.find(part) != std::string::npos; });
  };
  EXPECT_TRUE(has("ios en alpha: has an alpha channel, and the App Store rejects"));
  EXPECT_TRUE(has("android en tall: 1000\u00d72400 (2.40:1) isn't a size Google Play takes"));
  EXPECT_TRUE(has("android en: 1 screenshot; Google Play needs at least 2"));
  EXPECT_TRUE(has("ios de: 11 screenshots of iPhone 6.5\"; the App Store takes at most 10"));
  EXPECT_TRUE(has("ios ja heavy: is "));
  EXPECT_TRUE(has("MB; the stores take at most 8 MB per screenshot."));
  EXPECT_TRUE(has("ios ja text: isn't a PNG or JPEG picture"));
  EXPECT_EQ(rejected.size(), 6u);
}

TEST(StoreCheck, CopyClaimsAndABigCaptionAreAdviceNotRejections) {
  StoreCheck check;
  check.addCopy("en", "home", "The #1 habit tracker", {"The title shows a price."});
  check.addCopy("de", "home", "Bester Tracker", {});  // "Bester" is no English claim
  check.addCaption("en", "home", 0.27);
  check.addCaption("en", "focus", 0.12);
  const auto found = check.findings();
  ASSERT_EQ(found.size(), 3u);
  for (const auto& f : found)
    EXPECT_FALSE(f.rejected) << f.sentence;
  EXPECT_EQ(found[0].sentence, "en home: The title shows a price.");
  EXPECT_NE(found[1].sentence.find("claims to be the best or number one"), std::string::npos);
  EXPECT_EQ(found[2].sentence,
            "android en home: the caption covers 27 % of the image; Google Play advises at most "
            "20 %.");
}

}  // namespace
}  // namespace vells::rendering
