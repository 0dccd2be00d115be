// The whole road as the app travels it: a real library on the shipped core
// script, the real browser, the workspace starting up and switching
// everything, and the gallery filling itself.
#include <gtest/gtest.h>

#include <QDir>
#include <QFile>

#include "backend/test_support.h"
#include "cli/demo_set.h"
#include "models/app_model.h"
#include "models/fake_transport.h"
#include "models/file_saver.h"
#include "models/gallery_model.h"
#include "models/image_store.h"
#include "routes/local_service.h"

namespace vells::testing {
namespace {

using namespace models;

// Writes what it gets into a folder, as the save dialog would.
struct FolderSaver : FileSaver {
  fs::path folder;
  void save(std::string bytes, std::string name, std::function<void(Outcome)> done) override {
    writeFile(folder / name, bytes);
    done({});
  }
};

TEST(WorkspaceWithBrowser, StartsUpSwitchesEverythingAndTheGalleryFillsTheSampleSet) {
  TempDir dir;
  // Built as main() builds it; the service outlives every model below.
  routes::LocalService service = routes::makeLocalService(
      {backend::LocalLibrary(dir.path() / "lib"), fs::path(VELLS_SOURCE_RESOURCES), 2});
  auto& backend = service.backend;
  const std::string sampleApp = *backend->catalog().pagesAppId();
  backend->db().saveApp({sampleApp, {{"name", "Tempo"}}, 1});
  backend->db().saveApp({"other-app", {{"name", "Other"}}, 1});
  const std::vector<std::string> locales{"en", "de", "ja", "ar"};
  const std::vector<std::string> pages{"home", "habits", "detail", "insights", "focus", "settings"};
  backend->db().updateSet({"default", "Sample", sampleApp, locales});
  backend->db().updateSet({"other", "Other", std::string("other-app"), std::nullopt});
  call(*backend, "POST", "/api/pages?set=other", R"({"pages":[{"id":"s1","source":"upload"}]})");
  std::string list;
  for (const auto& p : pages)
    list += std::string(list.empty() ? "" : ",") + R"({"id":")" + p + R"("})";
  ASSERT_EQ(call(*backend, "POST", "/api/pages?set=default", R"({"pages":[)" + list + "]}").status,
            200);
  call(*backend, "POST", "/api/texts?set=default", cli::demoTexts().dump());
  call(*backend, "POST", "/api/styles?set=default", cli::demoStyles().dump());

  QSettings settings(QString::fromStdString((dir.path() / "vellora.conf").string()),
                     QSettings::IniFormat);
  settings.setValue("active.app", "other-app");
  settings.setValue("active.set", "other");
  QtTimerClock clock;
  APIClient client(APITransport::local(*backend), clock);
  ImageStore images(client);
  AppModel app(client, images, settings);
  FolderSaver saver;
  saver.folder = dir.path() / "exports";
  GalleryModel gallery(app, clock, saver);

  app.reconnect();
  ASSERT_TRUE(
      spinUntil([&] { return app.connection().kind != ConnectionState::Kind::connecting; }, 60000));
  ASSERT_EQ(app.connection().kind, ConnectionState::Kind::online) << app.connection().message;
  EXPECT_EQ(app.activeSet(), "other");
  EXPECT_EQ(app.activePage(), "s1");

  app.selectApp(sampleApp);
  ASSERT_TRUE(spinUntil([&] { return app.pages().size() == pages.size(); }));
  EXPECT_EQ(app.activeSet(), "default");
  EXPECT_EQ(app.activePage(), "home");
  app.setActivePage("detail");
  app.setActiveLocale("ja");
  app.setOs(DeviceOS::ios);
  app.setTheme(ThemeName::light);
  EXPECT_EQ(app.activeSetName(), "Sample");

  gallery.setShowing(true);
  ASSERT_TRUE(spinUntil([&] { return gallery.ready() && gallery.pendingCount() == 0; }, 600000))
      << gallery.pendingCount() << " still rendering";
  for (const auto& locale : locales) {
    for (const auto& page : pages)
      EXPECT_TRUE(gallery.isReady(locale, page)) << locale << ":" << page;
  }

  // A cell's thumbnail, through the image store, is the picture of its page.
  std::optional<QImage> thumb;
  bool loaded = false;
  images.image(*gallery.thumbnailURL("ja", "detail"), nullptr, [&](std::optional<QImage> image) {
    thumb = std::move(image);
    loaded = true;
  });
  ASSERT_TRUE(spinUntil([&] { return loaded; }, 60000));
  ASSERT_TRUE(thumb);
  EXPECT_GT(thumb->width(), 100);
  EXPECT_GT(thumb->height(), thumb->width());
  if (const char* keep = std::getenv("VELLS_KEEP_THUMBNAIL")) thumb->save(keep);

  // And the language's ZIP comes out under its name.
  gallery.exportZip("ja");
  ASSERT_TRUE(spinUntil([&] { return !gallery.exporting(); }, 120000));
  EXPECT_FALSE(gallery.errorMessage()) << *gallery.errorMessage();
  EXPECT_TRUE(fs::file_size(saver.folder / "default-ja-ios-light.zip") > 1000);
  gallery.setShowing(false);
}

}  // namespace
}  // namespace vells::testing
