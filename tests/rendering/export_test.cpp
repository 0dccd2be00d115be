// The render cache and export routes on a real library, the fixture script and
// the real browser: archives read back by Info-ZIP, warm-ups watched through
// the gallery status.
#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <opencv2/imgcodecs.hpp>
#include <thread>

#include "backend/test_support.h"
#include "rendering/export_service.h"
#include "rendering/fixture_backend.h"
#include "routes/cache_routes.h"
#include "routes/page_routes.h"

namespace vells::testing {
namespace {

using backend::LocalBackend;
using backend::LocalLibrary;
using rendering::HTMLRenderer;

class Export : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { renderer = std::make_unique<HTMLRenderer>(2); }
  static void TearDownTestSuite() { renderer.reset(); }

  Export()
      : b(fixtureBackend(dir, *renderer,
                         {&routes::pageRoutes, &routes::cacheRoutes, &routes::exportRoutes})) {}

  // The archive's entry names, after Info-ZIP found every entry sound.
  std::string entries(const backend::Response& answer) {
    const auto file = dir.path() / "got.zip";
    std::ofstream(file, std::ios::binary | std::ios::trunc) << answer.body;
    const std::string test = runCommand("unzip -t '" + file.string() + "'");
    EXPECT_NE(test.find("No errors detected"), std::string::npos) << test;
    return runCommand("unzip -Z1 '" + file.string() + "'");
  }

  cv::Mat entry(const backend::Response& answer, const std::string& name) {
    const auto file = dir.path() / "got.zip";
    std::ofstream(file, std::ios::binary | std::ios::trunc) << answer.body;
    const std::string bytes = runCommand("unzip -p '" + file.string() + "' '" + name + "'");
    cv::Mat raw(1, static_cast<int>(bytes.size()), CV_8UC1, const_cast<char*>(bytes.data()));
    return cv::imdecode(raw, cv::IMREAD_UNCHANGED);
  }

  JSONValue status(const std::string& theme = "light") {
    return bodyJSON(call(*b, "GET", "/api/gallery-status?set=default&os=ios&theme=" + theme));
  }

