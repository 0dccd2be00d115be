#pragma once

#include <QString>
#include <functional>

class QObject;

namespace vells::models {
class AppModel;
class CanvasModel;
class EditorModel;
class GalleryModel;
}  // namespace vells::models

namespace vells::app {

// What the menus and the toolbar decide on, read from the models at one
// moment. The rules below are the only place that weigh these facts.
struct ShellState {
  bool online = false;
  bool appStore = false;         // the read-only store listing is the active set
  bool editorWorkspace = false;  // the editor is the visible workspace
  bool hasPage = false;
  bool layerSelected = false;     // a layer, not the phone or the title
  bool anythingSelected = false;  // the phone, the title or a layer
  bool downloading = false;       // the editor is saving its PNG
  bool exporting = false;         // the gallery is writing an archive
  bool regenerating = false;

  static ShellState of(models::AppModel& app, models::EditorModel& editor,
                       models::CanvasModel& canvas, models::GalleryModel& gallery);

  // The editor's commands act on a page that may be edited.
  bool inEditor() const { return editorWorkspace && hasPage && !appStore; }
  bool canCreateSet() const { return online; }
  bool canSwitchWorkspace() const { return online; }
  // The OS and theme switches.
  bool canSwitchLook() const { return online && !appStore; }
  bool exportDisabled() const;
  bool secondButtonEnabled() const;
};

// Calls `changed` on `context` whenever a fact of ShellState may have changed.
void onShellStateChange(models::AppModel& app, models::EditorModel& editor,
                        models::CanvasModel& canvas, models::GalleryModel& gallery,
                        QObject* context, const std::function<void()>& changed);

// The window's subtitle: "Live listing" on the store listing; in the editor
// the page, the language, the OS and the theme; in the gallery the last two.
QString windowSubtitle(const models::AppModel& app);

// "1 set", "2 sets": a number and its noun, plural unless the number is 1.
QString countWords(int count, const QString& noun);

}  // namespace vells::app
