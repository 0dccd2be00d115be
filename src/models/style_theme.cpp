#include "models/style_theme.h"

#include <QString>

namespace vells::models {

namespace {

bool sameColour(const std::string& a, const std::string& b) {
  return QString::fromStdString(a).compare(QString::fromStdString(b), Qt::CaseInsensitive) == 0;
}

}  // namespace

const std::vector<StyleTheme>& StyleTheme::all() {
  static const std::vector<StyleTheme> themes{
      {"ocean", "Ocean", "#07184a", "#0052cc", "#0093fd", 160, "#ffffff", "#ffd54a", 0.25},
      {"night", "Night", "#0b0b12", "#1c1c2e", "#3a3a5c", 160, "#ffffff", "#8ab4ff", 0.2},
      {"berry", "Berry", "#3b0a45", "#8e1b6a", "#ff5e8a", 160, "#ffffff", "#ffd54a", 0.25},
      {"forest", "Forest", "#08331f", "#12674a", "#2fb37a", 160, "#ffffff", "#ffe27a", 0.25},
      {"apricot", "Apricot", "#FFF3E0", "#FFE0B8", "#FFC98A", 165, "#1C1C1E", "#1B7F3B", 0.7},
      {"mint", "Mint", "#F1F8E6", "#DCF0C4", "#BFE39A", 165, "#1C1C1E", "#1B7F3B", 0.7},
      {"peach", "Peach", "#FFEDE6", "#FFD3C4", "#FFB59E", 165, "#1C1C1E", "#B3261E", 0.7},
      {"lemon", "Lemon", "#FFFBE6", "#FFF0B3", "#FFE17A", 165, "#1C1C1E", "#1B7F3B", 0.7},
      {"sand", "Sand", "#FAF3EA", "#F1E0CB", "#E6C9A6", 165, "#1C1C1E", "#8A4B14", 0.7},
      {"cloud", "Cloud", "#FFFFFF", "#F2F4F8", "#E3E8F0", 165, "#1C1C1E", "#0A84FF", 0.8},
  };
  return themes;
}

std::vector<std::pair<StyleField, JSONValue>> StyleTheme::values() const {
  return {{StyleField::gradFrom, gradFrom},
          {StyleField::gradVia, gradVia},
          {StyleField::gradTo, gradTo},
          {StyleField::gradAngle, gradAngle},
          {StyleField::titleColor, titleColor},
          {StyleField::accentColor, accentColor},
          {StyleField::strokeOpacity, strokeOpacity}};
}

bool StyleTheme::matches(const ResolvedStyle& style) const {
  return sameColour(gradFrom, style.gradFrom) && sameColour(gradVia, style.gradVia) &&
         sameColour(gradTo, style.gradTo);
}

}  // namespace vells::models
