#pragma once

#include "backend/routes.h"
#include "rendering/html_renderer.h"

namespace vells::routes {

// /api/screen-html and /api/layer-html: pictures a page or a layer makes from
// its own HTML, drawn with `renderer` and stored as the backend stores uploads.
backend::RouteFamilies htmlRoutes(rendering::HTMLRenderer& renderer);

}  // namespace vells::routes
