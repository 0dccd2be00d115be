#include "platform/image/image.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "platform/base64.h"

namespace vells::platform {

namespace {

// Above this the blur runs on a smaller copy: the kernel of a direct blur
// grows with sigma, and a store-size picture with sigma 80 would take seconds.
constexpr double kDirectBlurSigma = 8;
// The sigma the smaller copy is blurred with, roughly.
constexpr double kReducedSigma = 4;

// The pictures go straight back into a page as data URLs, so speed counts
// more than size; run-length matching suits their smooth edges best (a third
// smaller than the default at level 1, and no slower).
constexpr int kPNGParams[] = {cv::IMWRITE_PNG_COMPRESSION, 1, cv::IMWRITE_PNG_STRATEGY,
                              cv::IMWRITE_PNG_STRATEGY_RLE};

std::string pngOf(const cv::Mat& bgra) {
  std::vector<uchar> out;
  try {
    if (!cv::imencode(".png", bgra, out, {std::begin(kPNGParams), std::end(kPNGParams)})) {
      return {};
    }
  } catch (const cv::Exception&) {
    return {};
  }
  return std::string(out.begin(), out.end());
}

cv::Matx33d translation(double dx, double dy) {
  return {1, 0, dx, 0, 1, dy, 0, 0, 1};
}

cv::Rect2d rectOf(double x0, double y0, double x1, double y1) {
  return {std::min(x0, x1), std::min(y0, y1), std::abs(x1 - x0), std::abs(y1 - y0)};
}

bool hasArea(const cv::Rect2d& r) {
  return r.width > 0 && r.height > 0;
}

uchar scaled(unsigned value, unsigned alpha) {
  return static_cast<uchar>((value * alpha + 127) / 255);
}

// Straight 8-bit BGRA, as OpenCV decodes, to premultiplied RGBA, in place.
void premultiplyFromBGRA(cv::Mat& pixels) {
  for (int y = 0; y < pixels.rows; ++y) {
    auto* p = pixels.ptr<cv::Vec4b>(y);
    for (int x = 0; x < pixels.cols; ++x) {
      const unsigned a = p[x][3];
      p[x] = {scaled(p[x][2], a), scaled(p[x][1], a), scaled(p[x][0], a), static_cast<uchar>(a)};
    }
  }
}

// Premultiplied RGBA to straight alpha, in the channel order asked for.
cv::Mat unpremultiplied(const cv::Mat& pixels, bool bgra) {
  cv::Mat out(pixels.size(), CV_8UC4);
  const int r = bgra ? 2 : 0, b = bgra ? 0 : 2;
  for (int y = 0; y < pixels.rows; ++y) {
    const auto* in = pixels.ptr<cv::Vec4b>(y);
    auto* px = out.ptr<cv::Vec4b>(y);
    for (int x = 0; x < pixels.cols; ++x) {
      const unsigned a = in[x][3];
      if (a == 0) {
        px[x] = {0, 0, 0, 0};
        continue;
      }
      const auto straight = [a](unsigned c) {
        return static_cast<uchar>(std::min(255u, (c * 255 + a / 2) / a));
      };
      px[x][r] = straight(in[x][0]);
      px[x][1] = straight(in[x][1]);
      px[x][b] = straight(in[x][2]);
      px[x][3] = static_cast<uchar>(a);
    }
  }
  return out;
}

// A blur whose cost doesn't grow with sigma: sum blocks of f × f pixels into
// a small picture, blur that, and interpolate it back up. The block average is
// a blur of its own (variance (f² - 1) / 12), so the small blur makes up only
// the rest; the interpolation of a picture that smooth adds next to nothing.
// The answer is `src` grown by `pad` on every side, at least `reach`; the
// blocks start at its corner, which is where the interpolation expects them.
struct Grown {
  cv::Mat pixels;
  int pad = 0;
};

Grown reducedBlur(const cv::Mat& src, double sigma, int reach) {
  const int f = std::max(2, static_cast<int>(sigma / kReducedSigma));
  const int pad = (reach + f - 1) / f * f;
  const int cols = (src.cols + 2 * pad + f - 1) / f, rows = (src.rows + 2 * pad + f - 1) / f;
  std::vector<std::uint32_t> sums(static_cast<std::size_t>(cols) * rows * 4, 0);
  for (int y = 0; y < src.rows; ++y) {
    const uchar* p = src.ptr<uchar>(y);
    std::uint32_t* row = &sums[static_cast<std::size_t>((y + pad) / f) * cols * 4];
    for (int x = 0; x < src.cols; ++x) {
      std::uint32_t* s = row + static_cast<std::size_t>((x + pad) / f) * 4;
      s[0] += p[4 * x];
      s[1] += p[4 * x + 1];
      s[2] += p[4 * x + 2];
      s[3] += p[4 * x + 3];
    }
  }
  cv::Mat small(rows, cols, CV_32FC4);
  const float perBlock = 1.0f / static_cast<float>(f * f);
  for (int y = 0; y < rows; ++y) {
    auto* px = small.ptr<float>(y);
    const std::uint32_t* s = &sums[static_cast<std::size_t>(y) * cols * 4];
    for (int k = 0; k < cols * 4; ++k) {
      px[k] = static_cast<float>(s[k]) * perBlock;
    }
  }
  const double rest = sigma * sigma - (double(f) * f - 1) / 12;
  const double smallSigma = std::sqrt(std::max(rest, 0.25)) / f;
  cv::GaussianBlur(small, small, cv::Size(), smallSigma, smallSigma, cv::BORDER_CONSTANT);
  cv::Mat small8;
  small.convertTo(small8, CV_8UC4);
  cv::Mat up;
  cv::resize(small8, up, cv::Size(cols * f, rows * f), 0, 0, cv::INTER_LINEAR);
  return {up(cv::Rect(0, 0, src.cols + 2 * pad, src.rows + 2 * pad)), pad};
}

}  // namespace

cv::Rect integralRect(const cv::Rect2d& rect) {
  if (!hasArea(rect)) return {};
  // Edges that mapped corners put a hair beside a whole pixel stay on it,
  // rather than adding a row of nothing.
  constexpr double e = 1e-6;
  const double x0 = std::floor(rect.x + e), y0 = std::floor(rect.y + e);
  const double x1 = std::ceil(rect.x + rect.width - e), y1 = std::ceil(rect.y + rect.height - e);
  return {static_cast<int>(x0), static_cast<int>(y0), static_cast<int>(x1 - x0),
          static_cast<int>(y1 - y0)};
}

Image Image::fromRGBA8(const cv::Mat& rgba) {
  CV_Assert(rgba.type() == CV_8UC4);
  cv::Mat pixels;
  cv::cvtColor(rgba, pixels, cv::COLOR_RGBA2BGRA);
  premultiplyFromBGRA(pixels);
  return Image(pixels, cv::Matx33d::eye(), cv::Rect2d(0, 0, rgba.cols, rgba.rows));
}

std::optional<Image> Image::decodePNG(std::string_view bytes) {
  if (bytes.empty()) return std::nullopt;
  cv::Mat raw(1, static_cast<int>(bytes.size()), CV_8UC1, const_cast<char*>(bytes.data()));
  cv::Mat pixels;
  try {
    pixels = cv::imdecode(raw, cv::IMREAD_UNCHANGED);
  } catch (const cv::Exception&) {
    return std::nullopt;
  }
  if (pixels.empty()) return std::nullopt;
  if (pixels.depth() == CV_16U) pixels.convertTo(pixels, CV_8U, 1.0 / 257);
  if (pixels.depth() != CV_8U) return std::nullopt;
  switch (pixels.channels()) {
    case 1:
      cv::cvtColor(pixels, pixels, cv::COLOR_GRAY2BGRA);
      break;
    case 2: {
      std::vector<cv::Mat> parts;
      cv::split(pixels, parts);
      cv::merge(std::vector<cv::Mat>{parts[0], parts[0], parts[0], parts[1]}, pixels);
      break;
    }
    case 3:
      cv::cvtColor(pixels, pixels, cv::COLOR_BGR2BGRA);
      break;
    case 4:
      break;
    default:
      return std::nullopt;
  }
  premultiplyFromBGRA(pixels);
  return Image(pixels, cv::Matx33d::eye(), cv::Rect2d(0, 0, pixels.cols, pixels.rows));
}

Image Image::transformed(double sx, double sy, double tx, double ty) const {
  if (sx == 0 || sy == 0 || isEmpty()) return {};
  const cv::Matx33d map(sx, 0, tx, 0, sy, ty, 0, 0, 1);
  const cv::Rect2d e =
      rectOf(sx * extent_.x + tx, sy * extent_.y + ty, sx * (extent_.x + extent_.width) + tx,
             sy * (extent_.y + extent_.height) + ty);
  return Image(pixels_, map * placement_, e);
}

std::optional<Image> Image::warped(const cv::Matx33d& map) const {
  if (isEmpty()) return std::nullopt;
  const cv::Point2d corners[] = {extent_.tl(),
                                 {extent_.x + extent_.width, extent_.y},
                                 extent_.br(),
                                 {extent_.x, extent_.y + extent_.height}};
  double x0 = INFINITY, y0 = INFINITY, x1 = -INFINITY, y1 = -INFINITY;
  int ahead = 0, behind = 0;
  for (const cv::Point2d& c : corners) {
    const cv::Vec3d q = map * cv::Vec3d(c.x, c.y, 1);
    ahead += q[2] > 0;
    behind += q[2] < 0;
    const double x = q[0] / q[2], y = q[1] / q[2];
    if (!std::isfinite(x) || !std::isfinite(y)) return std::nullopt;
    x0 = std::min(x0, x), y0 = std::min(y0, y), x1 = std::max(x1, x), y1 = std::max(y1, y);
  }
  // With the horizon across the picture its corners no longer bound it.
  if (ahead != 4 && behind != 4) return std::nullopt;
  const cv::Matx33d placement = map * placement_;
  const double det = cv::determinant(placement);
  if (!std::isfinite(det) || det == 0) return std::nullopt;
  return Image(pixels_, placement, rectOf(x0, y0, x1, y1));
}

Image Image::cropped(const cv::Rect2d& rect) const {
  const cv::Rect2d e = extent_ & rect;
  if (!hasArea(e) || isEmpty()) return {};
  const cv::Matx33d& p = placement_;
  const bool axisAligned = p(0, 1) == 0 && p(1, 0) == 0 && p(2, 0) == 0 && p(2, 1) == 0 &&
                           p(2, 2) == 1 && p(0, 0) != 0 && p(1, 1) != 0;
  if (!axisAligned) return onGrid().cropped(rect);
  // The pixels whose centres lie inside the rectangle stay; the grid need not move.
  const cv::Rect2d g =
      rectOf((e.x - p(0, 2)) / p(0, 0), (e.y - p(1, 2)) / p(1, 1),
             (e.x + e.width - p(0, 2)) / p(0, 0), (e.y + e.height - p(1, 2)) / p(1, 1));
  const int i0 = std::clamp(static_cast<int>(std::ceil(g.x - 0.5)), 0, pixels_.cols);
  const int j0 = std::clamp(static_cast<int>(std::ceil(g.y - 0.5)), 0, pixels_.rows);
  const int i1 = std::clamp(static_cast<int>(std::ceil(g.x + g.width - 0.5)), i0, pixels_.cols);
  const int j1 = std::clamp(static_cast<int>(std::ceil(g.y + g.height - 0.5)), j0, pixels_.rows);
  if (i1 == i0 || j1 == j0) return Image(cv::Mat(), placement_, e);
  return Image(pixels_(cv::Rect(i0, j0, i1 - i0, j1 - j0)), placement_ * translation(i0, j0), e);
}

Image Image::blurred(double sigma) const {
  if (!(sigma > 0) || isEmpty()) return *this;
  const Image flat = onGrid();
  const cv::Point at = *flat.wholeOffset();
  const int reach = static_cast<int>(std::ceil(3 * sigma));
  Grown out;
  if (sigma <= kDirectBlurSigma) {
    out.pad = reach;
    cv::copyMakeBorder(flat.pixels_, out.pixels, reach, reach, reach, reach, cv::BORDER_CONSTANT,
                       cv::Scalar::all(0));
    cv::GaussianBlur(out.pixels, out.pixels, cv::Size(), sigma, sigma, cv::BORDER_CONSTANT);
  } else {
    out = reducedBlur(flat.pixels_, sigma, reach);
  }
  const double grow = 3 * sigma;
  return Image(out.pixels, translation(at.x - out.pad, at.y - out.pad),
               cv::Rect2d(extent_.x - grow, extent_.y - grow, extent_.width + 2 * grow,
                          extent_.height + 2 * grow));
}

Image Image::masked(const Color& color) const {
  if (isEmpty()) return {};
  const double a = std::clamp(color.alpha, 0.0, 1.0);
  // The colour premultiplied, on a scale of 255 × 255 so one division rounds it all.
  const unsigned c[4] = {
      static_cast<unsigned>(std::lround(std::clamp(color.red, 0.0, 1.0) * a * 255)),
      static_cast<unsigned>(std::lround(std::clamp(color.green, 0.0, 1.0) * a * 255)),
      static_cast<unsigned>(std::lround(std::clamp(color.blue, 0.0, 1.0) * a * 255)),
      static_cast<unsigned>(std::lround(a * 255))};
  cv::Mat out(pixels_.size(), CV_8UC4);
  for (int y = 0; y < out.rows; ++y) {
    const auto* in = pixels_.ptr<cv::Vec4b>(y);
    auto* px = out.ptr<cv::Vec4b>(y);
    for (int x = 0; x < out.cols; ++x) {
      const unsigned m = in[x][3];
      px[x] = {scaled(c[0], m), scaled(c[1], m), scaled(c[2], m), scaled(c[3], m)};
    }
  }
  return Image(out, placement_, extent_);
}

Image Image::over(const Image& background) const {
  if (isEmpty()) return background;
  if (background.isEmpty()) return *this;
  const Image top = onGrid(), bottom = background.onGrid();
  const cv::Point a = *top.wholeOffset(), b = *bottom.wholeOffset();
  const cv::Rect target = cv::Rect(a, top.pixels_.size()) | cv::Rect(b, bottom.pixels_.size());
  cv::Mat out = bottom.render(target);
  // The top picture is read where it lies, without a copy of its own.
  const cv::Mat src = top.pixels_;
  for (int y = 0; y < src.rows; ++y) {
    const auto* s = src.ptr<cv::Vec4b>(y);
    auto* d = out.ptr<cv::Vec4b>(y + a.y - target.y) + (a.x - target.x);
    for (int x = 0; x < src.cols; ++x) {
      const unsigned keep = 255u - s[x][3];
      for (int c = 0; c < 4; ++c) {
        d[x][c] = static_cast<uchar>(std::min(255u, s[x][c] + (d[x][c] * keep + 127) / 255));
      }
    }
  }
  return Image(out, translation(target.x, target.y), extent_ | background.extent_);
}

cv::Mat Image::render(const cv::Rect& rect) const {
  cv::Mat out(rect.size(), CV_8UC4, cv::Scalar::all(0));
  if (pixels_.empty() || rect.empty()) return out;
  if (const auto at = wholeOffset()) {
    const cv::Rect placed(*at, pixels_.size());
    const cv::Rect common = placed & rect;
    if (!common.empty()) {
      pixels_(common - *at).copyTo(out(common - rect.tl()));
    }
    return out;
  }
  // OpenCV puts pixel centres on whole coordinates; the plane puts them on halves.
  const cv::Matx33d toOutput =
      translation(-rect.x - 0.5, -rect.y - 0.5) * placement_ * translation(0.5, 0.5);
  cv::warpPerspective(pixels_, out, cv::Mat(toOutput), rect.size(), cv::INTER_LINEAR,
                      cv::BORDER_CONSTANT, cv::Scalar::all(0));
  return out;
}

cv::Mat Image::renderRGBA8(const cv::Rect& rect) const {
  return unpremultiplied(render(rect), false);
}

std::string Image::encodePNG(const cv::Rect& rect) const {
  if (rect.empty()) return {};
  // A rectangle that lies in the pixels as they are needs no copy before the
  // conversion to straight alpha.
  cv::Mat premultipliedPixels;
  const auto at = wholeOffset();
  if (at && (cv::Rect(*at, pixels_.size()) & rect) == rect) {
    premultipliedPixels = pixels_(rect - *at);
  } else {
    premultipliedPixels = render(rect);
  }
  return pngOf(unpremultiplied(premultipliedPixels, true));
}

std::optional<cv::Point> Image::wholeOffset() const {
  // Far below anything an interpolation could show on a picture of any size.
  constexpr double e = 1e-9;
  const cv::Matx33d& p = placement_;
  if (std::abs(p(0, 0) - 1) > e || std::abs(p(1, 1) - 1) > e || std::abs(p(0, 1)) > e ||
      std::abs(p(1, 0)) > e || std::abs(p(2, 0)) > e || std::abs(p(2, 1)) > e ||
      std::abs(p(2, 2) - 1) > e) {
    return std::nullopt;
  }
  const double x = std::round(p(0, 2)), y = std::round(p(1, 2));
  if (std::abs(x - p(0, 2)) > e || std::abs(y - p(1, 2)) > e) return std::nullopt;
  return cv::Point(static_cast<int>(x), static_cast<int>(y));
}

Image Image::onGrid() const {
  if (isEmpty() || wholeOffset()) return *this;
  const cv::Rect target = integralRect(extent_);
  return Image(render(target), translation(target.x, target.y), extent_);
}

std::string encodePNG(const cv::Mat& rgba) {
  if (rgba.empty() || rgba.type() != CV_8UC4) return {};
  cv::Mat bgra;
  cv::cvtColor(rgba, bgra, cv::COLOR_RGBA2BGRA);
  return pngOf(bgra);
}

std::string pngDataURL(std::string_view png) {
  return "data:image/png;base64," + base64Encode(png);
}

}  // namespace vells::platform
