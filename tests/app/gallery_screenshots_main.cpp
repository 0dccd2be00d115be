// Writes the gallery's screenshots on the sample set, drawn for real:
//   QT_QPA_PLATFORM=offscreen build/tests/gallery_screenshots docs/screenshots
// With QT_SCALE_FACTOR=2 set it writes the full gallery once more at a device
// pixel ratio of 2. Not a test: the suite doesn't wait for it.
#include <QApplication>
#include <QDir>
#include <QPalette>
#include <QStyle>
#include <QStyleFactory>
#include <cstdio>

#include "app/dialog_file_saver.h"
#include "app/gallery_grid_view.h"
#include "app/gallery_library.h"
#include "app/gallery_view.h"
#include "app/lightbox_view.h"

namespace {

using namespace vells;
using namespace vells::testing;

QPalette darkPalette() {
  QPalette p;
  const QColor window(0x25, 0x26, 0x2b), base(0x1c, 0x1d, 0x21), text(0xe8, 0xe8, 0xec);
  p.setColor(QPalette::Window, window);
  p.setColor(QPalette::WindowText, text);
  p.setColor(QPalette::Base, base);
  p.setColor(QPalette::AlternateBase, window);
  p.setColor(QPalette::Text, text);
  p.setColor(QPalette::Button, QColor(0x33, 0x34, 0x3a));
  p.setColor(QPalette::ButtonText, text);
  p.setColor(QPalette::Highlight, QColor(0x4c, 0x8d, 0xff));
  p.setColor(QPalette::HighlightedText, Qt::white);
  p.setColor(QPalette::ToolTipBase, base);
  p.setColor(QPalette::ToolTipText, text);
  p.setColor(QPalette::PlaceholderText, QColor(0x8a, 0x8b, 0x93));
  p.setColor(QPalette::Light, QColor(0x3a, 0x3b, 0x42));
  p.setColor(QPalette::Midlight, QColor(0x30, 0x31, 0x37));
  p.setColor(QPalette::Mid, QColor(0x2a, 0x2b, 0x30));
  p.setColor(QPalette::Dark, QColor(0x15, 0x16, 0x19));
  p.setColor(QPalette::Disabled, QPalette::WindowText, QColor(0x7a, 0x7b, 0x82));
  p.setColor(QPalette::Disabled, QPalette::ButtonText, QColor(0x7a, 0x7b, 0x82));
  p.setColor(QPalette::Disabled, QPalette::Text, QColor(0x7a, 0x7b, 0x82));
  return p;
}

QPalette lightPalette() {
  QPalette p = QStyleFactory::create(QStringLiteral("Fusion"))->standardPalette();
  p.setColor(QPalette::Window, QColor(0xf4, 0xf4, 0xf6));
  p.setColor(QPalette::Highlight, QColor(0x2f, 0x6f, 0xeb));
  return p;
}

void shoot(QWidget& window, const QString& folder, const QString& name) {
  for (int i = 0; i < 5; ++i)
    QCoreApplication::processEvents();
  const QString path = QDir(folder).filePath(name + QStringLiteral(".png"));
  window.grab().save(path);
  std::fprintf(stderr, "wrote %s\n", qPrintable(path));
}

void bothLooks(QWidget& window, const QString& folder, const QString& name) {
  QApplication::setPalette(lightPalette());
  shoot(window, folder, name + QStringLiteral("-light"));
  QApplication::setPalette(darkPalette());
  shoot(window, folder, name + QStringLiteral("-dark"));
  QApplication::setPalette(lightPalette());
}

}  // namespace

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  QApplication::setStyle(QStringLiteral("Fusion"));
  QApplication::setPalette(lightPalette());
  const QString folder = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral(".");
  QDir().mkpath(folder);
  const bool doubled = qEnvironmentVariableIntValue("QT_SCALE_FACTOR") == 2;

  GalleryLibrary library({"en", "de", "ja", "ar"},
                         {"home", "habits", "detail", "insights", "focus", "settings"});
  TempDir exports;
  app::DialogFileSaver saver([&](const QString& name, std::function<void(QString)> answer) {
    answer(QString::fromStdString((exports.path() / name.toStdString()).string()));
  });
  models::GalleryModel gallery(library.app, library.clock, saver);
  capture::ScreenImportModel importer(library.backendCall());
  if (!library.connect()) return 1;

  app::GalleryView view(gallery, library.app, library.images, importer);
  view.setWindowTitle(QStringLiteral("Tempo launch"));
  view.resize(1440, 940);
  view.show();

  const auto settled = [&] {
    return spinUntil(
        [&] {
          view.grab();
          for (const auto& section : view.grid().sections())
            for (const auto& page : section.row)
              if (view.grid().cellState(section.locale.code, page) ==
                  app::GalleryGridView::CellState::loading)
                return false;
          return true;
        },
        60000);
  };

  if (!doubled) {
    spinUntil([&] { return gallery.ready() && gallery.ready()->size() >= 10; }, 600000);
    settled();
    bothLooks(view, folder, QStringLiteral("gallery-warming"));
  }
  spinUntil([&] { return gallery.ready() && gallery.pendingCount() == 0; }, 900000);
  settled();
  if (doubled) {
    shoot(view, folder, QStringLiteral("gallery-light@2x"));
    return 0;
  }
  bothLooks(view, folder, QStringLiteral("gallery"));
  view.resize(1000, 680);
  settled();
  bothLooks(view, folder, QStringLiteral("gallery-1000x680"));
  view.resize(1440, 940);

  view.grid().setFocus();
  view.grid().setCurrent("de", "habits");
  view.openLightbox(QStringLiteral("de"), 1);
  spinUntil([&] { return view.lightbox().showingFull(); }, 60000);
  bothLooks(view, folder, QStringLiteral("gallery-lightbox"));
  view.lightbox().close();

  gallery.exportZip(std::nullopt);
  bothLooks(view, folder, QStringLiteral("gallery-exporting"));
  spinUntil([&] { return !gallery.exporting(); }, 300000);
  bothLooks(view, folder, QStringLiteral("gallery-exported"));
  return 0;
}
