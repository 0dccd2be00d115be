#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "capture/capture_fixture.h"
#include "cli/capture_command.h"
#include "cli/import_command.h"
#include "cli/request_command.h"

namespace vells::cli {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using namespace vells::testing;

class CLICommands : public CaptureLibrary {
 protected:
  int runCapture(capture::DeviceCapture& devices, const std::vector<std::string>& args) {
    out.str("");
    err.str("");
    return captureCommand(args, devices, handle(), out, err);
  }
  int runImport(const std::vector<std::string>& args) {
    out.str("");
    err.str("");
    return importCommand(args, handle(), out, err);
  }

  FakeTools fake;
  std::ostringstream out, err;
};

TEST_F(CLICommands, CaptureLandsAsThePagesScreenForTheDevicesThemeAndTheLocale) {
  fake.script("devices",
              "List of devices attached\n"
              "emulator-5554 device model:Pixel_8_Pro\nR58M offline\n");
  fake.script("screencap", tinyPNG());
  fake.script("night", "Night mode: yes\n");
  capture::DeviceCapture devices(fake.tools());

  EXPECT_EQ(runCapture(devices, {"--list"}), kExitOK);
  EXPECT_EQ(out.str(),
            "emulator-5554\tPixel 8 Pro\tandroid\tready\nR58M\tR58M\tandroid\toffline\n");
  EXPECT_THAT(err.str(), HasSubstr("R58M is offline"));

  EXPECT_EQ(runCapture(devices, {"--device", "emulator-5554", "--set", set, "--page", "stats",
                                 "--locale", "de"}),
            kExitOK)
      << err.str();
  EXPECT_EQ(out.str(),
            "Captured Pixel 8 Pro — stored as the dark Android screen of page stats in "
            "set " +
                set + ", for de only.\n");
  EXPECT_THAT(stored(), ElementsAre("screens/dark/" + set + "-stats-android-de.png"));

  // --theme and --os override what the device shows.
  EXPECT_EQ(runCapture(devices, {"--device", "emulator-5554", "--set", set, "--page", "home",
                                 "--theme", "light", "--os", "ios"}),
            kExitOK);
  EXPECT_THAT(stored(), ElementsAre("screens/dark/" + set + "-stats-android-de.png",
                                    "screens/light/" + set + "-home-ios.png"));
}

TEST_F(CLICommands, CaptureRefusesWhatItCannotDoAndTouchesNoDevice) {
  fake.script("devices", "List of devices attached\nemulator-5554 device\nR58M offline\n");
  fake.script("screencap", "error: closed");
  capture::DeviceCapture devices(fake.tools());
  const auto attempt = [&](std::vector<std::string> args) {
    std::vector<std::string> all = {"--device", "emulator-5554", "--set", set};
    all.insert(all.end(), args.begin(), args.end());
    return runCapture(devices, all);
  };
  EXPECT_EQ(attempt({"--page", "nope"}), kExitStatus);
  EXPECT_THAT(err.str(), HasSubstr("has no page “nope”"));
  EXPECT_EQ(attempt({"--page", "home", "--locale", "ja"}), kExitStatus);
  EXPECT_THAT(err.str(), HasSubstr("isn’t in the language “ja”"));
  EXPECT_EQ(attempt({"--page", "home", "--theme", "dim"}), kExitUsage);
  EXPECT_THAT(fake.lines("adb"), ElementsAre("devices -l", "devices -l"));

  EXPECT_EQ(attempt({"--page", "home"}), kExitStatus);
  EXPECT_THAT(err.str(), HasSubstr("The device didn’t return a screenshot."));
  EXPECT_EQ(fake.lines("adb").back(),
            "-s emulator-5554 shell am broadcast -a com.android.systemui.demo -e command exit");

  EXPECT_EQ(runCapture(devices, {"--device", "R58M", "--set", set, "--page", "home"}), kExitStatus);
  EXPECT_THAT(err.str(), HasSubstr("R58M is offline"));
  EXPECT_TRUE(stored().empty());
}

TEST_F(CLICommands, ImportPrintsTheLineAndExitsByWhetherEverythingWasStored) {
  writeFile(drop.path() / "de" / "01-Home.png", tinyPNG());
  writeFile(drop.path() / "stats.png", tinyPNG());
  writeFile(drop.path() / "x" / "deeper" / "more.png", tinyPNG());
  writeFile(drop.path() / "readme.txt", "hi");
  EXPECT_EQ(runImport({drop.path().string(), "--set", set, "--os", "android"}), kExitOK)
      << err.str();
  EXPECT_EQ(out.str(), "Added 2 screens for Android — 1 not used\n");
  EXPECT_THAT(stored(), ElementsAre("screens/light/" + set + "-home-android-de.png",
                                    "screens/light/" + set + "-stats-android.png"));

  EXPECT_EQ(runImport({(drop.path() / "readme.txt").string(), "--set", set}), kExitStatus);
  EXPECT_EQ(out.str(), "No images in that drop.\n");
  EXPECT_EQ(runImport({drop.path().string()}), kExitUsage);
  EXPECT_EQ(runImport({"/nonexistent/folder", "--set", set}), kExitStatus);
  EXPECT_EQ(runImport({drop.path().string(), "--set", "nope"}), kExitStatus);
  EXPECT_THAT(err.str(), HasSubstr("There’s no set “nope”"));
  EXPECT_EQ(runImport({"--help"}), kExitOK);
  EXPECT_THAT(out.str(), HasSubstr("Usage: vellora-cli import"));
}

}  // namespace
}  // namespace vells::cli
