#include "app/sheet_presenter.h"

#include <QTimer>
#include <QWidget>

#include "app/add_app_sheet.h"
#include "app/add_page_sheet.h"
#include "app/capture_sheet.h"
#include "app/edit_app_sheet.h"
#include "app/new_set_sheet.h"
#include "models/app_model.h"

namespace vells::app {

SheetPresenter::SheetPresenter(models::AppModel& app, models::EditorModel& editor,
                               models::ImageStore& images, capture::DeviceCaptureModel& capture,
                               std::function<bool()> hasAITool, QWidget* window)
    : QObject(window),
      app_(app),
      editor_(editor),
      images_(images),
      capture_(capture),
      hasAITool_(std::move(hasAITool)),
      window_(window) {
  using models::AppModel;
  for (auto signal : {&AppModel::isCreatingSetChanged, &AppModel::isAddingAppChanged,
                      &AppModel::editingAppChanged, &AppModel::isAddingPageChanged,
                      &AppModel::isShowingCaptureChanged}) {
    // Queued: the sheet opens on the next turn, after whatever raised the
    // request (a closing menu or popover) has finished.
    connect(&app_, signal, this, &SheetPresenter::openPending, Qt::QueuedConnection);
  }
  QTimer::singleShot(0, this, &SheetPresenter::openPending);
}

void SheetPresenter::openPending() {
  if (current_) {
    // The request was withdrawn elsewhere: the sheet goes with it.
    if (!stillWanted_()) current_->reject();
    return;
  }
  if (app_.isCreatingSet()) {
    auto* sheet = new NewSetSheet(app_, window_);
    connect(sheet, &NewSetSheet::generateRequested, this,
            [this] { emit generateRequested(QVariantMap()); });
    connect(sheet, &NewSetSheet::updateRequested, this, &SheetPresenter::updateRequested);
    return show(
        sheet, [this] { return app_.isCreatingSet(); }, [this] { app_.setCreatingSet(false); });
  }
  if (app_.isAddingApp()) {
    auto* sheet = new AddAppSheet(app_, app_.addAppStep(), hasAITool_, window_);
    connect(sheet, &AddAppSheet::generateRequested, this, &SheetPresenter::generateRequested);
    return show(
        sheet, [this] { return app_.isAddingApp(); }, [this] { app_.setAddingApp(false); });
  }
  if (app_.editingApp()) {
    return show(
        new EditAppSheet(app_, images_, *app_.editingApp(), window_),
        [this] { return app_.editingApp().has_value(); },
        [this] { app_.setEditingApp(std::nullopt); });
  }
  if (app_.isAddingPage()) {
    return show(
        new AddPageSheet(app_, window_), [this] { return app_.isAddingPage(); },
        [this] { app_.setAddingPage(false); });
  }
  if (app_.isShowingCapture()) {
    return show(
        new CaptureSheet(app_, editor_, capture_, window_),
        [this] { return app_.isShowingCapture(); }, [this] { app_.setShowingCapture(false); });
  }
}

void SheetPresenter::show(SheetDialog* sheet, std::function<bool()> wanted,
                          std::function<void()> lower) {
  current_ = sheet;
  stillWanted_ = std::move(wanted);
  connect(sheet, &QDialog::finished, this, [this, lower = std::move(lower)] {
    current_ = nullptr;
    lower();
    openPending();
  });
  sheet->open();
}

}  // namespace vells::app
