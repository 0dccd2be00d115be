#pragma once

#include <vector>

#include "backend/routes.h"
#include "rendering/html_renderer.h"

namespace vells::routes {

// /preview, /api/decor, /api/hero, /vell and /composite: the pictures and
// pages of the render pipeline, drawn with `renderer`.
std::vector<backend::Route> pageRoutes(rendering::HTMLRenderer& renderer);

}  // namespace vells::routes
