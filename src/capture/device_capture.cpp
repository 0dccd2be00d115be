#include "capture/device_capture.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QThread>
#include <QUuid>
#include <algorithm>
#include <map>
#include <utility>

namespace vells::capture {

namespace {

const QString kDemo = QStringLiteral("com.android.systemui.demo");

// Runs `done` when the scope ends, however it ends: the device must never be
// left in demo mode or with an overridden status bar.
template <typename F>
class Finally {
 public:
  explicit Finally(F done) : done_(std::move(done)) {}
  Finally(const Finally&) = delete;
  Finally& operator=(const Finally&) = delete;
  ~Finally() { done_(); }

 private:
  F done_;
};

// "com.apple.CoreSimulator.SimRuntime.iOS-18-1" gives "iOS 18.1".
QString runtimeLabel(const QString& identifier) {
  const qsizetype dot = identifier.lastIndexOf('.');
  if (dot < 0) return {};
  QString label = identifier.mid(dot + 1);
  if (label.startsWith(QStringLiteral("iOS-"))) label.replace(0, 4, QStringLiteral("iOS "));
  label.replace('-', '.');
  return label;
}

DeviceState stateOf(const QString& word) {
  if (word == QStringLiteral("device")) return DeviceState::ready;
  if (word == QStringLiteral("offline")) return DeviceState::offline;
  if (word == QStringLiteral("unauthorized")) return DeviceState::unauthorized;
  return DeviceState::unavailable;
}

}  // namespace

bool isPNG(const QByteArray& bytes) {
  static constexpr char kSignature[] = "\x89PNG\r\n\x1a\n";
  return bytes.startsWith(QByteArray::fromRawData(kSignature, 8));
}

std::string notReadySentence(const Device& device) {
  switch (device.state) {
    case DeviceState::ready:
      return {};
    case DeviceState::offline:
      return device.name + " is offline. Reconnect it or restart it, then try again.";
    case DeviceState::unauthorized:
      return device.name +
             " hasn’t allowed USB debugging from this computer. Unlock it, accept the prompt "
             "on its screen, then try again.";
    case DeviceState::unavailable:
      break;
  }
  return device.name + " isn’t ready (adb says “" + device.stateText +
         "”). Reconnect it, then try again.";
}

DeviceTools DeviceTools::forThisComputer() {
  DeviceTools tools;
  tools.adbCandidates = {QDir::homePath() + QStringLiteral("/Android/Sdk/platform-tools/adb"),
                         QStringLiteral("/usr/lib/android-sdk/platform-tools/adb"),
                         QStringLiteral("/usr/bin/adb"), QStringLiteral("/usr/local/bin/adb")};
  const QString shell = qEnvironmentVariable("SHELL");
  tools.loginShell = isExecutable(shell) ? shell : QStringLiteral("/bin/sh");
  tools.xcrun = QStringLiteral("/usr/bin/xcrun");
  tools.tempDir = QDir::tempPath();
  return tools;
}

DeviceCapture::DeviceCapture(DeviceTools tools)
    : tools_(std::move(tools)), runner_(tools_.timeLimit) {}

std::optional<QString> DeviceCapture::adbPath() {
  std::lock_guard guard(adbLock_);
  if (adbPath_) return adbPath_;
  for (const QString& candidate : tools_.adbCandidates) {
    if (isExecutable(candidate)) return adbPath_ = candidate;
  }
  if (!tools_.loginShell.isEmpty()) {
    const auto found =
        runner_.run(tools_.loginShell, {QStringLiteral("-lc"), QStringLiteral("command -v adb")});
    if (found) {
      const QString path = QString::fromUtf8(*found).trimmed();
      if (isExecutable(path)) return adbPath_ = path;
    }
  }
  // Not kept: adb installed while the program runs is found on the next try.
  return std::nullopt;
}

std::string DeviceCapture::noAdbSentence() const {
  std::string places;
  for (const QString& candidate : tools_.adbCandidates) {
    places += (places.empty() ? "" : ", ") + candidate.toStdString();
  }
  if (!tools_.loginShell.isEmpty()) {
    places += (places.empty() ? "" : " and ") + std::string("on the login shell’s PATH");
  }
  return "adb isn’t installed." + (places.empty() ? "" : " Looked in " + places + ".") +
         " Install the Android SDK platform tools, then try again.";
}

DeviceList DeviceCapture::devices() {
  DeviceList list;
  if (isExecutable(tools_.xcrun)) {
    list.devices = simulators();
  } else {
    list.notes.emplace_back("iOS Simulator capture needs macOS.");
  }
  if (const auto adb = adbPath()) {
    for (Device& device : androidDevices(*adb)) {
      if (!device.ready()) list.notes.push_back(notReadySentence(device));
      list.devices.push_back(std::move(device));
    }
  } else {
    list.notes.push_back(noAdbSentence());
  }
  return list;
}

std::vector<Device> DeviceCapture::simulators() {
  std::vector<Device> out;
  const auto json = runner_.run(
      tools_.xcrun, {QStringLiteral("simctl"), QStringLiteral("list"), QStringLiteral("devices"),
                     QStringLiteral("booted"), QStringLiteral("-j")});
  if (!json) return out;
  const QJsonObject runtimes = QJsonDocument::fromJson(*json).object().value("devices").toObject();
  // QJsonObject keeps its keys sorted as text, which is the order wanted.
  for (auto it = runtimes.begin(); it != runtimes.end(); ++it) {
    const QString label = runtimeLabel(it.key());
    for (const auto& value : it.value().toArray()) {
      const QJsonObject entry = value.toObject();
      if (entry.value("state").toString() != QStringLiteral("Booted")) continue;
      if (!entry.value("udid").isString() || !entry.value("name").isString()) continue;
      QString name = entry.value("name").toString();
      if (!label.isEmpty()) name += QStringLiteral(" — ") + label;
      out.push_back(Device{entry.value("udid").toString().toStdString(), name.toStdString(),
                           DeviceOS::ios, DeviceState::ready, "Booted"});
    }
  }
  return out;
}

std::vector<Device> DeviceCapture::androidDevices(const QString& adb) {
  std::vector<Device> out;
  const auto text = runner_.run(adb, {QStringLiteral("devices"), QStringLiteral("-l")});
  if (!text) return out;
  const QStringList lines = QString::fromUtf8(*text).split('\n');
  for (qsizetype i = 1; i < lines.size(); ++i) {
    const QStringList pieces = lines[i].trimmed().split(' ', Qt::SkipEmptyParts);
    // adb's own chatter ("* daemon started successfully") isn't a device.
    if (pieces.size() < 2 || pieces[0].startsWith('*')) continue;
    Device device{pieces[0].toStdString(), pieces[0].toStdString(), DeviceOS::android,
                  stateOf(pieces[1]), pieces[1].toStdString()};
    if (device.state == DeviceState::unavailable && pieces[1] == QStringLiteral("no") &&
        pieces.size() > 2) {
      device.stateText = "no permissions";
    }
    for (const QString& piece : pieces) {
      if (piece.startsWith(QStringLiteral("model:"))) {
        device.name = piece.mid(6).replace('_', ' ').toStdString();
      }
    }
    out.push_back(std::move(device));
  }
  return out;
}

DeviceShot DeviceCapture::capture(const Device& device) {
  if (!device.ready()) throw CaptureError(notReadySentence(device));
  if (device.os == DeviceOS::ios) {
    QByteArray png = captureSimulator(device.id);
    return {std::move(png), simulatorAppearance(device.id)};
  }
  QByteArray png = captureAndroid(device.id);
  return {std::move(png), androidAppearance(device.id)};
}

QByteArray DeviceCapture::captureSimulator(const std::string& udid) {
  if (!isExecutable(tools_.xcrun)) throw CaptureError("iOS Simulator capture needs macOS.");
  const QString id = QString::fromStdString(udid);
  const auto simctl = [&](QStringList arguments) {
    arguments.prepend(QStringLiteral("simctl"));
    return runner_.run(tools_.xcrun, arguments);
  };
  simctl({QStringLiteral("status_bar"),
          id,
          QStringLiteral("override"),
          QStringLiteral("--time"),
          QStringLiteral("9:41"),
          QStringLiteral("--dataNetwork"),
          QStringLiteral("wifi"),
          QStringLiteral("--wifiMode"),
          QStringLiteral("active"),
          QStringLiteral("--wifiBars"),
          QStringLiteral("3"),
          QStringLiteral("--cellularMode"),
          QStringLiteral("active"),
          QStringLiteral("--cellularBars"),
          QStringLiteral("4"),
          QStringLiteral("--operatorName"),
          QString(),
          QStringLiteral("--batteryState"),
          QStringLiteral("charged"),
          QStringLiteral("--batteryLevel"),
          QStringLiteral("100")});
  const QString file =
      QDir(tools_.tempDir)
          .filePath(QStringLiteral("vells-capture-") +
                    QUuid::createUuid().toString(QUuid::WithoutBraces) + QStringLiteral(".png"));
  // Declared in this order so the override is cleared first, then the file removed.
  const Finally removeFile([&] { QFile::remove(file); });
  const Finally clear([&] { simctl({QStringLiteral("status_bar"), id, QStringLiteral("clear")}); });
  sleepToSettle();
  simctl(
      {QStringLiteral("io"), id, QStringLiteral("screenshot"), QStringLiteral("--type=png"), file});
  QFile shot(file);
  QByteArray png;
  if (shot.open(QIODevice::ReadOnly)) png = shot.readAll();
  if (!isPNG(png)) {
    throw CaptureError("The simulator didn’t return a screenshot. Is the app open in it?");
  }
  return png;
}

ThemeName DeviceCapture::simulatorAppearance(const std::string& udid) {
  const auto text =
      runner_.run(tools_.xcrun, {QStringLiteral("simctl"), QStringLiteral("ui"),
                                 QString::fromStdString(udid), QStringLiteral("appearance")});
  return text && QString::fromUtf8(*text).contains(QStringLiteral("dark")) ? ThemeName::dark
                                                                           : ThemeName::light;
}

std::optional<QByteArray> DeviceCapture::adb(const std::string& serial, QStringList arguments) {
  const auto path = adbPath();
  if (!path) return std::nullopt;
  arguments.prepend(QString::fromStdString(serial));
  arguments.prepend(QStringLiteral("-s"));
  return runner_.run(*path, arguments);
}

QByteArray DeviceCapture::captureAndroid(const std::string& serial) {
  if (!adbPath()) throw CaptureError(noAdbSentence());
  const auto demo = [&](QStringList extras) {
    extras.prepend(kDemo);
    extras.prepend(QStringLiteral("-a"));
    extras.prepend(QStringLiteral("broadcast"));
    extras.prepend(QStringLiteral("am"));
    extras.prepend(QStringLiteral("shell"));
    adb(serial, extras);
  };
  adb(serial,
      {QStringLiteral("shell"), QStringLiteral("settings"), QStringLiteral("put"),
       QStringLiteral("global"), QStringLiteral("sysui_demo_allowed"), QStringLiteral("1")});
  // Leaves demo mode on every way out, the refused and timed-out captures included.
  const Finally exitDemo([&] {
    demo({QStringLiteral("-e"), QStringLiteral("command"), QStringLiteral("exit")});
  });
  const QString e = QStringLiteral("-e");
  const QString command = QStringLiteral("command");
  demo({e, command, QStringLiteral("enter")});
  demo({e, command, QStringLiteral("clock"), e, QStringLiteral("hhmm"), QStringLiteral("0941")});
  demo({e, command, QStringLiteral("battery"), e, QStringLiteral("level"), QStringLiteral("100"), e,
        QStringLiteral("plugged"), QStringLiteral("false")});
  demo({e, command, QStringLiteral("network"), e, QStringLiteral("wifi"), QStringLiteral("show"), e,
        QStringLiteral("level"), QStringLiteral("4")});
  demo({e, command, QStringLiteral("network"), e, QStringLiteral("mobile"), QStringLiteral("show"),
        e, QStringLiteral("level"), QStringLiteral("4"), e, QStringLiteral("datatype"),
        QStringLiteral("none")});
  demo({e, command, QStringLiteral("notifications"), e, QStringLiteral("visible"),
        QStringLiteral("false")});
  sleepToSettle();
  const auto png =
      adb(serial, {QStringLiteral("exec-out"), QStringLiteral("screencap"), QStringLiteral("-p")});
  if (!png || !isPNG(*png)) throw CaptureError("The device didn’t return a screenshot.");
  return *png;
}

ThemeName DeviceCapture::androidAppearance(const std::string& serial) {
  const auto text = adb(serial, {QStringLiteral("shell"), QStringLiteral("cmd"),
                                 QStringLiteral("uimode"), QStringLiteral("night")});
  return text && QString::fromUtf8(*text).contains(QStringLiteral("yes")) ? ThemeName::dark
                                                                          : ThemeName::light;
}

void DeviceCapture::sleepToSettle() const {
  QThread::msleep(static_cast<unsigned long>(tools_.settle.count()));
}

}  // namespace vells::capture
