#pragma once

#include <opencv2/core.hpp>
#include <optional>
#include <string>
#include <string_view>

namespace vells::platform {

// A colour in sRGB with straight (not premultiplied) alpha, each part 0–1.
struct Color {
  double red = 0, green = 0, blue = 0, alpha = 1;
};

// A picture placed on a plane of output pixels, y down. Like a CoreImage
// image it carries an extent, which may start at negative or fractional
// coordinates, and geometric operations are lazy: translating, scaling or a
// perspective map only change where the pixels go, and the pixels are
// resampled once, when something needs them on the pixel grid (a blur, a
// composite, a render). So a chain of moves costs one interpolation at most.
//
// Pixels are premultiplied 8-bit RGBA, in sRGB as they were captured:
// blending happens on the encoded values, as a browser blends. Eight bits
// rather than floats because a store-size picture is millions of pixels and
// every fresh buffer of it costs more in page faults than the filter itself.
class Image {
 public:
  Image() = default;

  // Straight-alpha 8-bit RGBA (CV_8UC4), its extent (0, 0, cols, rows).
  static Image fromRGBA8(const cv::Mat& rgba);
  // PNG bytes of any colour type; absent when they don't decode.
  static std::optional<Image> decodePNG(std::string_view bytes);

  const cv::Rect2d& extent() const { return extent_; }
  bool isEmpty() const { return !(extent_.width > 0 && extent_.height > 0) || pixels_.empty(); }

  // Each point p goes to (sx·p.x + tx, sy·p.y + ty).
  Image transformed(double sx, double sy, double tx, double ty) const;
  Image translated(double dx, double dy) const { return transformed(1, 1, dx, dy); }
  // Sends every point through the projective `map` (plane to plane); the new
  // extent is the bounding box of the mapped corners. Absent when a corner
  // goes to infinity or beyond it.
  std::optional<Image> warped(const cv::Matx33d& map) const;
  // Keeps what lies in `rect`; the extent becomes the intersection.
  Image cropped(const cv::Rect2d& rect) const;

  // A Gaussian blur with standard deviation `sigma` in output pixels, with
  // transparency all around; the extent grows by 3·sigma on every side.
  Image blurred(double sigma) const;
  // `color` wherever this picture has alpha, as much as it has: the picture
  // as an alpha mask over a solid colour, with nothing elsewhere.
  Image masked(const Color& color) const;
  // Source-over: this picture over `background`; the extent is the union.
  Image over(const Image& background) const;

  // The pixels of `rect` (whole output pixels) as straight-alpha 8-bit RGBA.
  cv::Mat renderRGBA8(const cv::Rect& rect) const;
  // The premultiplied pixels of `rect` (CV_8UC4), transparent outside the picture.
  cv::Mat render(const cv::Rect& rect) const;
  // `rect` as PNG bytes with straight alpha; empty on failure.
  std::string encodePNG(const cv::Rect& rect) const;

 private:
  Image(cv::Mat pixels, const cv::Matx33d& placement, const cv::Rect2d& extent)
      : pixels_(std::move(pixels)), placement_(placement), extent_(extent) {}

  // Whether the placement is a move by whole pixels, which needs no resampling.
  std::optional<cv::Point> wholeOffset() const;
  Image onGrid() const;

  cv::Mat pixels_;  // CV_8UC4, premultiplied RGBA
  // Takes a point of the pixel grid (pixel i spans [i, i + 1)) to the plane.
  cv::Matx33d placement_ = cv::Matx33d::eye();
  cv::Rect2d extent_;
};

// The rectangle of whole pixels that holds `rect`, give or take a millionth of a pixel.
cv::Rect integralRect(const cv::Rect2d& rect);

// Straight-alpha 8-bit RGBA as PNG bytes (colour type 6); empty on failure.
std::string encodePNG(const cv::Mat& rgba);
// "data:image/png;base64," and the bytes in Base64.
std::string pngDataURL(std::string_view png);

}  // namespace vells::platform
