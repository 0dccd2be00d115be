#include "app/dialog_file_saver.h"

#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

namespace vells::app {

namespace {

QString quoted(const QString& name) {
  return QStringLiteral("“%1”").arg(name);
}

QString filterFor(const QString& name) {
  const QString suffix = QFileInfo(name).suffix().toLower();
  if (suffix == u"zip") return QStringLiteral("ZIP archive (*.zip)");
  if (suffix == u"png") return QStringLiteral("PNG image (*.png)");
  return QStringLiteral("All files (*)");
}

}  // namespace

DialogFileSaver::DialogFileSaver(QWidget* window, QObject* parent)
    : QObject(parent), window_(window) {
  ask_ = [this](const QString& name, std::function<void(QString)> answer) {
    askWithDialog(name, answer);
  };
}

DialogFileSaver::DialogFileSaver(Ask ask, QObject* parent)
    : QObject(parent), ask_(std::move(ask)) {}

void DialogFileSaver::askWithDialog(const QString& suggestedName,
                                    const std::function<void(QString)>& answer) {
  if (folder_.isEmpty()) {
    folder_ = QStandardPaths::writableLocation(QStandardPaths::DownloadLocation);
    if (folder_.isEmpty()) folder_ = QDir::homePath();
  }
  // Window-modal and answered through signals: no nested event loop, and a
  // window closed under the dialog takes the dialog with it.
  auto* dialog = new QFileDialog(window_, tr("Export"), QDir(folder_).filePath(suggestedName),
                                 filterFor(suggestedName));
  dialog->setAttribute(Qt::WA_DeleteOnClose);
  dialog->setAcceptMode(QFileDialog::AcceptSave);
  dialog->setFileMode(QFileDialog::AnyFile);
  dialog->setDefaultSuffix(QFileInfo(suggestedName).suffix());
  dialog->setWindowModality(Qt::WindowModal);
  auto answered = std::make_shared<bool>(false);
  connect(dialog, &QFileDialog::fileSelected, this, [answer, answered](const QString& path) {
    *answered = true;
    answer(path);
  });
  connect(dialog, &QFileDialog::finished, this, [answer, answered](int) {
    if (!*answered) answer(QString());
    *answered = true;
  });
  dialog->open();
}

void DialogFileSaver::save(std::string bytes, std::string suggestedName,
                           std::function<void(Outcome)> done) {
  ask_(QString::fromStdString(suggestedName),
       [this, bytes = std::move(bytes), done = std::move(done)](const QString& path) {
         if (path.isEmpty()) return done(Outcome{Outcome::Kind::cancelled, {}, {}});
         folder_ = QFileInfo(path).absolutePath();
         if (auto problem = write(path, bytes))
           return done(Outcome{Outcome::Kind::failed, *problem, {}});
         done(Outcome{Outcome::Kind::saved, {}, path.toStdString()});
       });
}

std::optional<std::string> DialogFileSaver::write(const QString& path, const std::string& bytes) {
  const QString name = quoted(QFileInfo(path).fileName());
  QSaveFile file(path);
  if (!file.open(QIODevice::WriteOnly)) {
    return tr("Couldn’t save %1: %2. Choose another folder.")
        .arg(name, file.errorString())
        .toStdString();
  }
  const auto size = static_cast<qint64>(bytes.size());
  if (file.write(bytes.data(), size) != size || !file.commit()) {
    // QSaveFile drops its temporary file; whatever stood at `path` before is untouched.
    return tr("Couldn’t save %1: %2. Free some space or choose another folder.")
        .arg(name, file.errorString())
        .toStdString();
  }
  return std::nullopt;
}

}  // namespace vells::app
