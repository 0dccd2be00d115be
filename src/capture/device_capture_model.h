#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QThreadPool>
#include <vector>

#include "capture/device_capture.h"

namespace vells::capture {

// What the capture sheet shows and does: the device list, one capture at a
// time, and the failure sentence. The tools run on the model's own worker
// thread; results come back on the thread the model lives in. A successful
// capture is handed on through `captured`, for the editor to store as the
// page's screen and the workspace to switch to the theme it was filed under.
class DeviceCaptureModel : public QObject {
  Q_OBJECT
  Q_PROPERTY(bool isLooking READ isLooking NOTIFY lookingChanged)
  Q_PROPERTY(bool isCapturing READ isCapturing NOTIFY capturingChanged)
  Q_PROPERTY(QString failure READ failure NOTIFY failureChanged)
  Q_PROPERTY(QStringList notes READ notes NOTIFY devicesChanged)

 public:
  explicit DeviceCaptureModel(DeviceCapture& capture, QObject* parent = nullptr);
  ~DeviceCaptureModel() override;

  bool isLooking() const { return looking_; }
  bool isCapturing() const { return capturing_; }
  QString failure() const { return failure_; }
  QStringList notes() const { return notes_; }
  // The devices of the active platform first, the others after, each in the tools' order.
  std::vector<Device> sorted(DeviceOS active) const;

  // Lists the devices anew; ignored while a look is under way.
  void look();
  // Captures one device; ignored while a capture is under way.
  void capture(const Device& device);

  // The line for an empty list on the active platform.
  static QString emptyText(DeviceOS active);
  // The line under the buttons; `language` is the active one's name, used with several.
  static QString hint(int localeCount, const QString& language);

 signals:
  void lookingChanged();
  void capturingChanged();
  void failureChanged();
  void devicesChanged();
  // The device's picture and the appearance it showed.
  void captured(const QByteArray& png, vells::ThemeName appearance);

 private:
  void setFailure(const QString& failure);

  DeviceCapture& capture_;
  QThreadPool pool_;
  std::vector<Device> devices_;
  QStringList notes_;
  QString failure_;
  bool looking_ = false;
  bool capturing_ = false;
};

}  // namespace vells::capture
