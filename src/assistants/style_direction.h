#pragma once

#include <QString>
#include <array>
#include <optional>
#include <vector>

#include "assistants/discovery_reply.h"

namespace vells::assistants {

// How a generated set should feel: one paragraph of each screen's prompt,
// and the phone's placement when the results are saved.
enum class StyleDirection { minimal, minimalStickers, callouts, socialProof, boldText, playful };

inline constexpr std::array<StyleDirection, 6> kAllDirections = {
    StyleDirection::minimal,     StyleDirection::minimalStickers, StyleDirection::callouts,
    StyleDirection::socialProof, StyleDirection::boldText,        StyleDirection::playful};

QString rawValue(StyleDirection direction);
std::optional<StyleDirection> directionFromRawValue(const QString& value);
QString cardTitle(StyleDirection direction);
QString cardLine(StyleDirection direction);

// The direction that suits the app as discovery saw it.
StyleDirection suggestedDirection(const std::optional<Design>& design);

// Whether the direction places the app's own pictures as stickers.
bool usesStickers(StyleDirection direction);

// The prompt's paragraph. `rating` and `review` are the person's own words
// for social proof; anything else ignores them.
QString guidance(StyleDirection direction, const std::vector<StickerAsset>& stickers,
                 const QString& rating, const QString& review);

}  // namespace vells::assistants
