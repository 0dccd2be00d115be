#pragma once

#include <QStackedWidget>

class QPushButton;

namespace vells::models {
class AppModel;
}

namespace vells::app {

class EmptyStateView;

// What the detail column shows while the library isn't usable: "Opening the
// library…" while connecting, and the failure with its words, "Try Again"
// and "Settings" when it couldn't be opened.
class ConnectionView : public QStackedWidget {
  Q_OBJECT

 public:
  explicit ConnectionView(models::AppModel& app, QWidget* parent = nullptr);

  EmptyStateView* offlineView() const { return offline_; }
  QPushButton* tryAgainButton() const { return tryAgain_; }

 signals:
  void settingsRequested();

 private:
  void follow();

  models::AppModel& app_;
  QWidget* connecting_;
  EmptyStateView* offline_;
  QPushButton* tryAgain_;
};

}  // namespace vells::app
