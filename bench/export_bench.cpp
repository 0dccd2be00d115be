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
#include "bench_library.h"
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
using bench::fillStatusSet;
using bench::Library;

rendering::HTMLRenderer& renderer() {
  static rendering::HTMLRenderer pool(2);
  return pool;
}

// The route alone over the large set.
void BM_GalleryStatus(benchmark::State& state) {
  Library lib("vells-status-bench-", renderer());
  fillStatusSet(lib);
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