  static std::unique_ptr<HTMLRenderer> renderer;
  TempDir dir;
  std::unique_ptr<LocalBackend> b;
};
std::unique_ptr<HTMLRenderer> Export::renderer;

TEST_F(Export, ArchiveFollowsEachLocalesOrderAndHoldsStoreReadyImages) {
  // German leaves a page out; the script's answer is followed as it stands.
  ASSERT_EQ(call(*b, "POST", "/api/order?set=default", R"({"de":["bare"]})").status, 200);
  const auto all = call(*b, "GET", "/api/download-all?set=default&os=ios&theme=light");
  ASSERT_EQ(all.status, 200) << all.body;
  EXPECT_EQ(all.mime, "application/zip");
  EXPECT_EQ(all.headers.at("Content-Disposition"),
            "attachment; filename=\"default-ios-light.zip\"");
  EXPECT_EQ(entries(all), "en/01-home.png\nen/02-bare.png\nde/01-bare.png\n");
  const cv::Mat png = entry(all, "en/01-home.png");
  EXPECT_EQ(png.cols, 300);  // 150 composite pixels at scale 2
  EXPECT_EQ(png.rows, 600);
  EXPECT_EQ(png.channels(), 3);

  const auto one = call(*b, "GET", "/api/download-all?set=default&os=ios&theme=light&locale=de");
  EXPECT_EQ(one.headers.at("Content-Disposition"),
            "attachment; filename=\"default-de-ios-light.zip\"");
  EXPECT_EQ(entries(one), "01-bare.png\n");

  // An order the script can't turn into ids keeps the set's own order.
  ASSERT_EQ(call(*b, "POST", "/api/order?set=default", R"({"de":["garbage"]})").status, 200);
  EXPECT_EQ(entries(call(*b, "GET", "/api/download-all?set=default&os=ios&theme=light&locale=de")),
            "01-home.png\n02-bare.png\n");
}

TEST_F(Export, RefusedAndEmptyExports) {
  const auto unknown = call(*b, "GET", "/api/download-all?set=default&locale=fr");
  EXPECT_EQ(unknown.status, 400);
  EXPECT_EQ(unknown.body, "Unknown locale for this set");

  const auto made = bodyJSON(call(*b, "POST", "/api/sets", R"({"name":"Empty"})"));
  const auto empty = call(*b, "GET", "/api/download-all?set=" + *made.stringAt("id"));
  ASSERT_EQ(empty.status, 200);
  EXPECT_EQ(empty.body.size(), 22u);
  EXPECT_EQ(empty.body.substr(0, 4), "PK\x05\x06");
}

TEST_F(Export, AnUnreadableImageIsLeftOutWithoutRenumbering) {
  const std::string url = "/api/download-all?set=default&os=android&theme=dark&locale=en";
  ASSERT_EQ(entries(call(*b, "GET", url)), "01-home.png\n02-bare.png\n");
  // The cached image of home becomes a folder: found, but not readable as a file.
  for (const auto& e : fs::directory_iterator(b->library().output())) {
    const std::string name = e.path().filename().string();
    const bool capture = name.ends_with("-phone.png") || name.ends_with("-hero.png");
    if (name.starts_with("default-home-android-dark-en-") && name.ends_with(".png") && !capture) {
      fs::remove(e.path());
      fs::create_directory(e.path());
    }
  }
  EXPECT_EQ(entries(call(*b, "GET", url)), "02-bare.png\n");
}

TEST_F(Export, AFailedRenderFailsTheWholeDownload) {
  // The failing page is neither first nor last, so other pages render beside it.
  ASSERT_EQ(
      call(*b, "POST", "/api/texts?set=default", R"({"bare":{"en":{"title":"boom"}}})").status,
      200);
  const auto failed = call(*b, "GET", "/api/download-all?set=default&os=ios&theme=light");
  EXPECT_EQ(failed.status, 500);
  EXPECT_NE(failed.body.find("the page could not be laid out"), std::string::npos) << failed.body;
  EXPECT_NE(failed.mime, "application/zip");

  ASSERT_EQ(
      call(*b, "POST", "/api/texts?set=default", R"({"bare":{"en":{"title":"fine"}}})").status,
      200);
  EXPECT_EQ(entries(call(*b, "GET", "/api/download-all?set=default&os=ios&theme=light")),
            "en/01-home.png\nen/02-bare.png\nde/01-home.png\nde/02-bare.png\n");
}

TEST_F(Export, TheServiceTellsEachImageInArchiveOrderOnTheCallersThread) {
  ASSERT_EQ(call(*b, "POST", "/api/order?set=default", R"({"de":["bare","home"]})").status, 200);
  std::vector<std::string> told;
  std::vector<std::thread::id> threads;
  rendering::ExportService service(*b, *renderer);
  const auto archive = service.run({"default", "ios", "light", ""}, [&](const auto& p) {
    told.push_back(std::to_string(p.done) + "/" + std::to_string(p.total) + " " + p.locale + " " +
                   p.page +
                   (p.outcome == rendering::ExportProgress::Outcome::added ? "" : " left out"));
    threads.push_back(std::this_thread::get_id());
  });
  EXPECT_EQ(told,
            (std::vector<std::string>{"1/4 en home", "2/4 en bare", "3/4 de bare", "4/4 de home"}));
  EXPECT_EQ(threads, std::vector<std::thread::id>(4, std::this_thread::get_id()));
  EXPECT_EQ(archive.entries, 4u);
  EXPECT_EQ(archive.fileName, "default-ios-light.zip");
  backend::Response asRoute;
  asRoute.body = archive.bytes;
  EXPECT_EQ(entries(asRoute), "en/01-home.png\nen/02-bare.png\nde/01-bare.png\nde/02-home.png\n");
}

TEST_F(Export, AStoppedExportEndsWithoutAnArchive) {
  rendering::ExportService service(*b, *renderer);
  // Asked before it begins: nothing is rendered.
  std::stop_source early;
  early.request_stop();
  EXPECT_THROW(service.run({"default", "android", "light", ""}, {}, early.get_token()),
               rendering::ExportStopped);
  EXPECT_FALSE(fs::exists(b->library().output()) && !fs::is_empty(b->library().output()));

  // Asked after the first image: no image is told after it.
  std::stop_source stop;
  int told = 0;
  EXPECT_THROW(service.run(
                   {"default", "ios", "dark", ""},
                   [&](const auto&) {
                     ++told;
                     stop.request_stop();
                   },
                   stop.get_token()),
               rendering::ExportStopped);
  EXPECT_EQ(told, 1);
  // The service is whole again afterwards.
  EXPECT_EQ(service.run({"default", "ios", "dark", "en"}).entries, 2u);
}

TEST_F(Export, RegenerateRemovesOnlyThisSetsOsAndTheme) {
  const fs::path out = b->library().output();
  fs::create_directories(out);
  const std::vector<std::string> names = {
      "default-home-ios-dark-en-1.png",     "default-home-ios-dark-en-1.thumb.jpg",
      "composite-default-ios-dark-x.png",   "default-home-ios-light-en-1.png",
      "default-home-android-dark-en-1.png", "defaults-home-ios-dark-en-1.png",
      "other-home-ios-dark-en-1.png",       "default-home.png"};
  for (const auto& name : names)
    std::ofstream(out / name) << "x";
  const auto answer = bodyJSON(call(*b, "POST", "/api/regenerate?set=default&os=ios&theme=dark"));
  EXPECT_EQ(answer.numberAt("removed"), 3);
  std::set<std::string> left;
  for (const auto& e : fs::directory_iterator(out))
    left.insert(e.path().filename().string());
  EXPECT_EQ(left, (std::set<std::string>{"default-home-ios-light-en-1.png",
                                         "default-home-android-dark-en-1.png",
                                         "defaults-home-ios-dark-en-1.png",
                                         "other-home-ios-dark-en-1.png", "default-home.png"}));
  EXPECT_EQ(bodyJSON(call(*b, "POST", "/api/regenerate?set=default&os=ios&theme=dark"))
                .numberAt("removed"),
            0);
}

TEST_F(Export, WarmFillsTheGalleryInTheBackgroundOncePerKey) {
  JSONValue before = status();
  EXPECT_EQ(before.find("ready")->asArray()->size(), 0u);
  EXPECT_EQ(before.numberAt("total"), 4);  // 2 locales × 2 pages
  EXPECT_FALSE(*before.find("rendering")->asBool());

  const auto first =
      bodyJSON(call(*b, "POST", "/api/warm?set=default&os=ios&theme=light&priority=interactive"));
  EXPECT_TRUE(*first.find("started")->asBool());
  EXPECT_EQ(first.numberAt("combinations"), 4);
  const auto again = bodyJSON(call(*b, "POST", "/api/warm?set=default&os=ios&theme=light"));
  EXPECT_FALSE(*again.find("started")->asBool());
  EXPECT_EQ(again.stringAt("reason"), "already warming");
  const auto otherTheme = bodyJSON(call(*b, "POST", "/api/warm?set=default&os=ios&theme=dark"));
  EXPECT_TRUE(*otherTheme.find("started")->asBool());

  // While the job runs, every status says so; the first that doesn't must
  // already see every page.
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(120);
  JSONValue now = status();
  while (*now.find("rendering")->asBool() && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    now = status();
  }
  ASSERT_FALSE(*now.find("rendering")->asBool());
  std::set<std::string> ready;
  for (const auto& r : *now.find("ready")->asArray())
    ready.insert(*r.asString());
  EXPECT_EQ(ready, (std::set<std::string>{"en:home", "en:bare", "de:home", "de:bare"}));

  // A warm-up makes thumbnails, not store images.
  for (const auto& e : fs::directory_iterator(b->library().output())) {
    const std::string name = e.path().filename().string();
    if (name.find("-ios-light-") == std::string::npos) continue;
    EXPECT_TRUE(name.ends_with(".thumb.jpg") || name.ends_with("-phone.png") ||
                name.ends_with("-hero.png") || name.ends_with("-hero.json"))
        << name;
  }
}

}  // namespace
}  // namespace vells::testing
