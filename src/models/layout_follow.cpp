#include "models/layout_follow.h"

#include <cmath>

#include <QPointer>
#include "document/vell_layer.h"
#include "document/vell_style.h"

#include "models/api_client.h"

namespace vells::models {

namespace {

std::optional<LayoutFollow::Rect> rectOf(const std::vector<double>& v) {
  if (v.size() != 4) return std::nullopt;
  return LayoutFollow::Rect{v[0], v[1], v[2], v[3]};
}

}  // namespace

const std::set<StyleField>& LayoutFollow::phoneFields() {
  static const std::set<StyleField> fields{StyleField::phoneScale,       StyleField::phoneOffsetX,
                                           StyleField::phoneOffsetY,     StyleField::phoneRotateX,
                                           StyleField::phoneRotateY,     StyleField::phoneRotateZ,
                                           StyleField::phonePerspective, StyleField::textPos};
  return fields;
}

std::optional<LayoutFollow::Snapshot> LayoutFollow::snapshot(
    const std::optional<TextFit::Report>& report) {
  if (!report || !report->phone) return std::nullopt;
  auto phone = rectOf(*report->phone);
  if (!phone) return std::nullopt;
  Snapshot out{*phone, {}};
  for (const TextFit::Report::Layer& l : report->layers) {
    if (auto r = rectOf(l.box)) out.layers[l.id] = *r;
  }
  return out;
}

void LayoutFollow::measure(APIClient& client, const std::string& set, const std::string& page,
                           DeviceOS os, ThemeName theme, const std::string& locale,
                           QObject* receiver, std::function<void(std::optional<Snapshot>)> done) {
  client.textFit(set, page, os, theme, locale, receiver,
                 [done = std::move(done)](APIResult<JSONValue> r) {
                   done(r ? snapshot(TextFit::Report::decode(r.value())) : std::nullopt);
                 });
}

void LayoutFollow::follow(APIClient& client, const std::string& set, const std::string& page,
                          DeviceOS os, ThemeName theme, const std::string& locale,
                          const Snapshot& before, const std::set<std::string>& skip,
                          QObject* receiver, std::function<void(std::optional<std::string>)> done) {
  measure(
      client, set, page, os, theme, locale, receiver,
      [&client, set, page, locale, before, skip, receiver, done](std::optional<Snapshot> after) {
        if (!after || before.phone.width <= 0 || before.phone.height <= 0) return done({});
        const Rect& o = before.phone;
        const Rect& n = after->phone;
        // The height isn't compared: a phone that only grew taller stands where it stood.
        if (std::abs(o.left - n.left) <= 0.5 && std::abs(o.top - n.top) <= 0.5 &&
            std::abs(o.width - n.width) <= 0.5)
          return done({});
        const double sx = n.width / o.width;
        const double sy = n.height / o.height;
        client.styles(set, receiver,
                      [&client, set, page, locale, before, skip, receiver, done, o, n, sx,
                       sy](APIResult<StylesDocument> r) {
                        if (!r) return done({});
                        StylesDocument styles = std::move(r.value());
                        std::string key = styleKey(page, locale);
                        if (auto it = styles.find(key); it == styles.end() || !it->second.layers)
                          key = styleKey(page);
                        auto found = styles.find(key);
                        if (found == styles.end() || !found->second.layers) return done({});
                        auto layers = VellLayer::list(*found->second.layers);
                        // The old phone, a little grown, must hold the layer's centre.
                        const double minX = o.left - o.width * 0.02, maxX = o.left + o.width * 1.02;
                        const double minY = o.top - o.height * 0.01, maxY = o.top + o.height * 1.01;
                        int moved = 0;
                        for (VellLayer& l : layers) {
                          if (skip.contains(l.id)) continue;
                          auto was = before.layers.find(l.id);
                          if (was == before.layers.end()) continue;
                          const double cx = was->second.left + was->second.width / 2;
                          const double cy = was->second.top + was->second.height / 2;
                          if (cx < minX || cx > maxX || cy < minY || cy > maxY) continue;
                          l.x = n.left + (l.x - o.left) * sx;
                          l.y = n.top + (l.y - o.top) * sy;
                          l.w *= sx;
                          if (l.size) *l.size *= sx;
                          ++moved;
                        }
                        if (moved == 0) return done({});
                        found->second.layers = VellLayer::jsonOf(layers);
                        client.saveStyles(set, styles, receiver, [moved, done](APIResult<Done>) {
                          done("Kept " + std::to_string(moved) + " layer" +
                               (moved == 1 ? "" : "s") + " on the phone");
                        });
                      });
      });
}

}  // namespace vells::models
