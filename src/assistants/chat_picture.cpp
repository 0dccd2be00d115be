#include "assistants/chat_picture.h"

#include <QBuffer>
#include <QImage>
#include <cmath>

namespace vells::assistants {

std::optional<QByteArray> downscaledJPEG(const QByteArray& data, int width) {
  QImage source;
  if (width <= 0 || !source.loadFromData(data) || source.width() <= 0 || source.height() <= 0)
    return std::nullopt;
  const int height =
      static_cast<int>(std::lround(static_cast<double>(width) * source.height() / source.width()));
  const QImage scaled =
      source.convertToFormat(QImage::Format_RGBA8888)
          .scaled(width, std::max(height, 1), Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
  QByteArray bytes;
  QBuffer buffer(&bytes);
  buffer.open(QIODevice::WriteOnly);
  if (!scaled.save(&buffer, "JPEG", 82)) return std::nullopt;
  return bytes;
}

}  // namespace vells::assistants
