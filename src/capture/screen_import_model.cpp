#include "capture/screen_import_model.h"

#include <QMetaObject>
#include <exception>

namespace vells::capture {

ScreenImportModel::ScreenImportModel(BackendCall call, QObject* parent)
    : QObject(parent), call_(std::move(call)) {
  pool_.setMaxThreadCount(1);
}

ScreenImportModel::~ScreenImportModel() {
  pool_.waitForDone();
}

void ScreenImportModel::importScreens(const QStringList& dropped, const ImportTarget& target) {
  if (importing_) return;
  importing_ = true;
  emit importingChanged();
  std::vector<std::filesystem::path> files;
  for (const QString& item : dropped)
    files.emplace_back(item.toStdString());
  pool_.start([this, files = std::move(files), target] {
    const auto report = [this](int done, int total) {
      QMetaObject::invokeMethod(
          this, [this, done, total] { emit progress(done, total); }, Qt::QueuedConnection);
    };
    QString text;
    try {
      text = QString::fromStdString(ScreenImporter(call_).run(files, target, report).text());
    } catch (const std::exception& e) {
      text = QString::fromStdString(e.what());
    }
    QMetaObject::invokeMethod(
        this,
        [this, text] {
          importing_ = false;
          lastReport_ = text;
          emit importingChanged();
          emit finished(text);
        },
        Qt::QueuedConnection);
  });
}

}  // namespace vells::capture
