#include "backend/local_backend.h"
#include "rendering/cache_routes.h"
#include "rendering/core_js.h"
#include "rendering/html_routes.h"
#include "rendering/page_routes.h"
#include "text/text_routes.h"

namespace vells::backend {

namespace {

// Every family above the backend, all drawing with the one renderer of the run.
RouteFamilies renderingRoutes(rendering::HTMLRenderer& renderer) {
  RouteFamilies families = rendering::htmlRoutes(renderer);
  for (auto make : {&rendering::pageRoutes, &rendering::cacheRoutes, &rendering::exportRoutes,
                    &text::textRoutes}) {
    for (Route& route : make(renderer))
      families.exact.push_back(std::move(route));
  }
  return families;
}

}  // namespace

LocalBackend& LocalBackend::shared() {
  // The backend holds the run's only script host; one background worker per
  // render slot keeps every slot busy.
  rendering::HTMLRenderer& renderer = rendering::HTMLRenderer::shared();
  static LocalBackend instance(
      LocalLibrary::standard(),
      std::make_shared<rendering::CoreJS>(rendering::CoreJS::resourceDir()),
      renderingRoutes(renderer), renderer.maxSlots());
  return instance;
}

}  // namespace vells::backend
