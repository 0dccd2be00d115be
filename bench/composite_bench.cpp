// One store image of the sample app, through the whole pipeline: cold (phone
// and hero captures, composite, thumbnail), warm (a title edit: composite and
// thumbnail only) and the gallery's thumbnail alone. Each is run eight times
// on its own so that the median leaves out a start-up or a noisy neighbour.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <filesystem>

#include "backend/local_backend.h"
#include "rendering/composite.h"
#include "rendering/core_js.h"

namespace {

namespace fs = std::filesystem;
using namespace vells;

struct Bench {
  fs::path root = fs::temp_directory_path() / ("vells-composite-bench-" + std::to_string(getpid()));
  rendering::HTMLRenderer renderer{2};
  backend::LocalBackend backend{backend::LocalLibrary(root), std::make_shared<rendering::CoreJS>(
                                                                 fs::path(VELLS_SOURCE_RESOURCES))};
  int edits = 0;

  Bench() {
    const std::string app = *backend.catalog().pagesAppId();
    backend.db().saveApp({app, {{"name", "Tempo"}}, 1});
    backend.db().updateSet({"default", "Default", app, std::nullopt});
    backend.db().savePages("default", {{"home", "Home", "builtin", "home"}});
  }
  ~Bench() {
    std::error_code ec;
    fs::remove_all(root, ec);
  }
  void editTitle() {
    backend.db().saveDocument(backend::LocalDatabase::Document::texts, "default",
                              R"({"home":{"en":{"title":"Build habits that *stick* )" +
                                  std::to_string(++edits) + "\"}}}");
  }
  rendering::CompositeRequest request() {
    rendering::CompositeRequest r;
    r.page = "home";
    r.os = "ios";
    return r;
  }
};

Bench& bench() {
  static Bench b;
  return b;
}

void BM_ColdPage(benchmark::State& state) {
  rendering::Compositor c(bench().backend, bench().renderer);
  auto r = bench().request();
  r.fresh = true;
  for (auto _ : state)
    benchmark::DoNotOptimize(c.composite(r));
}
BENCHMARK(BM_ColdPage)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(1)
    ->Repetitions(8)
    ->ReportAggregatesOnly(true);

void BM_WarmPageAfterTitleEdit(benchmark::State& state) {
  rendering::Compositor c(bench().backend, bench().renderer);
  for (auto _ : state) {
    bench().editTitle();
    benchmark::DoNotOptimize(c.composite(bench().request()));
  }
}
BENCHMARK(BM_WarmPageAfterTitleEdit)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(1)
    ->Repetitions(8)
    ->ReportAggregatesOnly(true);

void BM_ThumbnailOnly(benchmark::State& state) {
  rendering::Compositor c(bench().backend, bench().renderer);
  auto r = bench().request();
  r.thumbOnly = true;
  for (auto _ : state) {
    bench().editTitle();
    benchmark::DoNotOptimize(c.composite(r));
  }
}
BENCHMARK(BM_ThumbnailOnly)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(1)
    ->Repetitions(8)
    ->ReportAggregatesOnly(true);

}  // namespace

BENCHMARK_MAIN();
