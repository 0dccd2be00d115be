#pragma once

#include <QPointer>
#include <QString>
#include <QWidget>
#include <optional>

#include "models/canvas_geometry.h"

class QLabel;
class QSettings;
class QSplitter;
class QStackedWidget;

namespace vells::models {
class AppModel;
class CanvasModel;
class EditorModel;
}  // namespace vells::models

namespace vells::app {

class EmptyStateView;

// The editor's side of the detail column: the locked store listing, "Pick a
// page" without a page, else the canvas with its tip and status line beside
// the chat panel and the inspector column. It keeps the editor's documents
// loaded for the active set and page while it lives.
class EditorView : public QWidget {
  Q_OBJECT

 public:
  EditorView(models::AppModel& app, models::EditorModel& editor, models::CanvasModel& canvas,
             QSettings& settings, QWidget* parent = nullptr);

  // The areas other views fill; each replaces the placeholder or the one
  // before (which is deleted).
  void setCanvas(QWidget* canvas);
  void setInspector(QWidget* inspector);
  void setChatPanel(QWidget* chat);

  // The `debug.select` value and `debug.edit`, applied once after a page has
  // loaded.
  void setDebugSelection(QString select, bool edit);
  // What a `debug.select` value picks on the page as it is now.
  static std::optional<models::CanvasSelection> debugTarget(const QString& select,
                                                            const models::CanvasModel& canvas);

  bool inspectorShown() const { return inspectorShown_; }
  void setInspectorShown(bool shown);

  enum class State { locked, empty, editing };
  State state() const;
  EmptyStateView* lockedView() const { return locked_; }
  QLabel* statusLine() const { return status_; }

 signals:
  void inspectorShownChanged(bool shown);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void fitColumns();
  void follow();
  void followStatus();
  void loadPage();
  void replace(QPointer<QWidget>& slot, QWidget* with, QWidget* holder);
  void applyDebugSelection();

  models::AppModel& app_;
  models::EditorModel& editor_;
  models::CanvasModel& canvas_;
  QSettings& settings_;

  QStackedWidget* stack_;
  EmptyStateView* locked_;
  EmptyStateView* empty_;
  QSplitter* content_;
  QWidget* canvasHolder_;
  QWidget* chatHolder_;
  QWidget* inspectorHolder_;
  QPointer<QWidget> canvasWidget_;
  QPointer<QWidget> chatWidget_;
  QPointer<QWidget> inspectorWidget_;
  QLabel* tip_;
  QLabel* status_;
  bool inspectorShown_ = true;
  // The columns get their widths in pixels once the splitter has its own:
  // before that, sizes are only proportions.
  bool columnsFitted_ = false;

  QString debugSelect_;
  bool debugEdit_ = false;
  bool debugApplied_ = false;
};

}  // namespace vells::app
