#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/error.h"
#include "rendering/render_types.h"

namespace vells::rendering {

// One exact output size a store accepts, with the class it counts in.
struct StoreSize {
  int width = 0, height = 0;
  std::string os;          // "ios" or "android"
  std::string storeClass;  // what the store calls it: iPhone 6.9", Android phone, …

  std::string name() const;  // "1320x2868"
  bool operator==(const StoreSize& other) const {
    return width == other.width && height == other.height && os == other.os;
  }
};

// A size name that isn't one of the platform's; what() lists the valid ones.
class StoreSizeError : public Error {
 public:
  using Error::Error;
};

// Every size offered for a platform, the required class first.
std::vector<StoreSize> storeSizes(const std::string& os);

// The size the store requires today: iPhone 6.9" for iOS, the phone class for
// Android.
StoreSize requiredStoreSize(const std::string& os);

// "1320x2868" (or "1320×2868") among the platform's sizes; throws
// StoreSizeError naming the valid ones otherwise.
StoreSize parseStoreSize(const std::string& os, const std::string& text);

// The size class an image of these pixels counts in, if the store has one.
std::optional<StoreSize> storeSizeOf(const std::string& os, int width, int height);

// How a design drawn on `canvas` fills another size without distortion: at
// one uniform scale, with the background extended at the bottom (a taller
// size) or at both sides (a wider one). The stage is the canvas plus the
// extension, in CSS pixels; stage × scale is the output size exactly.
struct StoreFit {
  double scale = 1, side = 0, bottom = 0;
  CSSSize stage;

  bool extends() const { return side > 0 || bottom > 0; }
};
StoreFit storeFit(CSSSize canvas, int width, int height);

}  // namespace vells::rendering
