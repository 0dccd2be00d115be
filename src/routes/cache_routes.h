#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "backend/routes.h"
#include "rendering/html_renderer.h"

namespace vells::routes {

// /api/gallery-status, /api/warm and /api/regenerate: what of a set is in the
// render cache, filling it in the background, and emptying a set's share.
std::vector<backend::Route> cacheRoutes(rendering::HTMLRenderer& renderer);

// An archive entry's name: the folder ("" or "<locale>/"), the 1-based place
// with at least two digits, the page id.
std::string exportEntryName(const std::string& folder, std::size_t place, const std::string& page);

// /api/download-all: a set's finished images as one ZIP archive.
std::vector<backend::Route> exportRoutes(rendering::HTMLRenderer& renderer);

}  // namespace vells::routes
