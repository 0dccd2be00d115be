#pragma once

#include <QString>
#include <vector>

namespace vells::models {

// Text with the accent marked per character, as the in-place editor holds it:
// the stars of the stored markup are gone and live on as this mark.
struct AccentText {
  QString text;
  // One flag per UTF-16 unit of `text`.
  std::vector<bool> accent;

  friend bool operator==(const AccentText&, const AccentText&) = default;
};

// The stored title and layer texts mark accented words with stars, as in
// "Find *anything* fast". These turn that markup into marked characters and
// back; serialize(attributed(x)) == x for any well-formed x.
class InlineMarkup {
 public:
  // The stars that pair up are dropped and toggle the accent; a last odd
  // star stays a visible star.
  static AccentText attributed(const QString& markup);
  // Each accented run wrapped in stars, line by line, so a pair never spans
  // a line break.
  static QString serialize(const AccentText& text);
  // Over [start, end): clears the accent when every character has it, else
  // sets it on all. False (and nothing changes) for an empty range.
  static bool toggleHighlight(AccentText& text, int start, int end);
};

}  // namespace vells::models
