#pragma once

#include <string>

namespace vells::rendering {

// `text` as a JavaScript string literal, quotes included: the JSON text of the
// one-element array [text] without its brackets. Every string that goes into a
// page script passes through here.
std::string jsString(const std::string& text);

}  // namespace vells::rendering
