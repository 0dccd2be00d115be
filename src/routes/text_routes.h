#pragma once

#include <vector>

#include "backend/routes.h"
#include "rendering/html_renderer.h"

namespace vells::routes {

// /api/text-fit: a page's text measured in `renderer` as it really falls, with
// the contrast and copy checks, as one report.
std::vector<backend::Route> textRoutes(rendering::HTMLRenderer& renderer);

}  // namespace vells::routes
