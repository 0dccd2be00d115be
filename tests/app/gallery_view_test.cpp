// The gallery as a person uses it, on a real library drawn by the real
// browser: cells filling in, a drag that reorders a language's pages, the
// lightbox by keyboard, exports with their progress and failures.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QFile>
#include <QScrollArea>
#include <QSignalSpy>
#include <QTest>
#include <fstream>

#include "app/dialog_file_saver.h"
#include "app/gallery_grid_view.h"
#include "app/gallery_library.h"
#include "app/gallery_view.h"
#include "app/lightbox_view.h"

namespace vells::testing {
namespace {

using app::DialogFileSaver;
using app::GalleryGridView;
using app::GalleryView;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using State = GalleryGridView::CellState;

struct GalleryViewTest : ::testing::Test {
  GalleryLibrary library{{"en", "de"}, {"home", "habits", "focus"}};
  fs::path exports = library.dir.path() / "exports";
  // Where the next save goes; empty means the person cancels.
  QString saveTo;
  DialogFileSaver saver{[this](const QString& name, std::function<void(QString)> answer) {
    answer(saveTo.isEmpty() ? QString() : saveTo + QLatin1Char('/') + name);
  }};
  std::unique_ptr<models::GalleryModel> gallery =
      std::make_unique<models::GalleryModel>(library.app, library.clock, saver);
  capture::ScreenImportModel importer{library.backendCall()};
  std::unique_ptr<GalleryView> view;

