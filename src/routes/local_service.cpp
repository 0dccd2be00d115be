#include "routes/local_service.h"

#include "routes/cache_routes.h"
#include "routes/html_routes.h"
#include "routes/page_routes.h"
#include "routes/text_routes.h"

namespace vells::routes {

backend::RouteFamilies renderingRoutes(rendering::HTMLRenderer& renderer) {
  backend::RouteFamilies families = htmlRoutes(renderer);
  for (auto make : {&pageRoutes, &cacheRoutes, &exportRoutes, &textRoutes}) {
    for (backend::Route& route : make(renderer))
      families.exact.push_back(std::move(route));
  }
  return families;
}

LocalService makeLocalService(LocalServiceOptions options) {
  LocalService service;
  service.core = std::make_shared<rendering::CoreJS>(std::move(options.resourceDir));
  service.renderer = std::make_unique<rendering::HTMLRenderer>(options.maxSlots);
  // One background worker per render slot keeps every slot busy.
  service.backend = std::make_unique<backend::LocalBackend>(
      std::move(options.library), service.core, renderingRoutes(*service.renderer),
      service.renderer->maxSlots());
  return service;
}

}  // namespace vells::routes
