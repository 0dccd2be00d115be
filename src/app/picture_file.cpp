#include "app/picture_file.h"

#include <QCoreApplication>
#include <QFile>
#include <QMimeDatabase>

namespace vells::app {
namespace {

// Large enough for any store-size picture; a bigger file is refused before
// it is read into memory.
constexpr qint64 kMaxPictureBytes = 64LL * 1024 * 1024;

QString tr(const char* text) {
  return QCoreApplication::translate("PictureFile", text);
}

}  // namespace

std::variant<PictureFile, QString> readPicture(const QString& path) {
  QFile file(path);
  if (file.size() > kMaxPictureBytes)
    return tr("“%1” is too large for a picture here (over 64 MB).").arg(path);
  if (!file.open(QIODevice::ReadOnly))
    return tr("Couldn’t read “%1”: %2").arg(path, file.errorString());
  const QByteArray bytes = file.readAll();
  const QString mime = QMimeDatabase().mimeTypeForFileNameAndData(path, bytes).name();
  if (!mime.startsWith(QLatin1String("image/")))
    return tr("“%1” isn’t a picture. Choose a PNG, JPEG or WebP file.").arg(path);
  return PictureFile{bytes.toStdString(), mime.toStdString()};
}

}  // namespace vells::app
