// The client road: the gallery's status of a large set through the API
// client (worker pool → handle → JSON decode → main thread), and many small
// calls through the pool at once.
#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QThread>

#include "bench_library.h"
#include "models/api_client.h"

namespace {

using namespace vells;
using bench::Library;

rendering::HTMLRenderer& renderer() {
  static rendering::HTMLRenderer pool(2);
  return pool;
}

// Runs the main thread's events until `done` holds.
template <class Done>
void spin(Done done) {
  while (!done())
    QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 5);
}

void BM_GalleryStatusThroughClient(benchmark::State& state) {
  Library lib("vells-client-status-bench-", renderer());
  bench::fillStatusSet(lib);
  models::QtTimerClock clock;
  models::APIClient client(models::APITransport::local(*lib.backend), clock);
  std::int64_t total = 0;
  for (auto _ : state) {
    bool answered = false;
    client.galleryStatus("default", DeviceOS::ios, ThemeName::light, nullptr,
                         [&](models::APIResult<GalleryStatus> status) {
                           if (status) total = status.value().total;
                           answered = true;
                         });
    spin([&] { return answered; });
  }
  state.counters["combinations"] = static_cast<double>(total);
}
BENCHMARK(BM_GalleryStatusThroughClient)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(10);

void BM_SmallCallsThroughPool(benchmark::State& state) {
  Library lib("vells-client-calls-bench-", renderer());
  models::QtTimerClock clock;
  models::APIClient client(models::APITransport::local(*lib.backend), clock);
  constexpr int calls = 1000;
  for (auto _ : state) {
    int answered = 0;
    for (int i = 0; i < calls; ++i) {
      client.hasBackground("default", "home", DeviceOS::ios, nullptr,
                           [&](models::APIResult<bool>) { ++answered; });
    }
    spin([&] { return answered == calls; });
  }
  state.counters["calls/s"] =
      benchmark::Counter(double(calls) * state.iterations(), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_SmallCallsThroughPool)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(5);

}  // namespace

int main(int argc, char** argv) {
  QCoreApplication app(argc, argv);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
