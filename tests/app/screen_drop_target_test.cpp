// Files dropped on the gallery, as the window system delivers them: a folder
// of screenshots is imported, a file that isn't a picture gets a sentence.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QDragEnterEvent>
#include <QDropEvent>
#include <QImage>
#include <QMimeData>
#include <QUrl>

#include "app/gallery_library.h"
#include "app/gallery_view.h"
#include "app/screen_drop_target.h"

namespace vells::testing {
namespace {

// A real picture, as the upload route looks at the bytes.
void writePicture(const fs::path& path) {
  fs::create_directories(path.parent_path());
  QImage image(9, 19, QImage::Format_RGB32);
  image.fill(Qt::darkCyan);
  ASSERT_TRUE(image.save(QString::fromStdString(path.string()), "PNG"));
}

struct ScreenDrop : ::testing::Test {
  GalleryLibrary library{{"en", "de"}, {"home"}, DeviceOS::android, ThemeName::dark};
  struct : models::FileSaver {
    void save(std::string, std::string, std::function<void(Outcome)> done) override { done({}); }
  } saver;
  models::GalleryModel gallery{library.app, library.clock, saver};
  capture::ScreenImportModel importer{library.backendCall()};
  std::unique_ptr<app::GalleryView> view;
  TempDir drop;

  void SetUp() override {
    // A set of uploaded pages, so pictures have somewhere to go.
    call(*library.service.backend, "POST", "/api/pages?set=default",
         R"({"pages":[{"id":"welcome","label":"Welcome","source":"upload"},
                      {"id":"stats","label":"Stats","source":"upload"}]})");
    ASSERT_TRUE(library.connect()) << library.app.connection().message;
    view = std::make_unique<app::GalleryView>(gallery, library.app, library.images, importer);
    view->resize(1000, 680);
  }

  // Delivers a drag of these paths and its drop, as the window system does.
  bool dragAndDrop(const std::vector<fs::path>& paths, QString* highlight = nullptr) {
    QMimeData data;
    QList<QUrl> urls;
    for (const auto& p : paths)
      urls << QUrl::fromLocalFile(QString::fromStdString(p.string()));
    data.setUrls(urls);
    const QPoint at(200, 200);
    QDragEnterEvent enter(at, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(view.get(), &enter);
    if (!enter.isAccepted()) return false;
    if (highlight) *highlight = view->dropTarget().highlightText();
    EXPECT_TRUE(view->dropTarget().highlighted());
    QDropEvent dropped(at, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(view.get(), &dropped);
    EXPECT_FALSE(view->dropTarget().highlighted());
    return dropped.isAccepted();
  }
  bool hasScreen(const std::string& page, const std::string& locale) {
    auto r = call(*library.service.backend, "GET",
                  "/api/has-screen?set=default&page=" + page +
                      "&os=android&appearance=dark&locale=" + locale);
    const JSONValue body = bodyJSON(r);
    const JSONValue* exists = body.find("exists");
    return exists && exists->asBool() && *exists->asBool();
  }
};

TEST_F(ScreenDrop, AFolderOfLanguageFoldersLandsOnItsPagesAndTheLineIsShown) {
  writePicture(drop.path() / "shots" / "de" / "stats.png");
  writePicture(drop.path() / "shots" / "en" / "stats.png");
  writePicture(drop.path() / "shots" / "en" / "welcome.png");
  writeFile(drop.path() / "shots" / "notes.txt", "not a picture");
  const int version = library.app.renderVersion();
  QString highlight;
  ASSERT_TRUE(dragAndDrop({drop.path() / "shots"}, &highlight));
  EXPECT_EQ(highlight, QStringLiteral("Drop screenshots for Android"));
  ASSERT_TRUE(spinUntil([&] { return !view->noticeText().isEmpty(); }, 30000));
  EXPECT_EQ(view->noticeText(), QStringLiteral("Added 3 screens for Android — 1 not used"));
  EXPECT_TRUE(hasScreen("stats", "de"));
  EXPECT_TRUE(hasScreen("stats", "en"));
  EXPECT_TRUE(hasScreen("welcome", "en"));
  EXPECT_FALSE(hasScreen("welcome", "de"));
  EXPECT_EQ(library.app.renderVersion(), version + 1);  // the gallery draws them anew
}

TEST_F(ScreenDrop, AFileThatIsNotAPictureGetsASentenceAndChangesNothing) {
  writeFile(drop.path() / "release-notes.txt", "v2");
  ASSERT_TRUE(dragAndDrop({drop.path() / "release-notes.txt"}));
  EXPECT_EQ(view->noticeText(),
            QStringLiteral("“release-notes.txt” isn’t a picture. Drop PNG, JPEG, WebP or HEIC "
                           "screenshots, or a folder of them."));
  EXPECT_FALSE(importer.isImporting());
  EXPECT_FALSE(hasScreen("welcome", "en"));

  writeFile(drop.path() / "a.pdf", "%PDF");
  ASSERT_TRUE(dragAndDrop({drop.path() / "release-notes.txt", drop.path() / "a.pdf"}));
  EXPECT_THAT(view->noticeText().toStdString(),
              ::testing::StartsWith("None of those 2 files is a picture."));
}

TEST_F(ScreenDrop, TheStoreListingTakesNoDrop) {
  library.app.setActiveSet(std::string(models::AppModel::appStoreSet));
  writePicture(drop.path() / "home.png");
  EXPECT_FALSE(dragAndDrop({drop.path() / "home.png"}));
  EXPECT_FALSE(view->dropTarget().highlighted());
}

}  // namespace
}  // namespace vells::testing
