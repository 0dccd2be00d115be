#pragma once

#include <QByteArray>
#include <QString>
#include <optional>
#include <vector>

#include "app/sheet_dialog.h"
#include "capture/device_capture.h"

class QLabel;
class QListWidget;
class QPushButton;
class QVBoxLayout;

namespace vells::models {
class AppModel;
class EditorModel;
}  // namespace vells::models

namespace vells::capture {
class DeviceCaptureModel;
}

namespace vells::app {

// Takes the active page's screen from a running simulator or Android device:
// the devices of the active platform first, the ones that can't be captured
// listed with why, notes for missing tools, and the capture stored as the
// page's screen under the appearance the device showed.
class CaptureSheet : public SheetDialog {
  Q_OBJECT

 public:
  CaptureSheet(models::AppModel& app, models::EditorModel& editor,
               capture::DeviceCaptureModel& devices, QWidget* parent);

  // The listed devices in their shown order, ready or not.
  const std::vector<capture::Device>& devices() const { return shown_; }
  // The device the capture button takes, when one can be captured.
  std::optional<capture::Device> chosen() const;
  bool isStoring() const { return storing_; }

  void look();
  void captureChosen();

 protected:
  void showEvent(QShowEvent* event) override;
  void refreshSymbols() override;

 private:
  void store(const QByteArray& png, ThemeName appearance);
  void refresh();
  void rebuildList();

  models::AppModel& app_;
  models::EditorModel& editor_;
  capture::DeviceCaptureModel& model_;
  std::vector<capture::Device> shown_;
  bool looked_ = false;
  bool storing_ = false;
  QString storeError_;

  QListWidget* list_;
  QLabel* empty_;
  QVBoxLayout* notes_;
  QLabel* hint_;
  QPushButton* again_;
};

}  // namespace vells::app
