#pragma once

#include <filesystem>
#include <memory>
#include <optional>

#include "backend/local_backend.h"
#include "backend/local_library.h"
#include "rendering/core_js.h"
#include "rendering/html_renderer.h"

namespace vells::routes {

// What a run's backend is built from; each member starts at the run's default
// (the environment's library folder and resources, the machine's slot count).
struct LocalServiceOptions {
  backend::LocalLibrary library{backend::LocalLibrary::standardRoot()};
  std::optional<std::filesystem::path> resourceDir = rendering::CoreJS::resourceDir();
  int maxSlots = rendering::HTMLRenderer::defaultMaxSlots();
};

// A backend with every route family, and the script host and render pool its
// routes draw with. The routes hold on to the renderer, so the three live and
// die together; `backend` is declared last so that it goes first.
struct LocalService {
  std::shared_ptr<rendering::CoreJS> core;
  std::unique_ptr<rendering::HTMLRenderer> renderer;
  std::unique_ptr<backend::LocalBackend> backend;
};

// Builds the backend of a run. Each front door (the CLI, the application)
// calls it once in main() and passes the parts down; nothing starts (no
// database, no script, no browser) until the first request needs it.
LocalService makeLocalService(LocalServiceOptions options = {});

// Every route family above the backend, all drawing with `renderer`.
backend::RouteFamilies renderingRoutes(rendering::HTMLRenderer& renderer);

}  // namespace vells::routes
