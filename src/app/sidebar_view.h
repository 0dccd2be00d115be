#pragma once

#include <QWidget>
#include <optional>
#include <string>

class QLabel;
class QListWidget;
class QListWidgetItem;
class QMenu;
class QPushButton;
class QToolButton;

namespace vells::models {
class AppModel;
class EditorModel;
class GalleryModel;
class ImageStore;
class APIError;
}  // namespace vells::models

namespace vells::app {

class AppSwitcher;

// The navigator of the library: the app switcher, the sets of the active app
// and the pages of the active set, with their operations. Every change goes
// through the models and ends in a reload; a failure opens "Couldn’t do that".
class SidebarView : public QWidget {
  Q_OBJECT

 public:
  SidebarView(models::AppModel& app, models::EditorModel& editor, models::GalleryModel& gallery,
              models::ImageStore& images, QWidget* parent = nullptr);

  // `debug.addAppStep`: not 0 opens the add-app sheet at that step when the
  // sidebar first shows.
  void setDebugAddAppStep(int step) { debugAddAppStep_ = step; }

  AppSwitcher* switcher() const { return switcher_; }
  QListWidget* setList() const { return sets_; }
  QListWidget* pageList() const { return pages_; }
  bool pagesShown() const;
  // The context menus as they would open on a row now.
  QMenu* setMenu(const std::string& setId, QWidget* parent);
  QMenu* pageMenu(const std::string& pageId, QWidget* parent);

  // The dialogs, opened window-modal and answered asynchronously.
  void renameSet(const std::string& setId);
  void deleteSet(const std::string& setId);
  void renamePage(const std::string& pageId);
  void showError(const QString& message);

 signals:
  // The language picker of a set belongs to the inspector's views.
  void languagesRequested(const QString& setId);

 protected:
  void showEvent(QShowEvent* event) override;

 private:
  void followSets();
  void followPages();
  void moveSet(const std::string& setId, std::optional<std::string> appId);
  void removePage(const std::string& pageId);
  void failed(const models::APIError& error);

  models::AppModel& app_;
  models::EditorModel& editor_;
  models::GalleryModel& gallery_;
  models::ImageStore& images_;
  AppSwitcher* switcher_;
  QToolButton* newSetButton_;
  QListWidget* sets_;
  QWidget* noSets_;
  QWidget* pagesSection_;
  QPushButton* addPage_;
  QListWidget* pages_;
  int debugAddAppStep_ = 0;
  bool shownOnce_ = false;
  bool following_ = false;
};

}  // namespace vells::app
