#pragma once

#include <QByteArray>
#include <optional>

namespace vells::assistants {

// A render made small enough to hand to an AI tool: exactly `width` pixels
// wide (a narrower source is enlarged), the height in proportion, as a JPEG
// at quality 82. Nothing for data that isn't a picture with pixels.
std::optional<QByteArray> downscaledJPEG(const QByteArray& data, int width);

}  // namespace vells::assistants
