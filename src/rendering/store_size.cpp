#include "rendering/store_size.h"

#include <algorithm>
#include <cmath>

namespace vells::rendering {

namespace {

// The sizes App Store Connect and Google Play accept for phone screenshots
// (App Store Connect Help, "Screenshot specifications"; Play Console Help,
// "Add preview assets to showcase your app"), in portrait. The first of each
// platform is what the store requires today.
const std::vector<StoreSize>& allSizes() {
  static const std::vector<StoreSize> sizes{
      {1320, 2868, "ios", "iPhone 6.9\""},      {1290, 2796, "ios", "iPhone 6.9\""},
      {1284, 2778, "ios", "iPhone 6.5\""},      {1242, 2688, "ios", "iPhone 6.5\""},
      {1206, 2622, "ios", "iPhone 6.3\""},      {1284, 2778, "android", "Android phone"},
      {1080, 2340, "android", "Android phone"}, {1080, 1920, "android", "Android phone 9:16"},
  };
  return sizes;
}

std::string validList(const std::string& os) {
  std::string list;
  for (const auto& s : storeSizes(os)) {
    if (!list.empty()) list += ", ";
    list += s.name() + " (" + s.storeClass + ")";
  }
  return list;
}

}  // namespace

std::string StoreSize::name() const {
  return std::to_string(width) + "x" + std::to_string(height);
}

std::vector<StoreSize> storeSizes(const std::string& os) {
  std::vector<StoreSize> out;
  for (const auto& s : allSizes())
    if (s.os == os) out.push_back(s);
  return out;
}

StoreSize requiredStoreSize(const std::string& os) {
  return storeSizes(os == "android" ? "android" : "ios").front();
}

StoreSize parseStoreSize(const std::string& os, const std::string& text) {
  std::string plain = text;
  // The multiplication sign people copy from the stores' pages.
  for (std::size_t at = 0; (at = plain.find("\xc3\x97", at)) != std::string::npos;)
    plain.replace(at, 2, "x");
  const std::string platform = os == "android" ? "Android" : "iOS";
  for (const auto& s : storeSizes(os)) {
    if (s.name() == plain) return s;
  }
  throw StoreSizeError("There is no " + platform + " size '" + text +
                       "'. The sizes are: " + validList(os) + ".");
}

std::optional<StoreSize> storeSizeOf(const std::string& os, int width, int height) {
  for (const auto& s : storeSizes(os))
    if (s.width == width && s.height == height) return s;
  return std::nullopt;
}

StoreFit storeFit(CSSSize canvas, int width, int height) {
  StoreFit fit;
  const double byWidth = width / canvas.width;
  const double byHeight = height / canvas.height;
  fit.scale = std::min(byWidth, byHeight);
  // The stage is the output divided by the scale, so its capture comes out at
  // the exact size; the canvas sits at its top, centred across.
  fit.stage = {width / fit.scale, height / fit.scale};
  // Differences below a thousandth of a pixel are the division's, not the design's.
  const double extraW = fit.stage.width - canvas.width;
  const double extraH = fit.stage.height - canvas.height;
  fit.side = extraW > 1e-3 ? extraW / 2 : 0;
  fit.bottom = extraH > 1e-3 ? extraH : 0;
  if (fit.side == 0) fit.stage.width = canvas.width;
  if (fit.bottom == 0) fit.stage.height = canvas.height;
  return fit;
}

}  // namespace vells::rendering