  void SetUp() override {
    fs::create_directories(exports);
    saveTo = QString::fromStdString(exports.string());
    ASSERT_TRUE(library.connect()) << library.app.connection().message;
    view = std::make_unique<GalleryView>(*gallery, library.app, library.images, importer);
    view->resize(1000, 680);
  }
  GalleryGridView& grid() { return view->grid(); }
  bool allRendered() {
    return spinUntil([&] { return gallery->ready() && gallery->pendingCount() == 0; }, 300000);
  }
  // Paints the view until every cell that can show a thumbnail shows one.
  bool thumbnailsSettled() {
    return spinUntil(
        [&] {
          view->grab();
          for (const auto& section : grid().sections())
            for (const auto& page : section.row)
              if (grid().cellState(section.locale.code, page) == State::loading) return false;
          return true;
        },
        60000);
  }
  std::vector<std::string> storedOrder(const std::string& locale) {
    auto r = call(*library.service.backend, "GET", "/api/order?set=default");
    std::vector<std::string> out;
    const JSONValue body = bodyJSON(r);
    const JSONValue* row = body.find(locale);
    if (row && row->asArray())
      for (const JSONValue& id : *row->asArray())
        if (id.asString()) out.push_back(*id.asString());
    return out;
  }
};

TEST_F(GalleryViewTest, ShowsEveryPageInEveryLanguageWithItsStateAndTheProgress) {
  library.breakThumbnails->store(true);
  view->show();
  ASSERT_EQ(grid().sections().size(), 2u);
  for (const auto& section : grid().sections()) {
    EXPECT_THAT(section.row, ElementsAre("home", "habits", "focus"));
    for (const auto& page : section.row)  // nothing is known to exist yet
      EXPECT_EQ(grid().cellState(section.locale.code, page), State::rendering);
  }
  EXPECT_EQ(view->progressText(), QStringLiteral("Checking what’s rendered…"));

  QStringList lines;
  QObject::connect(gallery.get(), &models::GalleryModel::readyChanged, view.get(),
                   [&] { lines << view->progressText(); });
  ASSERT_TRUE(allRendered()) << gallery->pendingCount() << " still rendering";
  EXPECT_EQ(view->progressText(), QStringLiteral("6 of 6 ready"));
  EXPECT_THAT(lines.front().toStdString(), ::testing::MatchesRegex("[0-5] of 6 ready"));

  ASSERT_TRUE(thumbnailsSettled());
  for (const auto& section : grid().sections()) {
    for (const auto& page : section.row) {
      EXPECT_EQ(grid().cellState(section.locale.code, page),
                page == "focus" ? State::failed : State::shown)
          << section.locale.code << ":" << page;
      EXPECT_FALSE(grid().cellRect(section.locale.code, page).isEmpty());
    }
  }
  // Cells of one language wrap in order; the second language starts below them.
  EXPECT_LT(grid().cellRect("en", "home").left(), grid().cellRect("en", "habits").left());
  EXPECT_GT(grid().cellRect("de", "home").top(), grid().cellRect("en", "focus").bottom());

  // Shown again, a failed thumbnail is asked for again.
  library.breakThumbnails->store(false);
  view->hide();
  view->show();
  ASSERT_TRUE(allRendered());
  ASSERT_TRUE(thumbnailsSettled());
  EXPECT_EQ(grid().cellState("de", "focus"), State::shown);
}

TEST_F(GalleryViewTest, DraggingACellReordersItsLanguageAndSavesTheRow) {
  view->show();
  ASSERT_TRUE(spinUntil([&] { return gallery->ready().has_value(); }));
  const QRect home = grid().cellRect("de", "home");
  const QRect focus = grid().cellRect("de", "focus");
  // Home over the right half of Focus goes after it.
  QTest::mousePress(&grid(), Qt::LeftButton, {}, home.center());
  QTest::mouseMove(&grid(), home.center() + QPoint(20, 0));
  EXPECT_TRUE(grid().dragging());
  QTest::mouseMove(&grid(), QPoint(focus.left() + 110, focus.center().y()));
  EXPECT_THAT(grid().sections()[1].row, ElementsAre("habits", "focus", "home"));
  EXPECT_TRUE(storedOrder("de").empty());  // nothing is saved while the drag is on
  QTest::mouseRelease(&grid(), Qt::LeftButton, {}, QPoint(focus.left() + 110, focus.center().y()));
  EXPECT_FALSE(grid().dragging());
  ASSERT_TRUE(spinUntil([&] { return !storedOrder("de").empty(); }));
  EXPECT_THAT(storedOrder("de"), ElementsAre("habits", "focus", "home"));
  EXPECT_THAT(grid().sections()[0].row, ElementsAre("home", "habits", "focus"));  // en untouched

  // Over the left half of Habits it goes before it; a drag over another
  // language's cells moves nothing there.
  const QRect fromCell = grid().cellRect("de", "home");
  const QRect habits = grid().cellRect("de", "habits");
  QTest::mousePress(&grid(), Qt::LeftButton, {}, fromCell.center());
  QTest::mouseMove(&grid(), fromCell.center() - QPoint(20, 0));
  QTest::mouseMove(&grid(), grid().cellRect("en", "habits").center());
  EXPECT_THAT(grid().sections()[0].row, ElementsAre("home", "habits", "focus"));
  QTest::mouseMove(&grid(), QPoint(habits.left() + 30, habits.center().y()));
  QTest::mouseRelease(&grid(), Qt::LeftButton, {}, QPoint(habits.left() + 30, habits.center().y()));
  ASSERT_TRUE(spinUntil([&] { return storedOrder("de").front() == "home"; }));
  EXPECT_THAT(storedOrder("de"), ElementsAre("home", "habits", "focus"));

  // Escape during a drag puts everything back and saves nothing.
  const QRect first = grid().cellRect("en", "home");
  QTest::mousePress(&grid(), Qt::LeftButton, {}, first.center());
  QTest::mouseMove(&grid(), first.center() + QPoint(20, 0));
  const QRect last = grid().cellRect("en", "focus");
  QTest::mouseMove(&grid(), QPoint(last.left() + 120, last.center().y()));
  QTest::keyClick(&grid(), Qt::Key_Escape);
  QTest::mouseRelease(&grid(), Qt::LeftButton, {}, last.center());
  EXPECT_THAT(grid().sections()[0].row, ElementsAre("home", "habits", "focus"));
  EXPECT_TRUE(storedOrder("en").empty());

  // And from the keyboard: Alt+Right moves the focused page one place on.
  grid().setCurrent("en", "home");
  QTest::keyClick(&grid(), Qt::Key_Right, Qt::AltModifier);
  ASSERT_TRUE(spinUntil([&] { return !storedOrder("en").empty(); }));
  EXPECT_THAT(storedOrder("en"), ElementsAre("habits", "home", "focus"));
  EXPECT_EQ(grid().current()->second, "home");
}

TEST_F(GalleryViewTest, TheLightboxOpensStepsAndClosesByKeyboard) {
  view->show();
  ASSERT_TRUE(allRendered());
  grid().setFocus();
  ASSERT_TRUE(spinUntil([&] { return grid().hasFocus() || !view->isActiveWindow(); }, 1000));
  grid().setCurrent("en", "home");
  QTest::keyClick(&grid(), Qt::Key_Down);  // down a line: the German row
  EXPECT_EQ(grid().current()->first, "de");
  QTest::keyClick(&grid(), Qt::Key_Right);
  EXPECT_EQ(grid().current()->second, "habits");

  QTest::keyClick(&grid(), Qt::Key_Space);
  auto& box = view->lightbox();
  ASSERT_TRUE(box.isOpen());
  EXPECT_EQ(box.index(), 1);
  EXPECT_EQ(box.caption(), QStringLiteral("Habits · Deutsch · 2 of 3"));
  ASSERT_TRUE(spinUntil([&] { return box.showingFull(); }, 60000));

  QTest::keyClick(&box, Qt::Key_Right);
  EXPECT_EQ(box.index(), 2);
  EXPECT_EQ(grid().current()->second, "focus");  // the gallery follows
  QTest::keyClick(&box, Qt::Key_Right);          // the last page stays
  EXPECT_EQ(box.index(), 2);
  QTest::keyClick(&box, Qt::Key_Escape);
  EXPECT_FALSE(box.isOpen());

  QTest::keyClick(&grid(), Qt::Key_Return);
  EXPECT_TRUE(box.isOpen());
  library.app.setWorkspace(models::Workspace::editor);  // leaving the gallery closes it
  EXPECT_FALSE(box.isOpen());
}

TEST_F(GalleryViewTest, ExportsShowTheirProgressTheResultAndFailuresInWords) {
  view->show();
  gallery->exportZip(std::nullopt);
  EXPECT_EQ(view->activityText(), QStringLiteral("Exporting all languages…"));
  ASSERT_TRUE(spinUntil([&] { return !gallery->exporting(); }, 300000));
  EXPECT_EQ(view->activityText(), QString());
  EXPECT_EQ(view->noticeText(), QStringLiteral("Saved “default-ios-light.zip”."));
  const fs::path zip = exports / "default-ios-light.zip";
  ASSERT_TRUE(fs::exists(zip));
  std::ifstream in(zip, std::ios::binary);
  std::string magic(2, '\0');
  in.read(magic.data(), 2);
  EXPECT_EQ(magic, "PK");

  gallery->exportOne("habits", "de", 1);
  EXPECT_EQ(view->activityText(), QStringLiteral("Exporting de-02-habits.png…"));
  ASSERT_TRUE(spinUntil([&] { return !gallery->exportingOne(); }, 60000));
  EXPECT_TRUE(fs::exists(exports / "de-02-habits.png"));

  // A folder that can't take the file: the sentence says so and what to do.
  writeFile(exports / "not-a-folder", "x");
  saveTo = QString::fromStdString((exports / "not-a-folder").string());
  gallery->exportZip("de");
  EXPECT_EQ(view->activityText(), QStringLiteral("Exporting Deutsch…"));
  ASSERT_TRUE(spinUntil([&] { return !gallery->exporting(); }, 300000));
  EXPECT_THAT(view->noticeText().toStdString(),
              StartsWith("Couldn’t save “default-de-ios-light.zip”:"));
  EXPECT_THAT(view->noticeText().toStdString(), HasSubstr("Choose another folder."));

  // Cancelling is no failure: the error goes and nothing new is said.
  saveTo.clear();
  gallery->exportZip(std::nullopt);
  ASSERT_TRUE(spinUntil([&] { return !gallery->exporting(); }, 300000));
  EXPECT_EQ(view->noticeText(), QString());
}

TEST_F(GalleryViewTest, ClosingTheWindowMidExportLeavesNoFileBehind) {
  view->show();
  gallery->exportZip(std::nullopt);  // nothing is rendered yet: this takes a while
  ASSERT_TRUE(gallery->exporting());
  view.reset();
  gallery.reset();
  ASSERT_TRUE(spinUntil([&] { return library.client.pendingCalls() == 0; }, 300000));
  EXPECT_TRUE(fs::is_empty(exports));
}

TEST(DialogFileSaver, WritesWholeFilesOrNothing) {
  TempDir dir;
  const QString target = QString::fromStdString((dir.path() / "set.zip").string());
  writeFile(dir.path() / "set.zip", "the earlier export");
  EXPECT_FALSE(DialogFileSaver::write(target, std::string(1 << 20, 'z')));
  EXPECT_EQ(fs::file_size(dir.path() / "set.zip"), 1u << 20);

  writeFile(dir.path() / "file", "x");
  const auto problem = DialogFileSaver::write(
      QString::fromStdString((dir.path() / "file" / "set.zip").string()), "bytes");
  ASSERT_TRUE(problem);
  EXPECT_THAT(*problem, StartsWith("Couldn’t save “set.zip”:"));
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(dir.path()))
    names.push_back(entry.path().filename().string());
  EXPECT_THAT(names, ::testing::UnorderedElementsAre("set.zip", "file"));  // no temporary left
}

}  // namespace
}  // namespace vells::testing
