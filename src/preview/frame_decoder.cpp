#include "preview/frame_decoder.h"

#include <cmath>

namespace vells::preview {

FrameDecoder::FrameDecoder(std::function<void(PreviewFrame)> decoded)
    : decoded_(std::move(decoded)) {}

FrameDecoder::~FrameDecoder() = default;

void FrameDecoder::put(std::string jpeg, double ratio, std::uint64_t generation) {
  {
    std::lock_guard guard(mutex_);
    newest_ = Raw{std::move(jpeg), ratio, generation};
    if (scheduled_) return;
    scheduled_ = true;
  }
  thread_.post(platform::Priority::interactive, [this](const std::stop_token&) { drain(); });
}

void FrameDecoder::drain() {
  while (true) {
    Raw raw;
    {
      std::lock_guard guard(mutex_);
      if (!newest_) {
        scheduled_ = false;
        return;
      }
      raw = std::move(*newest_);
      newest_.reset();
    }
    if (auto frame = decode(raw.jpeg, raw.ratio)) {
      frame->generation = raw.generation;
      decoded_(std::move(*frame));
    }
  }
}

std::optional<PreviewFrame> FrameDecoder::decode(const std::string& jpeg, double ratio) {
  QImage image = QImage::fromData(reinterpret_cast<const uchar*>(jpeg.data()),
                                  static_cast<int>(jpeg.size()), "JPEG");
  if (image.isNull() || !(ratio > 0)) return std::nullopt;
  const int cssWidth = static_cast<int>(std::lround(image.width() / ratio));
  const int cssHeight = static_cast<int>(std::lround(image.height() / ratio)) - stripeHeight;
  if (cssWidth < stripeBits || cssHeight < 1) return std::nullopt;
  // The stripe's cells, sampled in their middles, away from the edges where
  // JPEG blocks blur into their neighbours.
  const int cell = std::max(1, cssWidth / stripeBits);
  const int row = static_cast<int>(std::lround((cssHeight + stripeHeight / 2.0) * ratio));
  if (row >= image.height()) return std::nullopt;
  std::uint64_t sequence = 0;
  for (int i = 0; i < stripeBits; ++i) {
    const int x = static_cast<int>(std::lround((i + 0.5) * cell * ratio));
    if (x >= image.width()) return std::nullopt;
    if (qGray(image.pixel(x, row)) > 127) sequence |= std::uint64_t{1} << i;
  }
  const int height = static_cast<int>(std::lround(cssHeight * ratio));
  PreviewFrame frame;
  frame.image = image.copy(0, 0, image.width(), std::min(height, image.height()));
  frame.image.setDevicePixelRatio(ratio);
  frame.sequence = sequence;
  return frame;
}

}  // namespace vells::preview
