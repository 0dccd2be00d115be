#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <QCoreApplication>
#include <QSignalSpy>

#include "capture/capture_fixture.h"
#include "capture/device_capture_model.h"
#include "capture/screen_import_model.h"

namespace vells::capture {
namespace {

using ::testing::HasSubstr;
using namespace vells::testing;

// The models hand results back through the event loop, as in the app.
class CaptureModels : public CaptureLibrary {
 protected:
  int argc = 1;
  char name[8] = "capture";
  char* argv[1] = {name};
  QCoreApplication app{argc, argv};
  FakeTools fake;
};

TEST_F(CaptureModels, LooksSortsForThePlatformAndHandsOnTheCaptureWithItsAppearance) {
  fake.script("devices", "List of devices attached\nemulator-5554 device model:Pixel_7\n");
  fake.script("simctl-list", R"({"devices":{"r.iOS-18-0":[
      {"udid":"U","name":"iPhone 16","state":"Booted"}]}})");
  fake.script("screencap", tinyPNG());
  fake.script("night", "Night mode: yes");
  DeviceCapture devices(fake.tools(true, true));
  DeviceCaptureModel model(devices);

  QSignalSpy listed(&model, &DeviceCaptureModel::devicesChanged);
  model.look();
  EXPECT_TRUE(model.isLooking());
  ASSERT_TRUE(listed.wait(5000));
  EXPECT_FALSE(model.isLooking());
  const auto android = model.sorted(DeviceOS::android);
  ASSERT_EQ(android.size(), 2u);
  EXPECT_EQ(android[0].name, "Pixel 7");
  EXPECT_EQ(model.sorted(DeviceOS::ios)[0].name, "iPhone 16 — iOS 18.0");

  QSignalSpy captured(&model, &DeviceCaptureModel::captured);
  model.capture(android[0]);
  ASSERT_TRUE(captured.wait(5000));
  EXPECT_EQ(captured[0][0].toByteArray().toStdString(), tinyPNG());
  EXPECT_EQ(captured[0][1].value<ThemeName>(), ThemeName::dark);
  EXPECT_TRUE(model.failure().isEmpty());

  fake.script("screencap", "error: closed");
  QSignalSpy failed(&model, &DeviceCaptureModel::failureChanged);
  model.capture(android[0]);
  ASSERT_TRUE(failed.wait(5000));
  EXPECT_EQ(model.failure(), QStringLiteral("The device didn’t return a screenshot."));
  EXPECT_FALSE(model.isCapturing());
  EXPECT_THAT(DeviceCaptureModel::hint(2, "Deutsch").toStdString(),
              HasSubstr("stored for Deutsch. Switch the app’s language"));
}

TEST_F(CaptureModels, ImportReportsProgressAndTheLine) {
  writeFile(drop.path() / "home.png", tinyPNG());
  writeFile(drop.path() / "stats.png", tinyPNG());
  ScreenImportModel model(handle());
  QSignalSpy progress(&model, &ScreenImportModel::progress);
  QSignalSpy finished(&model, &ScreenImportModel::finished);
  model.importScreens({QString::fromStdString(drop.path().string())},
                      ImportTarget::load(handle(), set, DeviceOS::android, ThemeName::dark));
  ASSERT_TRUE(finished.wait(5000));
  EXPECT_EQ(finished[0][0].toString(), QStringLiteral("Added 2 screens for Android"));
  EXPECT_EQ(progress.size(), 2);
  EXPECT_EQ(stored().size(), 2u);
}

}  // namespace
}  // namespace vells::capture
