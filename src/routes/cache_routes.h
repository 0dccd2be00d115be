#pragma once

#include <vector>

#include "backend/routes.h"
#include "rendering/html_renderer.h"

namespace vells::routes {

// /api/gallery-status, /api/warm and /api/regenerate: what of a set is in the
// render cache, filling it in the background, and emptying a set's share.
std::vector<backend::Route> cacheRoutes(rendering::HTMLRenderer& renderer);

// /api/download-all: a set's finished images as one ZIP archive, made by the
// export service.
std::vector<backend::Route> exportRoutes(rendering::HTMLRenderer& renderer);

}  // namespace vells::routes
