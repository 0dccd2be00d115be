// Writes a picture of every sheet, and of every step of adding an app, in the
// light and the dark palette, to the folder named by the first argument:
//   sheets_screenshots docs/screenshots [suffix]
// Not a test: a way to look at the sheets without a display.
#include <QApplication>
#include <QDir>
#include <QLineEdit>
#include <QPalette>
#include <QStyle>
#include <QStyleFactory>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "app/add_app_sheet.h"
#include "app/add_page_sheet.h"
#include "app/capture_sheet.h"
#include "app/edit_app_sheet.h"
#include "app/new_set_sheet.h"
#include "app/sheet_stack.h"
#include "capture/device_capture_model.h"

namespace {

using namespace vells;
using namespace vells::testing;

QPalette darkPalette() {
  QPalette p;
  const QColor window(0x26, 0x27, 0x2B), base(0x1C, 0x1D, 0x20), text(0xEC, 0xEC, 0xEE);
  p.setColor(QPalette::Window, window);
  p.setColor(QPalette::WindowText, text);
  p.setColor(QPalette::Base, base);
  p.setColor(QPalette::AlternateBase, window);
  p.setColor(QPalette::Text, text);
  p.setColor(QPalette::Button, QColor(0x34, 0x35, 0x3A));
  p.setColor(QPalette::ButtonText, text);
  p.setColor(QPalette::PlaceholderText, QColor(0x9A, 0x9B, 0xA1));
  p.setColor(QPalette::Highlight, QColor(0x3B, 0x82, 0xF6));
  p.setColor(QPalette::HighlightedText, Qt::white);
  p.setColor(QPalette::ToolTipBase, window);
  p.setColor(QPalette::ToolTipText, text);
  p.setColor(QPalette::Light, QColor(0x45, 0x46, 0x4C));
  p.setColor(QPalette::Midlight, QColor(0x3A, 0x3B, 0x40));
  p.setColor(QPalette::Mid, QColor(0x2E, 0x2F, 0x33));
  p.setColor(QPalette::Dark, QColor(0x18, 0x18, 0x1B));
  p.setColor(QPalette::Shadow, Qt::black);
  for (auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
    p.setColor(QPalette::Disabled, role, QColor(0x70, 0x71, 0x77));
  return p;
}

QPalette lightPalette() {
  QPalette p = QStyleFactory::create(QStringLiteral("Fusion"))->standardPalette();
  p.setColor(QPalette::Window, QColor(0xF5, 0xF5, 0xF7));
  p.setColor(QPalette::PlaceholderText, QColor(0x6E, 0x6E, 0x73));
  p.setColor(QPalette::Highlight, QColor(0x25, 0x63, 0xEB));
  return p;
}

void save(QWidget* sheet, const QString& folder, const QString& name) {
  sheet->show();
  for (int i = 0; i < 5; ++i)
    QCoreApplication::processEvents();
  // Not adjustSize(): it keeps a window within two thirds of the small
  // offscreen screen, which would squeeze the sheet at a pixel ratio of 2.
  sheet->resize(sheet->sizeHint().expandedTo(sheet->minimumSize()));
  for (int i = 0; i < 5; ++i)
    QCoreApplication::processEvents();
  sheet->grab().save(folder + "/" + name + ".png");
}

}  // namespace

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication application(argc, argv);
  QApplication::setStyle(QStringLiteral("Fusion"));
  if (argc < 2) {
    std::fprintf(stderr, "usage: sheets_screenshots FOLDER [SUFFIX]\n");
    return 2;
  }
  const QString folder = QString::fromLocal8Bit(argv[1]);
  const QString suffix = argc > 2 ? QStringLiteral("-") + QString::fromLocal8Bit(argv[2]) : "";
  QDir().mkpath(folder);

  // The store lookup fails at once here instead of reaching the network.
  ::setenv("VELLS_LOOKUP_URL", "http://127.0.0.1:9", 1);
  // A phone to capture from, through the fake adb built beside this program.
  TempDir tools;
  ::setenv("VELLS_FAKE_TOOLS", tools.path().c_str(), 1);
  writeFile(tools.path() / "devices",
            "List of devices attached\n"
            "emulator-5554 device product:sdk model:Pixel_8_Pro transport_id:1\n"
            "R58M12ABC offline transport_id:2\n");
  capture::DeviceTools deviceTools;
  deviceTools.adbCandidates = {QString::fromUtf8(VELLS_FAKE_ADB)};
  deviceTools.xcrun = QStringLiteral("/nonexistent/xcrun");
  deviceTools.tempDir = QString::fromStdString(tools.path().string());

