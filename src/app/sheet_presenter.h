#pragma once

#include <QObject>
#include <QPointer>
#include <QVariantMap>
#include <functional>

#include "app/sheet_dialog.h"

class QWidget;

namespace vells::models {
class AppModel;
class EditorModel;
class ImageStore;
}  // namespace vells::models

namespace vells::capture {
class DeviceCaptureModel;
}

namespace vells::app {

class SheetDialog;

// Opens the sheet the workspace asks for over the main window: new set
// (`isCreatingSet`), add app (`isAddingApp`, at `addAppStep`), edit app
// (`editingApp`), add page (`isAddingPage`) and device capture
// (`isShowingCapture`). One sheet shows
// at a time; a request that comes while one is open waits for it to close.
// Closing a sheet lowers its request.
class SheetPresenter : public QObject {
  Q_OBJECT

 public:
  // `hasAITool` is asked off the main thread whether an AI tool is usable now.
  SheetPresenter(models::AppModel& app, models::EditorModel& editor, models::ImageStore& images,
                 capture::DeviceCaptureModel& capture, std::function<bool()> hasAITool,
                 QWidget* window);

  // The sheet showing now, or nothing.
  SheetDialog* current() const { return current_; }

 signals:
  // A set is ready for the generate flow; `profile` holds what the add-app
  // sheet learnt ("What it does", "Who it is for", "Category"), else empty.
  void generateRequested(const QVariantMap& profile);
  // A copy of a set is ready for the update flow.
  void updateRequested();

 private:
  void openPending();
  void show(SheetDialog* sheet, std::function<bool()> wanted, std::function<void()> lower);

  models::AppModel& app_;
  models::EditorModel& editor_;
  models::ImageStore& images_;
  capture::DeviceCaptureModel& capture_;
  std::function<bool()> hasAITool_;
  QWidget* window_;
  QPointer<SheetDialog> current_;
  std::function<bool()> stillWanted_;
};

}  // namespace vells::app
