#pragma once

#include <QLabel>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>

#include "document/records.h"

namespace vells::models {
class AppModel;
}
namespace vells::capture {
class ScreenImportModel;
}

namespace vells::app {

// Makes a widget take dropped screenshots: files or folders dropped on it are
// imported as screens of the active set for the current platform and theme,
// and the outcome comes back as one sentence. While a drag is over it the
// widget is highlighted with "Drop screenshots for iOS" (or Android). The
// gallery and the sidebar each put one on themselves; they share the one
// import model, so only one import runs at a time.
class ScreenDropTarget : public QObject {
  Q_OBJECT

 public:
  ScreenDropTarget(models::AppModel& app, capture::ScreenImportModel& importer, QWidget* target);

  // What a drop of these local paths does: starts the import, or gives the
  // sentence why it can't.
  void drop(const QStringList& paths);
  // Drops are taken only while a set that can change is active.
  bool accepting() const;
  // "iOS" or "Android", as the drop's words and the gallery's banner name them.
  static QString platformName(DeviceOS os);
  bool highlighted() const { return !highlight_->isHidden(); }
  QString highlightText() const { return highlight_->text(); }

 signals:
  // The import's line (and one sentence per failed picture), or why a drop
  // was refused.
  void reported(const QString& sentence);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void showHighlight(bool shown);

  models::AppModel& app_;
  capture::ScreenImportModel& importer_;
  QPointer<QWidget> target_;
  QLabel* highlight_;
  // Set while an import this target started runs: the shared model's
  // answer is only ours to report then.
  bool mine_ = false;
};

}  // namespace vells::app
