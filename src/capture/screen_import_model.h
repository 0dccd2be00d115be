#pragma once

#include <QObject>
#include <QString>
#include <QStringList>
#include <QThreadPool>

#include "capture/screen_importer.h"

namespace vells::capture {

// What a drop on the gallery or the sidebar runs: one import at a time, off
// the thread the model lives in, with progress and the one line to show. The
// caller bumps its render version on `finished`.
class ScreenImportModel : public QObject {
  Q_OBJECT
  Q_PROPERTY(bool isImporting READ isImporting NOTIFY importingChanged)
  Q_PROPERTY(QString lastReport READ lastReport NOTIFY finished)

 public:
  explicit ScreenImportModel(BackendCall call, QObject* parent = nullptr);
  ~ScreenImportModel() override;

  bool isImporting() const { return importing_; }
  QString lastReport() const { return lastReport_; }

  // Imports the dropped files and folders into `target`; ignored while an import runs.
  void importScreens(const QStringList& dropped, const ImportTarget& target);

 signals:
  void importingChanged();
  void progress(int done, int total);
  // The summary line, then a sentence per failed picture.
  void finished(const QString& report);

 private:
  BackendCall call_;
  QThreadPool pool_;
  QString lastReport_;
  bool importing_ = false;
};

}  // namespace vells::capture