  for (const auto& [scheme, palette] : {std::pair{QStringLiteral("light"), lightPalette()},
                                        std::pair{QStringLiteral("dark"), darkPalette()}}) {
    QApplication::setPalette(palette);
    SheetStack s;
    s.addApp("42", {{"name", "Dinner Plan"}, {"developer", "Bea Kim"}});
    s.addSet("s-1700000000000", "42", "Spring launch", std::vector<std::string>{"en", "de"});
    s.addSet("s-1710000000000", "42", "Summer refresh");
    s.connect();
    s.app.selectApp(std::string("42"));
    s.app.setActiveSet("s-1700000000000");
    s.settle();
    const QString tag = "-" + scheme + suffix;

    for (int step = 0; step < app::AddAppSheet::stepCount; ++step) {
      auto* sheet = new app::AddAppSheet(
          s.app, step, [] { return false; }, &s.window);
      sheet->findChild<QLineEdit*>("name")->setText("Dinner Plan");
      if (step > 0) sheet->togglePlatform(DeviceOS::ios);
      if (step >= 2) sheet->setCodeFolder(QDir::homePath() + "/code/dinner-plan");
      if (step >= 3) {
        sheet->findChild<QLineEdit*>("about")->setText("Plans cheap, healthy dinners");
        sheet->findChild<QLineEdit*>("audience")->setText("Families on a budget");
      }
      const char* names[] = {"app", "platforms", "code", "about", "ready"};
      save(sheet, folder,
           QStringLiteral("sheet-add-app-%1-%2").arg(step + 1).arg(names[step]) + tag);
      sheet->deleteLater();
    }
    {
      auto* sheet = new app::AddAppSheet(s.app, 0, {}, &s.window);
      sheet->findChild<QLineEdit*>("link")->setText("https://apps.apple.com/app/id000");
      // How a failed lookup with no name looks.
      QMetaObject::invokeMethod(sheet, [sheet] { sheet->advance(); });
      spinUntil([&] { return !sheet->isWorking() && !sheet->errorText().isEmpty(); }, 3000);
      save(sheet, folder, "sheet-add-app-lookup-failed" + tag);
      sheet->deleteLater();
    }
    std::string unlisted;
    s.client.addUnlistedApp("Pocket Budget", "Nori Labs", JSONValue::Object{}, nullptr,
                            [&](models::APIResult<std::string> r) { unlisted = r.value(); });
    s.settle();
    s.app.refreshConfig();
    s.settle();
    s.app.setCodeFolder(unlisted, (QDir::homePath() + "/code/pocket-budget").toStdString());
    {
      auto* sheet = new app::EditAppSheet(s.app, s.images, unlisted, &s.window);
      save(sheet, folder, "sheet-edit-app" + tag);
      sheet->deleteLater();
    }
    {
      s.app.setCodeFolder("42", "/home/bea/code/dinner-plan");
      auto* sheet = new app::NewSetSheet(s.app, &s.window);
      save(sheet, folder, "sheet-new-set" + tag);
      sheet->deleteLater();
      s.app.removeCodeFolder("42");
      auto* blank = new app::NewSetSheet(s.app, &s.window);
      save(blank, folder, "sheet-new-set-no-code" + tag);
      blank->deleteLater();
    }
    {
      auto* sheet = new app::AddPageSheet(s.app, &s.window);
      save(sheet, folder, "sheet-add-page" + tag);
      sheet->deleteLater();
    }
    {
      capture::DeviceCapture devices(deviceTools);
      capture::DeviceCaptureModel model(devices);
      s.app.setOs(DeviceOS::android);
      auto* sheet = new app::CaptureSheet(s.app, s.editor, model, &s.window);
      sheet->show();
      spinUntil([&] { return !model.isLooking() && !sheet->devices().empty(); }, 5000);
      save(sheet, folder, "sheet-capture" + tag);
      delete sheet;
    }
    QCoreApplication::processEvents();
  }
  return 0;
}
