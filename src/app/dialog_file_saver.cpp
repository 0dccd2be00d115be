#include "app/dialog_file_saver.h"

#include <QFileDialog>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

namespace vells::app {

using Outcome = models::FileSaver::Outcome;

QString DialogFileSaver::write(const QString& path, const std::string& bytes) {
  QSaveFile file(path);
  if (!file.open(QIODevice::WriteOnly)) {
    return QStringLiteral("Couldn’t write “%1”: %2").arg(path, file.errorString());
  }
  const qint64 size = static_cast<qint64>(bytes.size());
  if (file.write(bytes.data(), size) != size || !file.commit()) {
    return QStringLiteral("Couldn’t write “%1”: %2").arg(path, file.errorString());
  }
  return {};
}

void DialogFileSaver::save(std::string bytes, std::string suggestedName,
                           std::function<void(Outcome)> done) {
  QString folder = QStandardPaths::writableLocation(QStandardPaths::DownloadLocation);
  if (folder.isEmpty()) folder = QStandardPaths::writableLocation(QStandardPaths::HomeLocation);
  const QString suggested = folder + QLatin1Char('/') + QString::fromStdString(suggestedName);
  const QString suffix = QFileInfo(suggested).suffix();
  const QString filter =
      suffix.isEmpty() ? QString() : QStringLiteral("%1 file (*.%2)").arg(suffix.toUpper(), suffix);
  auto* dialog = new QFileDialog(window_, QStringLiteral("Save"), suggested, filter);
  dialog->setAttribute(Qt::WA_DeleteOnClose);
  dialog->setAcceptMode(QFileDialog::AcceptSave);
  dialog->setFileMode(QFileDialog::AnyFile);
  dialog->selectFile(suggested);
  if (!suffix.isEmpty()) dialog->setDefaultSuffix(suffix);
  dialog->setWindowModality(Qt::WindowModal);
  // Exactly one answer: saved, failed, or cancelled when the dialog closes
  // without a file.
  auto answered = std::make_shared<bool>(false);
  QObject::connect(dialog, &QFileDialog::fileSelected, dialog,
                   [answered, done, bytes = std::move(bytes)](const QString& path) {
                     *answered = true;
                     const QString failure = write(path, bytes);
                     if (failure.isEmpty()) {
                       done(Outcome{});
                     } else {
                       done(Outcome{Outcome::Kind::failed, failure.toStdString()});
                     }
                   });
  QObject::connect(dialog, &QFileDialog::finished, dialog, [answered, done](int) {
    if (!*answered) done(Outcome{Outcome::Kind::cancelled, {}});
  });
  dialog->open();
}

}  // namespace vells::app
