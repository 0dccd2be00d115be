#include "rendering/effects.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <opencv2/core.hpp>

#include "platform/image/image.h"
#include "rendering/js_string.h"

namespace vells::rendering {

namespace {

std::string_view trim(std::string_view s) {
  const auto space = [](char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f';
  };
  while (!s.empty() && space(s.front())) {
    s.remove_prefix(1);
  }
  while (!s.empty() && space(s.back())) {
    s.remove_suffix(1);
  }
  return s;
}

// The whole text as one finite number.
std::optional<double> number(std::string_view s) {
  double v = 0;
  const char* end = s.data() + s.size();
  auto [ptr, ec] = std::from_chars(s.data(), end, v);
  if (ec != std::errc() || ptr != end || !std::isfinite(v)) return std::nullopt;
  return v;
}

std::string withoutPx(std::string_view s) {
  std::string out;
  out.reserve(s.size());
  for (std::size_t i = 0; i < s.size(); ++i) {
    if (s.compare(i, 2, "px") == 0) {
      ++i;
      continue;
    }
    out += s[i];
  }
  return out;
}

std::optional<Effects::Filter> filterOf(std::string_view name, std::string_view args) {
  if (name == "blur") {
    auto r = number(trim(withoutPx(args)));
    if (!r) return std::nullopt;
    return Effects::Blur{*r};
  }
  if (name == "drop-shadow") {
    const std::size_t close = args.find(')');
    if (close == std::string_view::npos) return std::nullopt;
    auto color = Effects::cssColor(args.substr(0, close + 1));
    if (!color) return std::nullopt;
    std::vector<double> numbers;
    std::string_view rest = args.substr(close + 1);
    while (!rest.empty()) {
      const std::size_t space = rest.find(' ');
      const std::string_view part = rest.substr(0, space);
      rest = space == std::string_view::npos ? std::string_view() : rest.substr(space + 1);
      if (part.empty()) continue;
      auto n = number(withoutPx(part));
      if (!n) return std::nullopt;
      numbers.push_back(*n);
    }
    if (numbers.size() < 2) return std::nullopt;
    return Effects::DropShadow{*color, numbers[0], numbers[1], numbers.size() > 2 ? numbers[2] : 0};
  }
  return std::nullopt;
}

Rect grown(const Rect& r, double by) {
  return {r.x - by, r.y - by, r.width + 2 * by, r.height + 2 * by};
}

// CGRectIntersection followed by CGRectIntegral; no overlap is the empty rectangle.
Rect intersectIntegral(const Rect& a, const Rect& b) {
  const double x0 = std::max(a.x, b.x), y0 = std::max(a.y, b.y);
  const double x1 = std::min(a.x + a.width, b.x + b.width);
  const double y1 = std::min(a.y + a.height, b.y + b.height);
  if (!(x1 > x0) || !(y1 > y0)) return {};
  const double fx = std::floor(x0), fy = std::floor(y0);
  return {fx, fy, std::ceil(x1) - fx, std::ceil(y1) - fy};
}

cv::Rect2d mapped(const Rect& r, double scale) {
  return {scale * r.x, scale * r.y, scale * r.width, scale * r.height};
}

std::optional<std::array<double, 4>> fourNumbers(const JSONValue* v) {
  const auto* a = v ? v->asArray() : nullptr;
  if (!a || a->size() != 4) return std::nullopt;
  std::array<double, 4> out{};
  for (std::size_t k = 0; k < 4; ++k) {
    const double* n = (*a)[k].asNumber();
    if (!n) return std::nullopt;
    out[k] = *n;
  }
  return out;
}

std::optional<std::vector<Homography::Point>> fourPoints(const JSONValue* v) {
  const auto* a = v ? v->asArray() : nullptr;
  if (!a || a->size() != 4) return std::nullopt;
  std::vector<Homography::Point> out;
  for (const JSONValue& corner : *a) {
    const auto* xy = corner.asArray();
    if (!xy || xy->size() != 2 || !(*xy)[0].isNumber() || !(*xy)[1].isNumber()) {
      return std::nullopt;
    }
    out.push_back({*(*xy)[0].asNumber(), *(*xy)[1].asNumber()});
  }
  return out;
}

// The shortest text that reads back as the same double.
std::string decimal(double v) {
  char buf[32];
  auto [end, ec] = std::to_chars(buf, buf + sizeof buf, v);
  return ec == std::errc() ? std::string(buf, end) : "0";
}

std::string call(const char* function, std::size_t index, const std::string& rest = "") {
  return "return __fx." + std::string(function) + "(" + std::to_string(index) + rest + ")";
}

}  // namespace

// --- Homography ---------------------------------------------------------------------------

std::optional<Homography> Homography::solve(const std::vector<Point>& from,
                                            const std::vector<Point>& to) {
  if (from.size() != 4 || to.size() != 4) return std::nullopt;
  double a[8][9];
  for (int k = 0; k < 4; ++k) {
    const double x = from[k].x, y = from[k].y, u = to[k].x, v = to[k].y;
    const double rowU[9] = {x, y, 1, 0, 0, 0, -x * u, -y * u, u};
    const double rowV[9] = {0, 0, 0, x, y, 1, -x * v, -y * v, v};
    std::copy(rowU, rowU + 9, a[2 * k]);
    std::copy(rowV, rowV + 9, a[2 * k + 1]);
  }
  for (int k = 0; k < 8; ++k) {
    int pivot = k;
    for (int r = k + 1; r < 8; ++r) {
      if (std::abs(a[r][k]) > std::abs(a[pivot][k])) pivot = r;
    }
    if (!(std::abs(a[pivot][k]) > 1e-12)) return std::nullopt;
    std::swap(a[k], a[pivot]);
    const double p = a[k][k];
    for (double& e : a[k]) {
      e /= p;
    }
    for (int r = 0; r < 8; ++r) {
      if (r == k || a[r][k] == 0) continue;
      const double f = a[r][k];
      for (int c = 0; c < 9; ++c) {
        a[r][c] -= f * a[k][c];
      }
    }
  }
  Homography h;
  for (int k = 0; k < 8; ++k) {
    h.h[k] = a[k][8];
  }
  return h;
}

Homography::Point Homography::map(double x, double y) const {
  const double d = h[6] * x + h[7] * y + 1;
  return {(h[0] * x + h[1] * y + h[2]) / d, (h[3] * x + h[4] * y + h[5]) / d};
}

// --- Filters ------------------------------------------------------------------------------

std::optional<std::vector<Effects::Filter>> Effects::parse(std::string_view filter) {
  std::vector<Filter> out;
  std::size_t at = 0;
  while (true) {
    const std::size_t open = filter.find('(', at);
    if (open == std::string_view::npos) break;
    int depth = 1;
    std::size_t close = open + 1;
    for (; close < filter.size(); ++close) {
      if (filter[close] == '(') ++depth;
      if (filter[close] == ')' && --depth == 0) break;
    }
    if (close >= filter.size()) return std::nullopt;  // never closed
    auto f = filterOf(trim(filter.substr(at, open - at)),
                      trim(filter.substr(open + 1, close - open - 1)));
    if (!f) return std::nullopt;
    out.push_back(*f);
    at = close + 1;
  }
  return out;
}

std::optional<Effects::RGBA> Effects::cssColor(std::string_view text) {
  const std::size_t open = text.find('(');
  const std::size_t close = text.rfind(')');
  if (open == std::string_view::npos || close == std::string_view::npos || close < open) {
    return std::nullopt;
  }
  std::vector<double> parts;
  std::string_view inside = text.substr(open + 1, close - open - 1);
  while (true) {
    const std::size_t comma = inside.find(',');
    auto n = number(trim(inside.substr(0, comma)));
    if (!n) return std::nullopt;
    parts.push_back(*n);
    if (comma == std::string_view::npos) break;
    inside.remove_prefix(comma + 1);
  }
  if (parts.size() < 3) return std::nullopt;
  return RGBA{parts[0] / 255, parts[1] / 255, parts[2] / 255, parts.size() > 3 ? parts[3] : 1};
}

double Effects::bleed(const std::vector<Filter>& filters) {
  double sum = 0;
  for (const Filter& f : filters) {
    if (const auto* b = std::get_if<Blur>(&f)) {
      sum += 3 * b->radius;
    } else if (const auto* s = std::get_if<DropShadow>(&f)) {
      sum += std::max(std::abs(s->dx), std::abs(s->dy)) + 1.5 * s->radius;
    }
  }
  return sum;
}

// --- Drawing ------------------------------------------------------------------------------

// Works on the plane of output pixels with y down, the way the page lays out:
// a CSS point (x, y) is the output point (scale·x, scale·y).
std::optional<Effects::Rendered> Effects::render(const platform::Image& captured,
                                                 const Rect& region, const Rect& layout,
                                                 const std::vector<Homography::Point>& corners,
                                                 const std::vector<Filter>& filters,
                                                 const Rect& clip, double scale) {
  if (captured.isEmpty() || !(scale > 0)) return std::nullopt;
  try {
    const cv::Rect2d R = mapped(region, scale);
    const cv::Rect2d& e0 = captured.extent();
    platform::Image picture = captured.transformed(R.width / e0.width, R.height / e0.height, 0, 0);
    picture = picture.translated(R.x - picture.extent().x, R.y - picture.extent().y);

    for (const Filter& f : filters) {
      if (const auto* b = std::get_if<Blur>(&f)) {
        if (b->radius > 0) picture = picture.blurred(scale * b->radius);
      } else if (const auto* s = std::get_if<DropShadow>(&f)) {
        const platform::Color color{s->color.red, s->color.green, s->color.blue, s->color.alpha};
        platform::Image shadow = picture.masked(color);
        if (s->radius > 0) shadow = shadow.blurred(scale * s->radius * 0.5);
        shadow = shadow.translated(scale * s->dx, scale * s->dy);
        picture = picture.over(shadow);
      }
    }

    const cv::Rect2d L = mapped(layout, scale);
    const std::vector<Homography::Point> from = {
        {L.x, L.y}, {L.x + L.width, L.y}, {L.x + L.width, L.y + L.height}, {L.x, L.y + L.height}};
    std::vector<Homography::Point> to;
    for (const auto& c : corners) {
      to.push_back({scale * c.x, scale * c.y});
    }
    const auto H = Homography::solve(from, to);
    if (!H) return std::nullopt;

    const double reach = scale * bleed(filters);
    picture =
        picture.cropped({R.x - reach, R.y - reach, R.width + 2 * reach, R.height + 2 * reach});
    if (picture.isEmpty()) return std::nullopt;
    const cv::Rect2d E = picture.extent();

    // The perspective filter sends the extent's corners where the element's
    // map sends them, which is the element's map itself; solving for it again
    // keeps the step what the filter does, corners in, picture out.
    const std::vector<Homography::Point> ends = {
        {E.x, E.y}, {E.x + E.width, E.y}, {E.x + E.width, E.y + E.height}, {E.x, E.y + E.height}};
    std::vector<Homography::Point> quad;
    for (const auto& p : ends) {
      quad.push_back(H->map(p.x, p.y));
    }
    const auto P = Homography::solve(ends, quad);
    if (!P) return std::nullopt;
    const double* h = P->h;
    const auto warped =
        picture.warped(cv::Matx33d(h[0], h[1], h[2], h[3], h[4], h[5], h[6], h[7], 1));
    if (!warped) return std::nullopt;

    const cv::Rect out = platform::integralRect(warped->extent() & mapped(clip, scale));
    if (out.width < 1 || out.height < 1) return std::nullopt;
    const std::string png = warped->encodePNG(out);
    if (png.empty()) return std::nullopt;
    return Rendered{platform::pngDataURL(png),
                    {out.x / scale, out.y / scale, out.width / scale, out.height / scale}};
  } catch (const cv::Exception&) {
    return std::nullopt;
  }
}

// --- The page ---------------------------------------------------------------------------

void Effects::flatten(PageSlot& slot, CSSSize canvas, double scale) {
  slot.run(script());
  slot.run("__fx.open()");
  const JSONValue found = slot.run("return __fx.scan()");
  const auto* entries = found.asArray();
  if (!entries || entries->empty()) return;

  const Rect viewport{0, 0, canvas.width + 2 * M, canvas.height + 2 * M};
  const Rect canvasRect{double(M), double(M), canvas.width, canvas.height};
  const std::string restore = ", '', 0, 0, 0, 0";

  for (std::size_t i = 0; i < entries->size(); ++i) {
    const std::string filter = (*entries)[i].stringAt("filter").value_or("");
    std::vector<Filter> filters;
    if (!filter.empty()) {
      auto parsed = parse(filter);
      if (!parsed) continue;  // the browser draws what we can't
      filters = std::move(*parsed);
    }

    const JSONValue isolated = slot.run(call("isolate", i));
    const auto box = fourNumbers(isolated.find("box"));
    const auto corners = fourPoints(isolated.find("corners"));
    if (!box || !corners) {
      slot.run(call("replace", i, ", null"));
      continue;
    }
    const auto ink = fourNumbers(isolated.find("ink")).value_or(*box);
    const Rect layout{(*box)[0], (*box)[1], (*box)[2], (*box)[3]};

    const Rect region =
        intersectIntegral(grown({ink[0], ink[1], ink[2], ink[3]}, 2 + bleed(filters)), viewport);
    if (region.width < 1 || region.height < 1 || !(layout.width > 0) || !(layout.height > 0)) {
      slot.run(call("replace", i, restore));
      continue;
    }

    const std::string png = slot.capturePNG(region, scale * region.width, false);
    const auto picture = platform::Image::decodePNG(png);
    if (!picture) throw RenderError::snapshot();

    const auto rendered =
        render(*picture, region, layout, *corners, filters, grown(canvasRect, 8), scale);
    if (!rendered) {
      slot.run(call("replace", i, restore));
      continue;
    }
    const Rect& r = rendered->rect;
    slot.run(call("replace", i,
                  ", " + jsString(rendered->src) + ", " + decimal(r.x) + ", " + decimal(r.y) +
                      ", " + decimal(r.width) + ", " + decimal(r.height)));
  }
}

}  // namespace vells::rendering
