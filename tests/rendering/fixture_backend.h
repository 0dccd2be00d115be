#pragma once

// A library on the small fixture core script, with the render routes a test
// names, drawing with `renderer`. The set "default" is filed under the
// fixture's app and holds the pages "home" and "bare".

#include <initializer_list>

#include "backend/test_support.h"
#include "rendering/core_js.h"
#include "rendering/html_renderer.h"

namespace vells::testing {

using RouteMaker = std::vector<backend::Route> (*)(rendering::HTMLRenderer&);

inline std::unique_ptr<backend::LocalBackend> fixtureBackend(
    const TempDir& dir, rendering::HTMLRenderer& renderer,
    std::initializer_list<RouteMaker> makers) {
  fs::create_directories(dir.path() / "resources" / "assets");
  fs::copy_file(fs::path(VELLS_TEST_FIXTURES) / "pipeline-core.js",
                dir.path() / "resources" / "core.js", fs::copy_options::overwrite_existing);
  backend::RouteFamilies routes;
  for (RouteMaker make : makers) {
    for (auto& route : make(renderer))
      routes.exact.push_back(std::move(route));
  }
  auto b = std::make_unique<backend::LocalBackend>(
      backend::LocalLibrary(dir.path() / "lib"),
      std::make_shared<rendering::CoreJS>(dir.path() / "resources"), std::move(routes));
  b->db().saveApp({"fixture-app", {}, 1});
  b->db().updateSet({"default", "Default", "fixture-app", std::nullopt});
  call(*b, "POST", "/api/pages", R"({"pages":[{"id":"home"},{"id":"bare"}]})");
  return b;
}

}  // namespace vells::testing
