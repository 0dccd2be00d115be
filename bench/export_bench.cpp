// The gallery's status poll over a large set, and a whole export of the demo
// set with both render slots busy, from a cold cache and after a warm-up.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "backend/local_backend.h"
#include "backend/url_request.h"
#include "cli/demo_set.h"
#include "cli/export_command.h"
#include "process_memory.h"
#include "rendering/core_js.h"
#include "rendering/zip_writer.h"
#include "routes/cache_routes.h"
#include "routes/page_routes.h"

namespace {

namespace fs = std::filesystem;
using namespace vells;

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

rendering::HTMLRenderer& renderer() {
  static rendering::HTMLRenderer pool(2);
  return pool;
}

// 39 locales × 10 pages, every capture in place, so each combination runs the
// script's pagePlan and compositeName and looks for its thumbnail.
void BM_GalleryStatus(benchmark::State& state) {
  Library lib("vells-status-bench-", renderer());
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
  std::size_t total = 0;
  for (auto _ : state) {
    auto answer = lib.call("GET", "/api/gallery-status?set=default&os=ios&theme=light");
    total = JSONValue::parse(answer.body).numberAt("total").value_or(0);
  }
  state.counters["combinations"] = static_cast<double>(total);
}
BENCHMARK(BM_GalleryStatus)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(10);

// The demo set: 6 pages × en, de, ja, ar.
void fillDemoSet(Library& lib) {
  auto& b = *lib.backend;
  const std::string app = *b.catalog().pagesAppId();
  b.db().updateSet({"default", "Default", app, std::vector<std::string>{"en", "de", "ja", "ar"}});
  lib.call("POST", "/api/pages?set=default",
           R"({"pages":[{"id":"home"},{"id":"habits"},{"id":"detail"},{"id":"insights"},)"
           R"({"id":"focus"},{"id":"settings"}]})");
  lib.call("POST", "/api/texts?set=default", cli::demoTexts().dump());
  lib.call("POST", "/api/styles?set=default", cli::demoStyles().dump());
}

// As the app gets there: the gallery has filled its thumbnails (and with them
// every phone capture) before anyone presses export.
void warmGallery(Library& lib) {
  const std::string query = "?set=default&os=ios&theme=light";
  lib.call("POST", "/api/warm" + query + "&priority=interactive");
  auto rendering = [&] {
    const JSONValue status = JSONValue::parse(lib.call("GET", "/api/gallery-status" + query).body);
    const JSONValue* flag = status.find("rendering");
    return flag && flag->asBool() && *flag->asBool();
  };
  while (rendering())
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
}

// One os and theme of the demo set to the archive, two workers as
// vellora-cli runs it, or through the download route as the app asks for it:
// from nothing, or after the gallery's warm-up.
void exportDemoSet(benchmark::State& state, bool warm, bool route = false) {
  double images = 0;
  double peak = 0;
  for (auto _ : state) {
    state.PauseTiming();
    Library lib("vells-export-bench-", renderer());
    fillDemoSet(lib);
    if (warm) warmGallery(lib);
    std::ostringstream progress;
    state.ResumeTiming();
    vells::bench::PeakMemory memory;
    if (route) {
      images += rendering::ZipWriter::entriesOf(
          lib.call("GET", "/api/download-all?set=default&os=ios&theme=light").body);
    } else {
      images += cli::exportArchive(*lib.backend, lib.renderer, {"default", "ios", "light", ""},
                                   lib.root / "demo.zip", progress);
    }
    peak = std::max(peak, memory.stop());
  }
  state.counters["images_per_s"] = benchmark::Counter(images, benchmark::Counter::kIsRate);
  state.counters["peak_pss_MiB"] = peak;
}

void BM_ExportDemoSet(benchmark::State& state) {
  exportDemoSet(state, false);
}
BENCHMARK(BM_ExportDemoSet)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);

void BM_ExportDemoSetAfterGalleryWarmUp(benchmark::State& state) {
  exportDemoSet(state, true);
}
BENCHMARK(BM_ExportDemoSetAfterGalleryWarmUp)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(1);

void BM_DownloadRouteAfterGalleryWarmUp(benchmark::State& state) {
  exportDemoSet(state, true, true);
}
BENCHMARK(BM_DownloadRouteAfterGalleryWarmUp)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(1);

}  // namespace

BENCHMARK_MAIN();
