#pragma once

#include <QObject>
#include <QPointer>

class QWidget;

namespace vells::models {
class AppModel;
class GalleryModel;
class ImageStore;
}  // namespace vells::models

namespace vells::app {

// Reports the moments of start-up on standard error, for measuring how fast
// the window opens: "vellora: window shown" once it is first exposed, and
// "vellora: first cell" once the first ready gallery thumbnail has been
// decoded. Only built when $VELLS_STARTUP_TRACE is set; "exit" quits after
// the first cell.
class StartupTrace : public QObject {
  Q_OBJECT

 public:
  StartupTrace(QWidget& window, models::AppModel& app, models::GalleryModel& gallery,
               models::ImageStore& images, bool exitAfter);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void checkCells();

  QPointer<QWidget> window_;
  models::AppModel& app_;
  models::GalleryModel& gallery_;
  models::ImageStore& images_;
  bool exitAfter_;
  bool shown_ = false;
  bool asked_ = false;
};

}  // namespace vells::app
