#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "rendering/render_types.h"

namespace vells::platform {
class Image;
}

namespace vells::rendering {

// A plane projective map: (x, y) goes to ((h0·x + h1·y + h2) ÷ d, (h3·x + h4·y + h5) ÷ d)
// with d = h6·x + h7·y + 1.
struct Homography {
  struct Point {
    double x = 0, y = 0;
    friend bool operator==(const Point&, const Point&) = default;
  };

  double h[8] = {1, 0, 0, 0, 1, 0, 0, 0};

  // The map taking each of four points to its partner; absent for any other
  // count, or when the points leave it undetermined (all on one line, say).
  static std::optional<Homography> solve(const std::vector<Point>& from,
                                         const std::vector<Point>& to);
  Point map(double x, double y) const;
};

// Bakes CSS filters (blur, drop shadows) and 3D transforms of a loaded page
// into plain pictures, so that a capture of the page shows what our own image
// filters drew rather than what the browser's compositor happens to do.
class Effects {
 public:
  Effects() = delete;

  // The margin around the canvas, in CSS pixels, on every side: a tilted
  // element that hangs out of the canvas is still laid out and captured whole.
  static constexpr int M = 480;

  struct RGBA {
    double red = 0, green = 0, blue = 0, alpha = 1;  // 0–1, sRGB, straight alpha
    friend bool operator==(const RGBA&, const RGBA&) = default;
  };
  struct Blur {
    double radius = 0;  // CSS pixels
    friend bool operator==(const Blur&, const Blur&) = default;
  };
  struct DropShadow {
    RGBA color;
    double dx = 0, dy = 0, radius = 0;  // CSS pixels
    friend bool operator==(const DropShadow&, const DropShadow&) = default;
  };
  using Filter = std::variant<Blur, DropShadow>;

  // What a picture made by render() shows, and where it goes in the page.
  struct Rendered {
    std::string src;  // a data: URL of a PNG
    Rect rect;        // CSS pixels of the page
  };

  // The page script defining window.__fx.
  static const std::string& script();

  // A computed `filter` value as a list of filters; absent when it holds
  // anything other than blur() and drop-shadow(), or one of those is malformed.
  static std::optional<std::vector<Filter>> parse(std::string_view filter);
  // rgb()/rgba() with numbers separated by commas, as computed styles give them.
  static std::optional<RGBA> cssColor(std::string_view text);
  // How far the filters reach beyond the content, in CSS pixels.
  static double bleed(const std::vector<Filter>& filters);

  // Draws the captured picture of `region` (CSS pixels, the picture spanning
  // it whole) through `filters`, and maps it so that `layout` (the element's
  // untransformed box) lands on `corners` (top left, top right, bottom right,
  // bottom left). Only the part inside `clip` is kept. `scale` is output
  // pixels per CSS pixel. Absent when there is nothing to show or no map.
  static std::optional<Rendered> render(const platform::Image& picture, const Rect& region,
                                        const Rect& layout,
                                        const std::vector<Homography::Point>& corners,
                                        const std::vector<Filter>& filters, const Rect& clip,
                                        double scale);

  // Replaces every filtered or 3D-transformed element of the page in `slot`
  // by a picture, deepest first. The page must be laid out in a view of
  // canvas + 2·M in each direction; the canvas then stands at (M, M).
  // Throws RenderError when the page's script or a capture fails.
  static void flatten(PageSlot& slot, CSSSize canvas, double scale);
};

}  // namespace vells::rendering
