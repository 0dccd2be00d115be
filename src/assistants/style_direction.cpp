#include "assistants/style_direction.h"

namespace vells::assistants {

namespace {

struct Words {
  StyleDirection direction;
  const char* raw;
  const char* title;
  const char* line;
};

const std::array<Words, 6> kWords = {{
    {StyleDirection::minimal, "minimal", "Minimal", "Solid colour, the phone, a short title."},
    {StyleDirection::minimalStickers, "minimalStickers", "Minimal + stickers",
     "Clean, with the app’s own stickers."},
    {StyleDirection::callouts, "callouts", "Feature callouts", "Real parts of the app, enlarged."},
    {StyleDirection::socialProof, "socialProof", "Social proof",
     "Your real rating, or feature badges."},
    {StyleDirection::boldText, "boldText", "Bold text", "A big headline, the phone second."},
    {StyleDirection::playful, "playful", "Playful", "Gradients, a tilt, stickers, shapes."},
}};

const Words& wordsOf(StyleDirection direction) {
  return kWords[static_cast<std::size_t>(direction)];
}

QString stickerList(const std::vector<StickerAsset>& stickers) {
  QStringList lines;
  for (const StickerAsset& sticker : stickers)
    lines << QStringLiteral("- ") + sticker.name + QStringLiteral(": ") + sticker.path;
  return lines.join(QLatin1Char('\n'));
}

}  // namespace

QString rawValue(StyleDirection direction) {
  return QString::fromUtf8(wordsOf(direction).raw);
}

std::optional<StyleDirection> directionFromRawValue(const QString& value) {
  for (const Words& words : kWords) {
    if (value == QString::fromUtf8(words.raw)) return words.direction;
  }
  return std::nullopt;
}

QString cardTitle(StyleDirection direction) {
  return QString::fromUtf8(wordsOf(direction).title);
}

QString cardLine(StyleDirection direction) {
  return QString::fromUtf8(wordsOf(direction).line);
}

StyleDirection suggestedDirection(const std::optional<Design>& design) {
  if (!design) return StyleDirection::minimal;
  if (design->mood == QStringLiteral("playful")) return StyleDirection::playful;
  if (design->mood == QStringLiteral("bold")) return StyleDirection::boldText;
  if (design->mood == QStringLiteral("premium")) return StyleDirection::callouts;
  if (design->suggestsStickers && !design->stickerAssets.empty())
    return StyleDirection::minimalStickers;
  return StyleDirection::minimal;
}

bool usesStickers(StyleDirection direction) {
  return direction == StyleDirection::minimalStickers || direction == StyleDirection::playful;
}

QString guidance(StyleDirection direction, const std::vector<StickerAsset>& stickers,
                 const QString& rating, const QString& review) {
  switch (direction) {
    case StyleDirection::minimal:
      return QStringLiteral(
          "DIRECTION — Minimal: a SOLID background (gradFrom = gradVia = gradTo) from the "
          "palette. No stickers, no made layers.");
    case StyleDirection::minimalStickers:
      return QStringLiteral(
                 "DIRECTION — Minimal + stickers: a solid or very soft background from the "
                 "palette. Choose 4 or 5 of the app's own images that suit THIS screen as "
                 "stickers, only from:\n") +
             (stickers.empty() ? QStringLiteral("(none — then choose none)")
                               : stickerList(stickers));
    case StyleDirection::callouts:
      return QStringLiteral(
          "DIRECTION — Feature callouts: a clean background from the palette. Choose the ONE or "
          "TWO most telling components of this screen (a card, a row, a price, a button) and "
          "highlight each. Make it as a layer (an entry in \"made\") showing ONLY the component "
          "itself, exactly as it looks in the app — the same colours, radius, type and content, "
          "tight to its own edges. Add NO border, outline, stroke, frame, card, label or "
          "background around it; everything outside the component is transparent. Give it a "
          "soft shadow only (box-shadow: 0 14px 34px rgba(0,0,0,.20)) and leave 24px of "
          "transparent margin on every side so the shadow is not cut off. Size the layer to "
          "the component at about 1.4x its on-screen size.");
    case StyleDirection::socialProof: {
      QString text =
          QStringLiteral("DIRECTION — Social proof: a clean background from the palette. ");
      if (rating.isEmpty() && review.isEmpty()) {
        return text + QStringLiteral(
                          "There is no real rating or review, so do NOT invent any — no stars, "
                          "quotes, names, download counts or awards. Make 2 or 3 small honest "
                          "feature badges instead (pills in the app's own style, e.g. \"No "
                          "ads\"), each a layer in \"made\", about 200 wide, using only features "
                          "this screen's code really has.");
      }
      text += QStringLiteral(
          "Use ONLY this real social proof, word for word — never invent other reviews, names "
          "or numbers: ");
      if (!rating.isEmpty())
        text += QStringLiteral("rating ") + rating + QStringLiteral(" stars. ");
      if (!review.isEmpty()) text += QStringLiteral("Review: \"") + review + QLatin1Char('"');
      return text + QStringLiteral(
                        " Make ONE clean review card in the app's own style (its fonts, colours "
                        "and radius) as a layer in \"made\", about 460 wide, transparent outside "
                        "the card, a soft shadow only.");
    }
    case StyleDirection::boldText:
      return QStringLiteral(
          "DIRECTION — Bold text: a strong, saturated background from the palette; the title is "
          "the hero (at most three short words per line). No stickers or made layers.");
    case StyleDirection::playful:
      return QStringLiteral(
                 "DIRECTION — Playful: a lively gradient from the palette. Choose 4 or 5 of the "
                 "app's own images that suit this screen, only from:\n") +
             (stickers.empty()
                  ? QStringLiteral(
                        "(none — then make 4 simple shapes instead as made layers: soft blobs or "
                        "sparkles in the brand colours, about 110 wide, transparent around them)")
                  : stickerList(stickers));
  }
  return {};
}

}  // namespace vells::assistants
