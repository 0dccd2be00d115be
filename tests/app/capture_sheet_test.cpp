#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QLabel>
#include <QListWidget>
#include <QPushButton>

#include "app/capture_sheet.h"
#include "app/sheet_stack.h"
#include "capture/capture_fixture.h"
#include "capture/device_capture_model.h"

namespace vells::testing {
namespace {

using ::testing::HasSubstr;

// The capture sheet on a real library, with the fake adb standing in for a phone.
class CaptureSheetTest : public ::testing::Test {
 protected:
  CaptureSheetTest() {
    s.addSet("s-1", std::nullopt, "Shots", std::vector<std::string>{"en"});
    s.connect();
    s.app.setActivePage(std::string("stats"));
    s.app.setOs(DeviceOS::android);
    s.app.setTheme(ThemeName::light);
  }

  app::CaptureSheet* open(capture::DeviceCaptureModel& model) {
    auto* sheet = openSheet<app::CaptureSheet>(s.app, s.editor, model, &s.window);
    EXPECT_TRUE(spinUntil([&] { return !model.isLooking() && !sheet->isBusy(); }));
    return sheet;
  }
  bool hasScreen(ThemeName appearance) {
    std::optional<bool> answer;
    s.client.hasScreen("s-1", "stats", DeviceOS::android, "en", std::string(rawValue(appearance)),
                       nullptr, [&](models::APIResult<bool> r) { answer = r && r.value(); });
    spinUntil([&] { return answer.has_value(); });
    return answer.value_or(false);
  }
  int screenFiles(const std::string& appearance) {
    const fs::path folder = s.lib.dir.path() / "lib" / "screens" / appearance;
    if (!fs::exists(folder)) return 0;
    int count = 0;
    for (const auto& entry : fs::recursive_directory_iterator(folder))
      count += entry.is_regular_file();
    return count;
  }
  QStringList shownTexts(QWidget* sheet) {
    QStringList out;
    for (QLabel* label : sheet->findChildren<QLabel*>()) {
      if (label->isVisible() && !label->text().isEmpty()) out << label->text();
    }
    return out;
  }

  FakeTools fake;
  SheetStack s;
};

TEST_F(CaptureSheetTest, ACaptureLandsAsThePagesScreenUnderTheDevicesLook) {
  fake.script("devices",
              "List of devices attached\n"
              "R58M12ABC              offline transport_id:2\n"
              "emulator-5554 device product:sdk model:Pixel_7 transport_id:1\n");
  fake.script("screencap", tinyPNG());
  fake.script("night", "Night mode: yes");
  capture::DeviceCapture devices(fake.tools());
  capture::DeviceCaptureModel model(devices);
  app::CaptureSheet* sheet = open(model);

  ASSERT_EQ(sheet->devices().size(), 2u);
  auto* list = sheet->findChild<QListWidget*>(QStringLiteral("devices"));
  ASSERT_TRUE(list);
  // The offline phone is listed, with why, and can't be chosen.
  EXPECT_EQ(list->item(0)->text(), "R58M12ABC — offline");
  EXPECT_FALSE(list->item(0)->flags() & Qt::ItemIsEnabled);
  EXPECT_EQ(sheet->chosen()->name, "Pixel 7");
  EXPECT_EQ(sheet->confirmButton()->text(), "Capture Pixel 7");
  const QStringList texts = shownTexts(sheet);
  EXPECT_EQ(texts.count("iOS Simulator capture needs macOS."), 1);
  EXPECT_THAT(texts.join('\n').toStdString(), HasSubstr("R58M12ABC is offline"));
  EXPECT_THAT(texts.join('\n').toStdString(),
              HasSubstr("Exactly what the app shows, with a clean 9:41 status bar."));

  list->setCurrentRow(0);
  EXPECT_FALSE(sheet->chosen());
  EXPECT_FALSE(sheet->confirmButton()->isEnabled());
  sheet->captureChosen();  // nothing to capture: the offline phone is left alone
  list->setCurrentRow(1);
  QTest::keyClick(list, Qt::Key_Return);
  ASSERT_TRUE(spinUntil([&] { return sheet->result() == QDialog::Accepted; }))
      << sheet->errorText().toStdString();
  s.settle();

  EXPECT_TRUE(hasScreen(ThemeName::dark));
  // Filed under the look the device showed, not the page's.
  EXPECT_EQ(screenFiles("dark"), 1);
  EXPECT_EQ(screenFiles("light"), 0);
  EXPECT_EQ(s.app.theme(), ThemeName::dark);  // the person sees what was stored
  for (const std::string& line : fake.lines("adb"))
    EXPECT_THAT(line, ::testing::Not(HasSubstr("R58M12ABC")));
  EXPECT_THAT(fake.lines("adb").back(), HasSubstr("uimode night"));
}

TEST_F(CaptureSheetTest, AFailedCaptureStaysInTheSheetAndAMissingAdbSaysWhereItLooked) {
  fake.script("devices", "List of devices attached\nemulator-5554 device model:Pixel_7\n");
  fake.script("screencap", "error: closed");
  capture::DeviceCapture devices(fake.tools());
  capture::DeviceCaptureModel model(devices);
  app::CaptureSheet* sheet = open(model);
  QTest::mouseClick(sheet->confirmButton(), Qt::LeftButton);
  ASSERT_TRUE(spinUntil([&] { return !sheet->errorText().isEmpty(); }));
  EXPECT_EQ(sheet->errorText(), "The device didn’t return a screenshot.");
  EXPECT_TRUE(sheet->isVisible());
  EXPECT_FALSE(hasScreen(ThemeName::light));
  EXPECT_EQ(s.app.theme(), ThemeName::light);  // nothing stored, nothing switched
  QTest::keyClick(sheet, Qt::Key_Escape);
  EXPECT_EQ(sheet->result(), QDialog::Rejected);

  capture::DeviceCapture none(fake.tools(false, false));
  capture::DeviceCaptureModel empty(none);
  app::CaptureSheet* bare = open(empty);
  EXPECT_TRUE(bare->devices().empty());
  const QString shown = shownTexts(bare).join('\n');
  EXPECT_THAT(shown.toStdString(), HasSubstr("adb isn’t installed."));
  EXPECT_THAT(shown.toStdString(),
              HasSubstr("Start your app in an Android emulator (with adb installed) to capture "
                        "its real screen."));
  EXPECT_FALSE(bare->confirmButton()->isEnabled());
}

}  // namespace
}  // namespace vells::testing
