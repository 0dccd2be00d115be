#include <cmath>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include "rendering/browser_slot.h"

namespace vells::rendering {

namespace {

struct PNGHeader {
  int width = 0, height = 0, colorType = -1;
};

PNGHeader pngHeader(const std::string& png) {
  PNGHeader h;
  if (png.size() < 26 || png.compare(1, 3, "PNG") != 0) return h;
  auto be32 = [&](std::size_t off) {
    std::uint32_t v = 0;
    for (std::size_t i = 0; i < 4; ++i)
      v = (v << 8) | static_cast<unsigned char>(png[off + i]);
    return static_cast<int>(v);
  };
  h.width = be32(16);
  h.height = be32(20);
  h.colorType = static_cast<unsigned char>(png[25]);
  return h;
}

cv::Mat decode(const std::string& bytes) {
  cv::Mat raw(1, static_cast<int>(bytes.size()), CV_8UC1, const_cast<char*>(bytes.data()));
  cv::Mat img = cv::imdecode(raw, cv::IMREAD_UNCHANGED);
  if (img.empty()) throw RenderError::snapshot();
  if (img.channels() == 1) cv::cvtColor(img, img, cv::COLOR_GRAY2BGRA);
  if (img.channels() == 3) cv::cvtColor(img, img, cv::COLOR_BGR2BGRA);
  return img;
}

std::string encode(const cv::Mat& img, const char* ext, const std::vector<int>& params = {}) {
  std::vector<uchar> out;
  if (!cv::imencode(ext, img, out, params)) throw RenderError::snapshot();
  return std::string(out.begin(), out.end());
}

// Resizes straight-alpha BGRA without letting transparent pixels' colours bleed in.
cv::Mat resizePremultiplied(const cv::Mat& bgra, int width, int height) {
  cv::Mat premul;
  cv::cvtColor(bgra, premul, cv::COLOR_RGBA2mRGBA);
  cv::Mat resized;
  const bool shrinking = width < bgra.cols;
  cv::resize(premul, resized, cv::Size(width, height), 0, 0,
             shrinking ? cv::INTER_AREA : cv::INTER_CUBIC);
  cv::Mat straight;
  cv::cvtColor(resized, straight, cv::COLOR_mRGBA2RGBA);
  return straight;
}

}  // namespace

std::string conformPNG(std::string png, int width, int height, bool opaque) {
  const PNGHeader h = pngHeader(png);
  const bool sized = h.width == width && h.height == height;
  const bool hasAlpha = h.colorType == 6 || h.colorType == 4;
  if (sized && !(opaque && hasAlpha)) return png;
  cv::Mat img = decode(png);
  if (img.cols != width || img.rows != height) img = resizePremultiplied(img, width, height);
  if (!opaque) return encode(img, ".png");
  cv::Mat premul;
  cv::cvtColor(img, premul, cv::COLOR_RGBA2mRGBA);  // over black
  cv::Mat rgb;
  cv::cvtColor(premul, rgb, cv::COLOR_BGRA2BGR);
  return encode(rgb, ".png");
}

std::string conformJPEG(std::string jpeg, int width, int height, int quality) {
  cv::Mat raw(1, static_cast<int>(jpeg.size()), CV_8UC1, jpeg.data());
  cv::Mat img = cv::imdecode(raw, cv::IMREAD_COLOR);
  if (img.empty()) throw RenderError::snapshot();
  if (img.cols == width && img.rows == height) return jpeg;
  cv::Mat resized;
  cv::resize(img, resized, cv::Size(width, height), 0, 0,
             width < img.cols ? cv::INTER_AREA : cv::INTER_CUBIC);
  return encode(resized, ".jpg", {cv::IMWRITE_JPEG_QUALITY, quality});
}

std::string thumbnailJPEG(const std::string& png, int width, int quality) {
  cv::Mat raw(1, static_cast<int>(png.size()), CV_8UC1, const_cast<char*>(png.data()));
  cv::Mat img = cv::imdecode(raw, cv::IMREAD_COLOR);
  if (img.empty() || width < 1) throw RenderError::snapshot();
  const int height =
      std::max(1, static_cast<int>(std::lround(static_cast<double>(width) * img.rows / img.cols)));
  cv::Mat small;
  cv::resize(img, small, cv::Size(width, height), 0, 0,
             width < img.cols ? cv::INTER_AREA : cv::INTER_CUBIC);
  return encode(small, ".jpg", {cv::IMWRITE_JPEG_QUALITY, quality});
}

}  // namespace vells::rendering
