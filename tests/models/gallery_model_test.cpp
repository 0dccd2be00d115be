#include "models/gallery_model.h"

#include <gtest/gtest.h>

#include <QSignalSpy>

#include "backend/test_support.h"
#include "models/app_model.h"
#include "models/fake_transport.h"
#include "models/file_saver.h"
#include "models/image_store.h"
#include "models/manual_clock.h"
#include "models/reorder_drop.h"

namespace vells::testing {
namespace {

using namespace std::chrono_literals;
using models::APIClient;
using models::FileSaver;
using models::GalleryModel;
using models::ReorderDrop;

// Keeps what it was asked to save, and answers as told.
struct FakeSaver : FileSaver {
  std::vector<std::pair<std::string, std::string>> saved;  // name, bytes
  Outcome::Kind answer = Outcome::Kind::saved;
  void save(std::string bytes, std::string name, std::function<void(Outcome)> done) override {
    saved.emplace_back(std::move(name), std::move(bytes));
    done(Outcome{answer, answer == Outcome::Kind::failed ? "The disk is full." : "", {}});
  }
};

struct Gallery : ::testing::Test {
  std::mutex mutex;
  GalleryStatus status{{"en:a", "en:b", "de:a"}, 10, false};
  bool statusFails = false;
  // While set, dark's status calls wait and then answer with this.
  std::optional<GalleryStatus> lateDark;
  std::condition_variable darkReleased;
  FakeTransport fake{[this](const backend::Request& r) {
    std::unique_lock g(mutex);
    if (r.path == "/api/gallery-status") {
      if (statusFails) return backend::Response::text("Still loading", 503);
      if (r.param("theme") == "dark" && lateDark) {
        ++darkWaiting;
        darkReleased.wait(g, [&] { return releaseDark; });
        return backend::Response::json(lateDark->encode());
      }
      return backend::Response::json(status.encode());
    }
    if (r.path == "/api/regenerate")
      return backend::Response::json(JSONValue::Object{{"removed", 3}});
    if (r.path == "/api/download-all") {
      backend::Response zip;
      zip.mime = "application/zip";
      zip.body = "PK-zip-" + r.param("locale", "all");
      return zip;
    }
    if (r.path == "/composite") {
      backend::Response out;
      out.mime = r.param("page") == "text" ? "text/plain" : "image/png";
      out.body = r.param("page") == "text" ? "Render failed: no device" : "png-bytes";
      return out;
    }
    if (r.path == "/api/pages")
      return backend::Response::json(JSONValue::Object{{"pages", JSONValue::array()}});
    if (r.path == "/api/order") return backend::Response::json(JSONValue::Object{});
    return backend::Response::json(JSONValue::Object{{"ok", true}, {"started", true}});
  }};
  ManualClock clock;
  APIClient client{fake.transport(), clock};
  int darkWaiting = 0;
  bool releaseDark = false;
  models::ImageStore images{client};
  TempDir dir;
  QSettings settings{QString::fromStdString((dir.path() / "v.conf").string()),
                     QSettings::IniFormat};
  models::AppModel app{client, images, settings};
  FakeSaver saver;
  GalleryModel gallery{app, clock, saver};

