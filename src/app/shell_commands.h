#pragma once

#include <QObject>

#include "models/canvas_model.h"

class QAction;
class QMenuBar;
class QWidget;

namespace vells::models {
class AppModel;
class EditorModel;
class GalleryModel;
}  // namespace vells::models

namespace vells::app {

// Every command of the window's menus, with its shortcut and its rule of
// enablement. The actions live on the window, so their shortcuts work
// wherever the focus is inside it.
class ShellCommands : public QObject {
  Q_OBJECT

 public:
  ShellCommands(models::AppModel& app, models::EditorModel& editor, models::CanvasModel& canvas,
                models::GalleryModel& gallery, QWidget* window);

  // Fills `bar` with File, Edit, Insert, Arrange and View.
  void fillMenuBar(QMenuBar* bar);

  QAction* newSet() const { return newSet_; }
  QAction* settings() const { return settings_; }
  QAction* undo() const { return undo_; }
  QAction* redo() const { return redo_; }
  QAction* duplicate() const { return duplicate_; }
  QAction* deleteLayer() const { return deleteLayer_; }
  QAction* deselect() const { return deselect_; }
  QAction* insertText() const { return insertText_; }
  QAction* insertSticker() const { return insertSticker_; }
  QAction* insertImage() const { return insertImage_; }
  QAction* bringForward() const { return bringForward_; }
  QAction* sendBackward() const { return sendBackward_; }
  QAction* bringToFront() const { return bringToFront_; }
  QAction* sendToBack() const { return sendToBack_; }
  QAction* toggleSidebar() const { return toggleSidebar_; }
  QAction* gallery() const { return gallery_; }
  QAction* editor() const { return editor_; }
  QAction* switchOS() const { return switchOS_; }
  QAction* switchTheme() const { return switchTheme_; }

  // Re-reads the models and sets every action's enablement and title.
  void refresh();

 signals:
  void settingsRequested();
  // The sticker picker and the image chooser belong to the editor's views.
  void stickersRequested();
  void imageRequested();

 private:
  QAction* make(const QString& title, const QKeySequence& key);
  void undoOrRedo(bool redo);
  void arrange(models::ArrangeMove move);

  models::AppModel& app_;
  models::EditorModel& editorModel_;
  models::CanvasModel& canvas_;
  models::GalleryModel& galleryModel_;
  QWidget* window_;

  QAction* newSet_;
  QAction* settings_;
  QAction* quit_;
  QAction* undo_;
  QAction* redo_;
  QAction* cut_;
  QAction* copy_;
  QAction* paste_;
  QAction* selectAll_;
  QAction* duplicate_;
  QAction* deleteLayer_;
  QAction* deselect_;
  QAction* insertText_;
  QAction* insertSticker_;
  QAction* insertImage_;
  QAction* bringForward_;
  QAction* sendBackward_;
  QAction* bringToFront_;
  QAction* sendToBack_;
  QAction* toggleSidebar_;
  QAction* gallery_;
  QAction* editor_;
  QAction* switchOS_;
  QAction* switchTheme_;
};

}  // namespace vells::app
