#pragma once

#include <QMainWindow>
#include <QPointer>

class QLabel;
class QSettings;
class QSplitter;
class QStackedWidget;
class QToolButton;

namespace vells::models {
class AppModel;
class CanvasModel;
class EditorModel;
class GalleryModel;
class ImageStore;
}  // namespace vells::models

namespace vells::app {

class ConnectionView;
class EditorView;
class SegmentedControl;
class ShellCommands;
class SidebarView;

// The main window: the sidebar, the toolbar and the detail column, which
// shows the connection screens until the library is open, then the gallery
// and the editor, both alive, one of them visible.
class MainWindow : public QMainWindow {
  Q_OBJECT

 public:
  static constexpr QSize minimumWindowSize{1000, 680};
  static constexpr QSize defaultWindowSize{1440, 940};

  MainWindow(models::AppModel& app, models::EditorModel& editor, models::CanvasModel& canvas,
             models::GalleryModel& gallery, models::ImageStore& images, QSettings& settings,
             QWidget* parent = nullptr);

  // The gallery's view; replaces the placeholder.
  void setGallery(QWidget* gallery);

  ShellCommands* commands() const { return commands_; }
  EditorView* editorView() const { return editorView_; }
  SidebarView* sidebar() const { return sidebar_; }
  ConnectionView* connectionView() const { return connection_; }
  SegmentedControl* workspaceSwitch() const { return workspaceSwitch_; }
  SegmentedControl* osSwitch() const { return osSwitch_; }
  SegmentedControl* themeSwitch() const { return themeSwitch_; }
  QToolButton* exportButton() const { return export_; }
  QToolButton* secondButton() const { return second_; }
  // The column that shows now: the connection screens, the gallery or the editor.
  QWidget* visibleDetail() const;
  QString subtitle() const;

 signals:
  void settingsRequested();

 private:
  void buildToolbar();
  void follow();
  void followState();

  models::AppModel& app_;
  models::EditorModel& editor_;
  models::CanvasModel& canvas_;
  models::GalleryModel& gallery_;

  ShellCommands* commands_;
  SidebarView* sidebar_;
  QSplitter* split_;
  QStackedWidget* detail_;
  ConnectionView* connection_;
  QStackedWidget* workspaces_;
  QPointer<QWidget> galleryView_;
  EditorView* editorView_;

  QLabel* title_ = nullptr;
  QLabel* subtitle_ = nullptr;
  SegmentedControl* workspaceSwitch_ = nullptr;
  SegmentedControl* osSwitch_ = nullptr;
  SegmentedControl* themeSwitch_ = nullptr;
  QToolButton* export_ = nullptr;
  QToolButton* second_ = nullptr;
};

}  // namespace vells::app
