#pragma once

namespace vells::routes {

// The script that measures a store-image page where it really falls: the
// title's lines, clamp and ink, words too wide for their column, text off the
// canvas or over the phone, layers too small or over the title. It answers
// `{issues, title, layers, phone}` in canvas pixels. Compiled in from
// routes/scripts/measure.js.
extern const char kMeasureScript[];

}  // namespace vells::routes
