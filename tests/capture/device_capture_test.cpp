#include "capture/device_capture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "capture/capture_fixture.h"

namespace vells::capture {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
namespace fs = std::filesystem;
using vells::testing::FakeTools;
using vells::testing::tinyPNG;

const std::string kHeading = "List of devices attached\n";

Device pixel() {
  return {"emulator-5554", "Pixel 8 Pro", DeviceOS::android, DeviceState::ready, "device"};
}

std::string demo(const std::string& extras) {
  return "-s emulator-5554 shell am broadcast -a com.android.systemui.demo " + extras;
}

TEST(DeviceList, AndroidDevicesWithTheirStatesAndNoSimulatorsOnLinux) {
  FakeTools fake;
  fake.script("devices", kHeading +
                             "emulator-5554          device product:sdk_gphone64 "
                             "model:Pixel_8_Pro device:emu64a transport_id:1\r\n"
                             "R58M12ABC              offline transport_id:2\n"
                             "0123456789ABCDEF       unauthorized usb:1-1 transport_id:3\n"
                             "HT7A1B                 no permissions (user in plugdev group); see "
                             "[http://developer.android.com/tools/device.html]\n"
                             "\n");
  DeviceCapture capture(fake.tools());
  const DeviceList list = capture.devices();
  ASSERT_EQ(list.devices.size(), 4u);
  EXPECT_EQ(list.devices[0], (Device{"emulator-5554", "Pixel 8 Pro", DeviceOS::android,
                                     DeviceState::ready, "device"}));
  EXPECT_EQ(list.devices[1].state, DeviceState::offline);
  EXPECT_EQ(list.devices[1].name, "R58M12ABC");
  EXPECT_EQ(list.devices[2].state, DeviceState::unauthorized);
  EXPECT_EQ(list.devices[3].state, DeviceState::unavailable);
  EXPECT_EQ(list.devices[3].stateText, "no permissions");
  ASSERT_EQ(list.notes.size(), 4u);
  EXPECT_EQ(list.notes[0], "iOS Simulator capture needs macOS.");
  EXPECT_THAT(list.notes[1], HasSubstr("R58M12ABC is offline"));
  EXPECT_THAT(list.notes[2], HasSubstr("hasn’t allowed USB debugging"));
  EXPECT_THAT(list.notes[3], HasSubstr("no permissions"));

  fake.script("devices", kHeading);
  EXPECT_TRUE(capture.devices().devices.empty());
}

TEST(DeviceList, SimulatorsComeFirstSortedByRuntimeAndOnlyBooted) {
  FakeTools fake;
  fake.script("devices", kHeading + "emulator-5554 device model:Pixel_7\n");
  fake.script("simctl-list", R"({"devices":{
    "com.apple.CoreSimulator.SimRuntime.iOS-18-1":[
      {"udid":"B","name":"iPhone 16","state":"Booted"},
      {"udid":"C","name":"iPhone SE","state":"Shutdown"},
      {"name":"no udid","state":"Booted"}],
    "com.apple.CoreSimulator.SimRuntime.iOS-17-5":[{"udid":"A","name":"iPhone 15","state":"Booted"}],
    "plain":[{"udid":"D","name":"Odd","state":"Booted"}]}})");
  DeviceCapture capture(fake.tools(true, true));
  const DeviceList list = capture.devices();
  std::vector<std::string> names;
  for (const Device& d : list.devices)
    names.push_back(d.id + " " + d.name);
  EXPECT_THAT(names, ElementsAre("A iPhone 15 — iOS 17.5", "B iPhone 16 — iOS 18.1", "D Odd",
                                 "emulator-5554 Pixel 7"));
  EXPECT_TRUE(list.notes.empty());
  EXPECT_THAT(fake.lines("xcrun"), ElementsAre("simctl list devices booted -j"));

  // A tool that answers garbage lists nothing, and says nothing is wrong with the listing.
  fake.script("simctl-list", "<html>");
  EXPECT_EQ(capture.devices().devices.size(), 1u);
}

TEST(AndroidCapture, CleanStatusBarThenPictureThenDemoExitAndAppearance) {
  FakeTools fake;
  fake.script("screencap", tinyPNG());
  fake.script("night", "Night mode: yes\n");
  DeviceCapture capture(fake.tools());
  const DeviceShot shot = capture.capture(pixel());
  EXPECT_EQ(shot.png.toStdString(), tinyPNG());
  EXPECT_EQ(shot.appearance, ThemeName::dark);
  EXPECT_THAT(fake.lines("adb"),
              ElementsAre("-s emulator-5554 shell settings put global sysui_demo_allowed 1",
                          demo("-e command enter"), demo("-e command clock -e hhmm 0941"),
                          demo("-e command battery -e level 100 -e plugged false"),
                          demo("-e command network -e wifi show -e level 4"),
                          demo("-e command network -e mobile show -e level 4 -e datatype none"),
                          demo("-e command notifications -e visible false"),
                          "-s emulator-5554 exec-out screencap -p", demo("-e command exit"),
                          "-s emulator-5554 shell cmd uimode night"));

  fake.script("night", "Night mode: no\n");
  EXPECT_EQ(capture.capture(pixel()).appearance, ThemeName::light);
}

