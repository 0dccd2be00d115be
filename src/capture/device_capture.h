#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <chrono>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "capture/tool_runner.h"
#include "document/records.h"
#include "platform/error.h"

namespace vells::capture {

// A capture that didn't give a picture; `what()` says what to do about it.
class CaptureError : public Error {
 public:
  using Error::Error;
};

// Whether a device can be captured now; adb lists devices it can't talk to.
enum class DeviceState { ready, offline, unauthorized, unavailable };

struct Device {
  std::string id;    // the simulator's UDID or the adb serial
  std::string name;  // for display
  DeviceOS os = DeviceOS::android;
  DeviceState state = DeviceState::ready;
  // adb's own word for a device that isn't ready ("offline", "no permissions", …).
  std::string stateText;

  bool ready() const { return state == DeviceState::ready; }
  friend bool operator==(const Device&, const Device&) = default;
};

struct DeviceList {
  // The simulators first, then the Android devices, each in the tool's order.
  std::vector<Device> devices;
  // Sentences for the person: a tool that isn't there, devices that can't be captured.
  std::vector<std::string> notes;
};

struct DeviceShot {
  QByteArray png;
  // What the device showed; the screen is filed under it, not under the page's theme.
  ThemeName appearance = ThemeName::light;
};

// Where the tools are looked for and how long each may take.
struct DeviceTools {
  // Tried in order, the first executable file wins; then the login shell.
  QStringList adbCandidates;
  // Runs `command -v adb` with -lc; empty skips that step.
  QString loginShell;
  QString xcrun;
  QString tempDir;
  std::chrono::milliseconds timeLimit{std::chrono::seconds(20)};
  // Lets the status bar redraw between the clean-up and the picture.
  std::chrono::milliseconds settle{500};

  // This computer's usual places: the Android SDK's default folder, Debian's
  // android-sdk package, the system folders, and the user's login shell.
  static DeviceTools forThisComputer();
};

// Lists running simulators and Android devices and takes their screens with
// a clean 9:41 status bar. Every call runs the tools anew and blocks until
// they finish (each within the time limit), so a view calls it off its main
// thread; one object may serve several threads.
class DeviceCapture {
 public:
  explicit DeviceCapture(DeviceTools tools);

  // Never fails: a missing tool or a failed run gives fewer devices and a note.
  DeviceList devices();
  // Throws CaptureError; the status bar override and demo mode are undone on
  // every way out, failures and time-outs included.
  DeviceShot capture(const Device& device);

  // The adb to use, worked out on first need and kept once found.
  std::optional<QString> adbPath();
  // The sentence for a missing adb, with where it was looked for.
  std::string noAdbSentence() const;

 private:
  std::vector<Device> simulators();
  std::vector<Device> androidDevices(const QString& adb);
  QByteArray captureSimulator(const std::string& udid);
  ThemeName simulatorAppearance(const std::string& udid);
  QByteArray captureAndroid(const std::string& serial);
  ThemeName androidAppearance(const std::string& serial);
  std::optional<QByteArray> adb(const std::string& serial, QStringList arguments);
  void sleepToSettle() const;

  DeviceTools tools_;
  ToolRunner runner_;
  std::mutex adbLock_;
  std::optional<QString> adbPath_;
};

// True when the bytes begin with the PNG signature.
bool isPNG(const QByteArray& bytes);
// Why a listed device can't be captured, as a sentence; empty when it can.
std::string notReadySentence(const Device& device);

}  // namespace vells::capture
