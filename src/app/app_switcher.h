#pragma once

#include <QPushButton>
#include <functional>

class QLabel;
class QMenu;

namespace vells::models {
class AppModel;
class ImageStore;
}  // namespace vells::models

namespace vells::app {

// The button on top of the sidebar: the active app's icon, name and number of
// sets; pressed, a list of the library's apps and what can be done with them.
class AppSwitcher : public QPushButton {
  Q_OBJECT

 public:
  AppSwitcher(models::AppModel& app, models::ImageStore& images, QWidget* parent = nullptr);

  // The list as it would open now; its actions run after it has closed.
  QMenu* buildMenu(QWidget* parent);
  QString title() const;
  QString subtitle() const;

 private:
  void follow();
  void openList();
  // Sets `icon` to the app's icon once it has loaded.
  void loadIcon(const std::string& appId, std::function<void(const QIcon&)> use);

  models::AppModel& app_;
  models::ImageStore& images_;
  QLabel* icon_;
  QLabel* name_;
  QLabel* count_;
  QLabel* chevron_;
};

}  // namespace vells::app