TEST(AndroidCapture, NoPictureIsRefusedAndDemoModeIsLeftAllTheSame) {
  for (const std::string& output :
       {std::string(), std::string("error: closed\n"),
        std::string("<!DOCTYPE html><html><body>502</body></html>"), std::string("\x89P")}) {
    FakeTools fake;
    fake.script("screencap", output);
    DeviceCapture capture(fake.tools());
    try {
      capture.capture(pixel());
      ADD_FAILURE() << "accepted " << output;
    } catch (const CaptureError& e) {
      EXPECT_STREQ(e.what(), "The device didn’t return a screenshot.");
    }
    const auto lines = fake.lines("adb");
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.back(), demo("-e command exit")) << output;
  }
}

TEST(AndroidCapture, AHangingScreencapIsCutOffAndDemoModeIsLeft) {
  FakeTools fake;
  fake.script("screencap", tinyPNG());
  fake.script("screencap.hang", "");
  capture::DeviceTools tools = fake.tools();
  tools.timeLimit = std::chrono::milliseconds(400);
  DeviceCapture capture(tools);
  EXPECT_THROW(capture.capture(pixel()), CaptureError);
  EXPECT_EQ(fake.lines("adb").back(), demo("-e command exit"));
}

TEST(AndroidCapture, ADeviceThatIsNotReadyIsNeverCaptured) {
  FakeTools fake;
  fake.script("screencap", tinyPNG());
  DeviceCapture capture(fake.tools());
  Device offline{"R58M", "R58M", DeviceOS::android, DeviceState::offline, "offline"};
  EXPECT_THROW(
      {
        try {
          capture.capture(offline);
        } catch (const CaptureError& e) {
          EXPECT_THAT(e.what(), HasSubstr("R58M is offline"));
          throw;
        }
      },
      CaptureError);
  EXPECT_TRUE(fake.calls("adb").empty());
}

TEST(AndroidCapture, WithoutAdbTheSentenceSaysWhereItLooked) {
  FakeTools fake;
  capture::DeviceTools tools = fake.tools(false);
  tools.adbCandidates = {"/nonexistent/Android/Sdk/platform-tools/adb"};
  tools.loginShell = "/bin/sh";
  const std::string path = std::getenv("PATH");
  ::setenv("PATH", "/nonexistent", 1);
  DeviceCapture capture(tools);
  try {
    capture.capture(pixel());
    ADD_FAILURE();
  } catch (const CaptureError& e) {
    EXPECT_THAT(e.what(), HasSubstr("adb isn’t installed."));
    EXPECT_THAT(e.what(), HasSubstr("/nonexistent/Android/Sdk/platform-tools/adb"));
  }
  EXPECT_THAT(capture.devices().notes.back(), HasSubstr("adb isn’t installed."));
  ::setenv("PATH", path.c_str(), 1);
}

TEST(SimulatorCapture, OverrideScreenshotClearAndTheTemporaryFileIsGone) {
  FakeTools fake;
  fake.script("screenshot", tinyPNG());
  fake.script("appearance", "dark\n");
  DeviceCapture capture(fake.tools(false, true));
  const Device phone{"UDID-1", "iPhone 16", DeviceOS::ios, DeviceState::ready, "Booted"};
  const DeviceShot shot = capture.capture(phone);
  EXPECT_EQ(shot.png.toStdString(), tinyPNG());
  EXPECT_EQ(shot.appearance, ThemeName::dark);
  const auto calls = fake.calls("xcrun");
  ASSERT_EQ(calls.size(), 4u);
  EXPECT_EQ(
      calls[0],
      (std::vector<std::string>{
          "simctl",         "status_bar", "UDID-1",         "override", "--time",         "9:41",
          "--dataNetwork",  "wifi",       "--wifiMode",     "active",   "--wifiBars",     "3",
          "--cellularMode", "active",     "--cellularBars", "4",        "--operatorName", "",
          "--batteryState", "charged",    "--batteryLevel", "100"}));
  ASSERT_EQ(calls[1].size(), 6u);
  EXPECT_THAT(calls[1][5], HasSubstr("vells-capture-"));
  EXPECT_THAT(fake.lines("xcrun")[2], "simctl status_bar UDID-1 clear");
  EXPECT_THAT(fake.lines("xcrun")[3], "simctl ui UDID-1 appearance");
  EXPECT_TRUE(fs::is_empty(fake.path() / "tmp"));

  // No file: the override is cleared all the same, and nothing is left behind.
  fs::remove(fake.path() / "screenshot");
  fs::remove(fake.path() / "xcrun.log");
  try {
    capture.capture(phone);
    ADD_FAILURE();
  } catch (const CaptureError& e) {
    EXPECT_STREQ(e.what(), "The simulator didn’t return a screenshot. Is the app open in it?");
  }
  EXPECT_EQ(fake.lines("xcrun").back(), "simctl status_bar UDID-1 clear");
  EXPECT_TRUE(fs::is_empty(fake.path() / "tmp"));
}

}  // namespace
}  // namespace vells::capture
