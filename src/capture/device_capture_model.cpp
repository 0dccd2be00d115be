#include "capture/device_capture_model.h"

#include <QMetaObject>
#include <algorithm>
#include <exception>

namespace vells::capture {

DeviceCaptureModel::DeviceCaptureModel(DeviceCapture& capture, QObject* parent)
    : QObject(parent), capture_(capture) {
  // One tool run at a time: a listing and a capture never talk to adb at once.
  pool_.setMaxThreadCount(1);
}

DeviceCaptureModel::~DeviceCaptureModel() {
  pool_.waitForDone();
}

std::vector<Device> DeviceCaptureModel::sorted(DeviceOS active) const {
  std::vector<Device> out = devices_;
  std::stable_partition(out.begin(), out.end(),
                        [&](const Device& device) { return device.os == active; });
  return out;
}

void DeviceCaptureModel::look() {
  if (looking_) return;
  looking_ = true;
  emit lookingChanged();
  pool_.start([this] {
    DeviceList list = capture_.devices();
    QMetaObject::invokeMethod(
        this,
        [this, list = std::move(list)]() mutable {
          devices_ = std::move(list.devices);
          notes_.clear();
          for (const std::string& note : list.notes)
            notes_ << QString::fromStdString(note);
          looking_ = false;
          emit devicesChanged();
          emit lookingChanged();
        },
        Qt::QueuedConnection);
  });
}

void DeviceCaptureModel::capture(const Device& device) {
  if (capturing_) return;
  capturing_ = true;
  setFailure({});
  emit capturingChanged();
  pool_.start([this, device] {
    std::optional<DeviceShot> shot;
    QString failure;
    try {
      shot = capture_.capture(device);
    } catch (const std::exception& e) {
      failure = QString::fromStdString(e.what());
    }
    QMetaObject::invokeMethod(
        this,
        [this, shot = std::move(shot), failure] {
          capturing_ = false;
          emit capturingChanged();
          if (shot) {
            emit captured(shot->png, shot->appearance);
          } else {
            setFailure(failure);
          }
        },
        Qt::QueuedConnection);
  });
}

QString DeviceCaptureModel::emptyText(DeviceOS active) {
  return active == DeviceOS::ios
             ? QStringLiteral("Open your app in the iOS Simulator to capture its real screen.")
             : QStringLiteral(
                   "Start your app in an Android emulator (with adb installed) to "
                   "capture its real screen.");
}

QString DeviceCaptureModel::hint(int localeCount, const QString& language) {
  const QString first =
      localeCount > 1 ? QStringLiteral("Exactly what the app shows — stored for ") + language +
                            QStringLiteral(". Switch the app’s language to capture the others.")
                      : QStringLiteral("Exactly what the app shows, with a clean 9:41 status bar.");
  return first + QStringLiteral(
                     " Put the simulator in light or dark mode first — the capture is "
                     "saved as that mode’s screen.");
}

void DeviceCaptureModel::setFailure(const QString& failure) {
  if (failure_ == failure) return;
  failure_ = failure;
  emit failureChanged();
}

}  // namespace vells::capture
