#pragma once

#include <optional>
#include <string>

#include "document/json_value.h"
#include "document/records.h"
#include "document/vell_style.h"

namespace vells::preview {

// Everything the live preview page draws from: one page in one language,
// platform and theme, at one box height. Compared field by field, so an
// unchanged state is never sent twice.
struct PreviewState {
  std::string set;
  std::string page;
  DeviceOS os = DeviceOS::ios;
  ThemeName theme = ThemeName::dark;
  std::string locale;
  int previewVersion = 0;
  ResolvedStyle style;
  std::string title;
  bool hasBackground = false;
  std::string backgroundURL;
  bool hasOverlay = false;
  std::string overlayURL;
  double boxHeight = 0;
  std::optional<std::string> authorization;
  std::optional<std::string> editing;

  // The page's JSON form; `authorization` and `editing` only when present.
  JSONValue json() const;

  friend bool operator==(const PreviewState&, const PreviewState&) = default;
};

}  // namespace vells::preview
