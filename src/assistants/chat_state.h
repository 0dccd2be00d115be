#pragma once

#include <optional>
#include <string>

#include "models/text_fit.h"

namespace vells::models {
class CanvasModel;
}

namespace vells::assistants {

// The page as a chat turn shows it to the AI: its texts, styles, layers and
// the measuring of how it renders now, as JSON text with sorted keys and no
// white space. The conversation lives in the tool's session, so every turn
// sends the whole state anew.
std::string chatState(models::CanvasModel& canvas, const std::string& page,
                      const std::optional<models::TextFit::Report>& fit);

}  // namespace vells::assistants
