#pragma once

// A library on the real core script in a temp folder, with the page, cache and
// export routes, for the benchmarks that measure routes and the client road.
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "backend/local_backend.h"
#include "backend/url_request.h"
#include "cli/demo_set.h"
#include "rendering/core_js.h"
#include "rendering/html_renderer.h"
#include "routes/cache_routes.h"
#include "routes/page_routes.h"

namespace vells::bench {

namespace fs = std::filesystem;

struct Library {
  fs::path root;
  rendering::HTMLRenderer& renderer;
  std::unique_ptr<backend::LocalBackend> backend;

  Library(const std::string& name, rendering::HTMLRenderer& r)
      : root(fs::temp_directory_path() / (name + std::to_string(getpid()))), renderer(r) {
    backend::RouteFamilies routes;
    for (auto make : {&routes::pageRoutes, &routes::cacheRoutes, &routes::exportRoutes}) {
      for (auto& route : make(renderer))
        routes.exact.push_back(std::move(route));
    }
    backend = std::make_unique<backend::LocalBackend>(
        backend::LocalLibrary(root),
        std::make_shared<rendering::CoreJS>(fs::path(VELLS_SOURCE_RESOURCES)), std::move(routes));
    const std::string app = *backend->catalog().pagesAppId();
    backend->db().saveApp({app, {{"name", "Tempo"}}, 1});
  }
  ~Library() {
    backend.reset();
    std::error_code ec;
    fs::remove_all(root, ec);
  }
  backend::Response call(const std::string& method, const std::string& url,
                         const std::string& body = "") {
    return backend->handle(backend::requestFromURL(url, method, body));
  }
};

// 39 locales × 10 pages, every capture in place, so each combination runs the
// script's pagePlan and compositeName and looks for its thumbnail.
inline void fillStatusSet(Library& lib) {
  auto& b = *lib.backend;
  const std::string app = *b.catalog().pagesAppId();
  std::vector<std::string> locales = b.catalog().storeLocaleCodes();
  locales.resize(std::min<std::size_t>(locales.size(), 39));
  b.db().updateSet({"default", "Default", app, locales});
  std::string pages = R"({"pages":[{"id":"home"},{"id":"habits"},{"id":"detail"},)"
                      R"({"id":"insights"},{"id":"focus"},{"id":"settings"})";
  for (int i = 1; i <= 4; ++i)
    pages += R"(,{"id":"shot)" + std::to_string(i) + R"(","source":"upload"})";
  lib.call("POST", "/api/pages?set=default", pages + "]}");
  lib.call("POST", "/api/texts?set=default", cli::demoTexts().dump());

  const fs::path out = b.library().output();
  fs::create_directories(out);
  for (const auto& locale : locales) {
    for (const char* page : {"home", "habits", "detail", "insights", "focus", "settings"}) {
      auto plan = b.core().callJSON("pagePlan", JSONValue::Object{{"set", "default"},
                                                                  {"page", page},
                                                                  {"os", "ios"},
                                                                  {"theme", "light"},
                                                                  {"locale", locale},
                                                                  {"isUploaded", false},
                                                                  {"builtin", page}});
      const JSONValue* captures = plan ? plan->find("captures") : nullptr;
      for (const char* key : {"phone", "heroRect"}) {
        auto name = captures ? captures->stringAt(key) : std::nullopt;
        if (name && !name->empty()) std::ofstream(out / *name) << "{}";
      }
    }
  }
}

}  // namespace vells::bench
