#pragma once

#include <optional>
#include <string>

#include "backend/messages.h"

// The query parameters many routes read, each with its default.
namespace vells::backend {

// "ios", else "android".
std::string osParam(const Request& request);
// "light", else "dark".
std::string themeParam(const Request& request);
// "light" or "dark"; absent for anything else.
std::optional<std::string> appearanceParam(const Request& request);

}  // namespace vells::backend
