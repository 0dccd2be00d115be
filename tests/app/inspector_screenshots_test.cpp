// Pictures of the inspector for the docs, light and dark, at its default
// width. Runs only when VELLS_SCREENSHOTS names a folder to write them to.
#include <gtest/gtest.h>

#include <QApplication>
#include <QBuffer>
#include <QDir>
#include <QPainter>
#include <QStyle>
#include <QStyleFactory>
#include <QTabBar>

#include "app/fill_popover.h"
#include "app/fill_row.h"
#include "app/inspector_section.h"
#include "app/page_panel.h"
#include "app/sticker_picker.h"
#include "inspector_fixture.h"

namespace vells::testing {
namespace {

QPalette darkPalette() {
  QPalette p;
  const QColor window(38, 38, 40), base(28, 28, 30), text(235, 235, 240);
  p.setColor(QPalette::Window, window);
  p.setColor(QPalette::WindowText, text);
  p.setColor(QPalette::Base, base);
  p.setColor(QPalette::AlternateBase, window);
  p.setColor(QPalette::Text, text);
  p.setColor(QPalette::Button, QColor(52, 52, 56));
  p.setColor(QPalette::ButtonText, text);
  p.setColor(QPalette::Highlight, QColor(10, 132, 255));
  p.setColor(QPalette::HighlightedText, Qt::white);
  p.setColor(QPalette::PlaceholderText, QColor(150, 150, 158));
  p.setColor(QPalette::Mid, QColor(72, 72, 78));
  p.setColor(QPalette::Dark, QColor(110, 110, 118));
  p.setColor(QPalette::Light, QColor(70, 70, 74));
  p.setColor(QPalette::Midlight, QColor(60, 60, 64));
  p.setColor(QPalette::Shadow, Qt::black);
  p.setColor(QPalette::ToolTipBase, window);
  p.setColor(QPalette::ToolTipText, text);
  return p;
}

QPalette lightPalette() {
  QPalette p = QStyleFactory::create("Fusion")->standardPalette();
  p.setColor(QPalette::Window, QColor(246, 246, 248));
  p.setColor(QPalette::Base, Qt::white);
  p.setColor(QPalette::Highlight, QColor(0, 122, 255));
  p.setColor(QPalette::PlaceholderText, QColor(120, 120, 128));
  p.setColor(QPalette::Mid, QColor(208, 208, 214));
  p.setColor(QPalette::Dark, QColor(160, 160, 168));
  return p;
}

void save(QWidget& view, const QString& dir, const QString& name, QWidget* popup = nullptr) {
  // Layout requests travel as posted events, one level of widgets per round.
  for (int round = 0; round < 4; ++round)
    QCoreApplication::processEvents();
  QPixmap shot = view.grab();
  if (popup) {
    QPainter p(&shot);
    p.drawPixmap(view.mapFromGlobal(popup->pos()), popup->grab());
  }
  ASSERT_TRUE(shot.save(QDir(dir).filePath(name + ".png")));
}

TEST(InspectorScreenshots, WritesThePanelsInLightAndDark) {
  const QString dir = qEnvironmentVariable("VELLS_SCREENSHOTS");
  if (dir.isEmpty()) GTEST_SKIP() << "VELLS_SCREENSHOTS names no folder";
  QDir().mkpath(dir);
  QApplication::setStyle(QStyleFactory::create("Fusion"));
  for (const bool dark : {false, true}) {
    QApplication::setPalette(dark ? darkPalette() : lightPalette());
    const QString scheme = dark ? "dark" : "light";
    InspectorStack s;
    s.settings.setValue("inspector.phone3D", true);
    s.view.resize(320, 940);
    s.editor.setTitleText("Track *every* run, without thinking");
    QImage star(64, 64, QImage::Format_ARGB32);
    star.fill(QColor(255, 200, 40));
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    star.save(&buffer, "PNG");
    call(*s.lib.backend, "POST", "/api/sticker-packs/items?pack=fun&name=star", png.toStdString());

    s.canvas.select(std::nullopt);
    save(s.view, dir, "inspector-page-" + scheme);
    auto* page = qobject_cast<app::PagePanel*>(s.view.panel());
    app::FillPopover* fill = page->fillRow()->openPopover();
    save(s.view, dir, "inspector-fill-popover-" + scheme, fill);
    fill->close();

    s.canvas.select(models::CanvasSelection::phone());
    save(s.view, dir, "inspector-phone-" + scheme);
    s.canvas.select(models::CanvasSelection::title());
    save(s.view, dir, "inspector-title-" + scheme);
    s.canvas.addTextLayer();
    save(s.view, dir, "inspector-text-layer-" + scheme);
    bool placed = false;
    s.canvas.addPackSticker("fun", "star.png", [&] { placed = true; });
    ASSERT_TRUE(spinUntil([&] { return placed; }));
    save(s.view, dir, "inspector-sticker-" + scheme);
    s.view.showStickers();
    ASSERT_TRUE(spinUntil([&] { return s.view.stickerPicker()->tabs()->count() == 3; }));
    QCoreApplication::processEvents();
    ASSERT_TRUE(s.view.stickerPicker()->grab().save(
        QDir(dir).filePath("inspector-sticker-picker-" + scheme + ".png")));
  }
}

}  // namespace
}  // namespace vells::testing