  void setStatus(GalleryStatus s) {
    std::lock_guard g(mutex);
    status = std::move(s);
  }
  void failStatus(bool fail) {
    std::lock_guard g(mutex);
    statusFails = fail;
  }
  bool settle() {
    return spinUntil([&] { return client.pendingCalls() == 0; });
  }
  std::vector<backend::Request> calls(const std::string& path) {
    std::vector<backend::Request> out;
    for (auto& r : fake.requests())
      if (r.path == path) out.push_back(r);
    return out;
  }
};

TEST_F(Gallery, PollsEveryOneAndAHalfSecondsAndStartsTheMissingRenders) {
  gallery.start();
  ASSERT_TRUE(settle());
  EXPECT_EQ(gallery.pendingCount(), 7);
  EXPECT_TRUE(gallery.isReady("de", "a"));
  EXPECT_FALSE(gallery.isReady("de", "b"));
  auto warms = calls("/api/warm");
  ASSERT_EQ(warms.size(), 1u);
  EXPECT_EQ(warms[0].param("priority"), "interactive");
  EXPECT_EQ(warms[0].param("os"), "android");

  setStatus({{"en:a"}, 2, true});  // rendering now: no more warm calls
  clock.advance(1499ms);
  ASSERT_TRUE(settle());
  EXPECT_EQ(calls("/api/gallery-status").size(), 1u);
  clock.advance(1ms);
  ASSERT_TRUE(settle());
  EXPECT_EQ(calls("/api/gallery-status").size(), 2u);
  EXPECT_EQ(gallery.pendingCount(), 1);
  EXPECT_EQ(calls("/api/warm").size(), 1u);

  setStatus({{"en:a", "en:b"}, 2, false});
  clock.advance(1500ms);
  ASSERT_TRUE(settle());
  EXPECT_EQ(gallery.pendingCount(), 0);
  clock.advance(60s);  // done: the poll ended (the warm-up fires once)
  ASSERT_TRUE(settle());
  EXPECT_EQ(calls("/api/gallery-status").size(), 3u);
}

TEST_F(Gallery, AFailingStatusRetriesAfterFourSecondsAndAnEmptySetStopsAtOnce) {
  failStatus(true);
  gallery.start();
  ASSERT_TRUE(settle());
  EXPECT_FALSE(gallery.ready());
  clock.advance(3999ms);
  ASSERT_TRUE(settle());
  EXPECT_EQ(calls("/api/gallery-status").size(), 1u);
  failStatus(false);
  setStatus({{}, 0, false});
  clock.advance(1ms);
  ASSERT_TRUE(settle());
  EXPECT_EQ(calls("/api/gallery-status").size(), 2u);
  ASSERT_TRUE(gallery.ready());
  EXPECT_EQ(gallery.pendingCount(), 0);
  EXPECT_FALSE(gallery.errorMessage());  // status failures are silent
  clock.advance(30s);
  ASSERT_TRUE(settle());
  EXPECT_EQ(calls("/api/gallery-status").size(), 2u);
}

TEST_F(Gallery, WarmsTheOtherPlatformThenTheOtherThemeAfterFourSecondsUnlessStopped) {
  setStatus({{}, 0, false});
  gallery.start();
  clock.advance(3999ms);
  ASSERT_TRUE(settle());
  EXPECT_TRUE(calls("/api/warm").empty());
  clock.advance(1ms);
  ASSERT_TRUE(settle());
  auto warms = calls("/api/warm");
  ASSERT_EQ(warms.size(), 2u);
  EXPECT_EQ(warms[0].param("os"), "ios");
  EXPECT_EQ(warms[0].param("theme"), "dark");
  EXPECT_EQ(warms[1].param("os"), "android");
  EXPECT_EQ(warms[1].param("theme"), "light");
  EXPECT_EQ(warms[0].query.count("priority") + warms[1].query.count("priority"), 0u);

  gallery.start();
  clock.advance(2s);
  gallery.stop();
  clock.advance(10s);
  ASSERT_TRUE(settle());
  EXPECT_EQ(calls("/api/warm").size(), 2u);
  EXPECT_EQ(clock.scheduled(), 0u);
}

TEST_F(Gallery, ANewTaskKeyRestartsAndNothingOfTheOldKeyArrivesLate) {
  gallery.setShowing(true);
  ASSERT_TRUE(settle());
  ASSERT_TRUE(gallery.ready());
  {
    std::lock_guard g(mutex);
    lateDark = GalleryStatus{{"en:a", "en:b", "de:a", "de:b"}, 4, true};
  }
  clock.advance(1500ms);  // a status call for dark is now in flight
  ASSERT_TRUE(spinUntil([&] {
    std::lock_guard g(mutex);
    return darkWaiting == 1;
  }));
  setStatus({{"en:a"}, 1, false});
  app.setTheme(ThemeName::light);  // restarts: light's own status call
  EXPECT_FALSE(gallery.ready());
  ASSERT_TRUE(spinUntil([&] { return gallery.ready().has_value(); }));
  {
    std::lock_guard g(mutex);
    releaseDark = true;
  }
  darkReleased.notify_all();
  ASSERT_TRUE(settle());
  auto polls = calls("/api/gallery-status");
  EXPECT_EQ(polls.back().param("theme"), "light");
  ASSERT_TRUE(gallery.ready());
  EXPECT_EQ(*gallery.ready(), std::set<std::string>{"en:a"});
  EXPECT_EQ(gallery.pendingCount(), 0);

  // Leaving for the editor stops everything; coming back starts over.
  app.setWorkspace(models::Workspace::editor);
  const auto before = fake.count();
  clock.advance(10s);
  ASSERT_TRUE(settle());
  EXPECT_EQ(fake.count(), before);
  app.setWorkspace(models::Workspace::gallery);
  ASSERT_TRUE(settle());
  EXPECT_GT(fake.count(), before);
}

TEST(GalleryOrder, RowsFollowTheStoredOrderAndDragsInsertByHalves) {
  ReorderDrop drop{"a", std::nullopt, {"a", "b", "c", "d"}};
  EXPECT_EQ(drop.hover("c", 10), (std::vector<std::string>{"b", "a", "c", "d"}));
  EXPECT_EQ(drop.hover("c", 74), (std::vector<std::string>{"b", "c", "a", "d"}));
  EXPECT_FALSE(drop.hover("a", 10));
  drop.liveRow = std::vector<std::string>{"b", "a", "c", "d"};
  EXPECT_FALSE(drop.hover("c", 10));  // already there
  EXPECT_EQ(drop.hover("d", 100), (std::vector<std::string>{"b", "c", "d", "a"}));
  EXPECT_FALSE((ReorderDrop{std::nullopt, std::nullopt, {"a"}}.hover("a", 0)));
}

TEST_F(Gallery, RowsSkipDeletedPagesPutNewOnesLastAndSavingSendsTheWholeOrder) {
  std::vector<SetPage> pages{{"home", "Home", PageSource::upload, {}},
                             {"stats", "Stats", PageSource::upload, {}},
                             {"new", "New", PageSource::upload, {}}};
  EXPECT_EQ(gallery.row("de", pages), (std::vector<std::string>{"home", "stats", "new"}));
  gallery.saveRow({"stats", "deleted", "home"}, "de");
  EXPECT_EQ(gallery.row("de", pages), (std::vector<std::string>{"stats", "home", "new"}));
  ASSERT_TRUE(settle());
  auto saves = calls("/api/order");
  ASSERT_FALSE(saves.empty());
  EXPECT_EQ(saves.back().method, "POST");
  EXPECT_EQ(JSONValue::parse(saves.back().body),
            JSONValue::parse(R"({"de":["stats","deleted","home"]})"));
}

TEST_F(Gallery, ExportsNameTheirFilesAndOnlyRealFailuresShow) {
  app.setOs(DeviceOS::ios);
  gallery.exportZip(std::nullopt);
  EXPECT_EQ(gallery.exporting(), "*");
  ASSERT_TRUE(settle());
  gallery.exportZip("de");
  ASSERT_TRUE(settle());
  ASSERT_EQ(saver.saved.size(), 2u);
  EXPECT_EQ(saver.saved[0].first, "default-ios-dark.zip");
  EXPECT_EQ(saver.saved[0].second, "PK-zip-all");
  EXPECT_EQ(saver.saved[1].first, "default-de-ios-dark.zip");
  EXPECT_FALSE(gallery.exporting());

  saver.answer = FileSaver::Outcome::Kind::cancelled;
  gallery.exportOne("home", "de", 0);
  ASSERT_TRUE(settle());
  EXPECT_EQ(saver.saved.back().first, "de-01-home.png");
  EXPECT_FALSE(gallery.errorMessage());

  saver.answer = FileSaver::Outcome::Kind::failed;
  gallery.exportOne("home", "de", 11);
  ASSERT_TRUE(settle());
  EXPECT_EQ(saver.saved.back().first, "de-12-home.png");
  EXPECT_EQ(gallery.errorMessage(), "The disk is full.");

  gallery.exportOne("text", "en", 0);
  ASSERT_TRUE(settle());
  EXPECT_EQ(gallery.errorMessage(), "Render failed: no device");
  EXPECT_EQ(saver.saved.size(), 4u);
}

TEST_F(Gallery, ASinglePageExportIsSeenWhileItRunsAndSaysWhereItWent) {
  QSignalSpy exported(&gallery, &GalleryModel::exported);
  gallery.exportOne("home", "de", 2);
  EXPECT_EQ(gallery.exportingOne(), "de-03-home.png");
  EXPECT_FALSE(gallery.exporting());  // the toolbar's Export All stays usable
  ASSERT_TRUE(settle());
  EXPECT_FALSE(gallery.exportingOne());
  ASSERT_EQ(exported.size(), 1);
  EXPECT_EQ(exported[0][0].toString(), QStringLiteral("de-03-home.png"));

  gallery.exportOne("text", "en", 0);  // a failure ends the export too
  ASSERT_TRUE(settle());
  EXPECT_FALSE(gallery.exportingOne());
  EXPECT_EQ(exported.size(), 1);

  saver.answer = FileSaver::Outcome::Kind::cancelled;
  gallery.exportZip(std::nullopt);
  ASSERT_TRUE(settle());
  EXPECT_EQ(exported.size(), 1);  // a cancelled save wrote nothing to speak of
}

TEST_F(Gallery, RegenerateBumpsTheVersionAndStartsOver) {
  gallery.start();
  ASSERT_TRUE(settle());
  const auto polls = calls("/api/gallery-status").size();
  gallery.regenerate();
  EXPECT_TRUE(gallery.regenerating());
  ASSERT_TRUE(settle());
  EXPECT_FALSE(gallery.regenerating());
  EXPECT_EQ(app.renderVersion(), 1);
  EXPECT_EQ(calls("/api/regenerate").back().param("theme"), "dark");
  EXPECT_GT(calls("/api/gallery-status").size(), polls);
  EXPECT_NE(gallery.thumbnailURL("en", "home")->find("v=1"), std::string::npos);
}

}  // namespace
}  // namespace vells::testing
