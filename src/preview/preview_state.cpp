#include "preview/preview_state.h"

namespace vells::preview {

JSONValue PreviewState::json() const {
  JSONValue::Object o{{"set", set},
                      {"page", page},
                      {"os", std::string(rawValue(os))},
                      {"theme", std::string(rawValue(theme))},
                      {"locale", locale},
                      {"previewVersion", previewVersion},
                      {"style", style.asJSON()},
                      {"title", title},
                      {"hasBg", hasBackground},
                      {"bgUrl", backgroundURL},
                      {"hasOverlay", hasOverlay},
                      {"overlayUrl", overlayURL},
                      {"boxHeight", boxHeight}};
  if (authorization) o["authorization"] = *authorization;
  if (editing) o["editing"] = *editing;
  return o;
}

}  // namespace vells::preview
