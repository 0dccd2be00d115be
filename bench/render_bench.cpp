// What one store image costs in the browser: the phone capture at scale 3
// (transparent PNG), the store canvas at scale 2 (opaque PNG), the gallery
// thumbnail (400 px JPEG), and the throughput of the whole pool.
#include <benchmark/benchmark.h>

#include <atomic>
#include <filesystem>
#include <memory>
#include <thread>
#include <vector>

#include "process_memory.h"
#include "rendering/core_js.h"
#include "rendering/html_renderer.h"

namespace {

using vells::rendering::CSSSize;
using vells::rendering::HTMLRenderer;
using vells::rendering::Rect;

// A busy but typical screen: gradients, text in several weights, rounded cards.
std::string phonePage() {
  std::string cards;
  for (int i = 0; i < 8; ++i) {
    cards += "<div class=card><b>Morning run " + std::to_string(i + 1) +
             "</b><span>5.2 km · 28 min · 312 kcal</span></div>";
  }
  return R"(<!doctype html><html><head><style>
body{margin:0;font-family:sans-serif}
#device{width:393px;height:852px;border-radius:52px;overflow:hidden;
  background:linear-gradient(160deg,#0b1d51,#1f6feb)}
h1{color:#fff;font-size:34px;margin:72px 24px 16px}
.card{margin:12px 20px;padding:16px;border-radius:20px;background:rgba(255,255,255,.92);
  display:flex;flex-direction:column;gap:6px;box-shadow:0 8px 24px rgba(0,0,0,.2)}
.card span{color:#56607a;font-size:14px}
</style></head><body><div id=device><h1>Today</h1>)" +
         cards + "</div></body></html>";
}

std::string storePage() {
  return R"(<!doctype html><html><head><style>
body{margin:0}#canvas{width:621px;height:1344px;position:relative;
  background:linear-gradient(160deg,#07184a,#0052cc 55%,#0093fd)}
h1{position:absolute;top:90px;left:0;right:0;text-align:center;color:#fff;
  font:800 66px/1.12 sans-serif;letter-spacing:-.03em;margin:0}
.phone{position:absolute;left:68px;top:330px;width:485px;height:1050px;border-radius:64px;
  background:#111;box-shadow:0 0 0 10px rgba(255,255,255,.25)}
</style></head><body><div id=canvas><h1>Plan your week<br>in minutes</h1>
<div class=phone></div></div></body></html>)";
}

HTMLRenderer& renderer() {
  static HTMLRenderer pool(2);
  return pool;
}

void BM_PhoneCapture(benchmark::State& state) {
  const std::string html = phonePage();
  for (auto _ : state) {
    benchmark::DoNotOptimize(renderer().renderDevice(html, {393, 852}, 3));
  }
}
BENCHMARK(BM_PhoneCapture)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(12);

// The phone capture the store image really makes: the sample app's home screen.
void BM_PhoneCaptureSampleHome(benchmark::State& state) {
  vells::rendering::CoreJS core{std::filesystem::path(VELLS_SOURCE_RESOURCES)};
  const auto html = core.string("pageHtml", vells::JSONValue::Object{{"set", "default"},
                                                                     {"page", "home"},
                                                                     {"os", "ios"},
                                                                     {"theme", "light"},
                                                                     {"locale", "en"},
                                                                     {"builtin", "home"}});
  if (!html) {
    state.SkipWithError("core.js has no home screen");
    return;
  }
  for (auto _ : state) {
    benchmark::DoNotOptimize(renderer().renderDevice(*html, {393, 852}, 3));
  }
}
BENCHMARK(BM_PhoneCaptureSampleHome)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(12);

void BM_PhoneLoadOnly(benchmark::State& state) {
  const std::string html = phonePage();
  auto slot = renderer().acquire(vells::platform::Priority::interactive);
  for (auto _ : state)
    slot->load(html, {393, 852});
}
BENCHMARK(BM_PhoneLoadOnly)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(12);

void BM_StoreCapture(benchmark::State& state) {
  auto slot = renderer().acquire(vells::platform::Priority::interactive);
  slot->load(storePage(), {621, 1344});
  for (auto _ : state) {
    benchmark::DoNotOptimize(slot->capturePNG(Rect{0, 0, 621, 1344}, 1242, true));
  }
}
BENCHMARK(BM_StoreCapture)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(12);

void BM_ThumbnailCapture(benchmark::State& state) {
  auto slot = renderer().acquire(vells::platform::Priority::interactive);
  slot->load(storePage(), {621, 1344});
  for (auto _ : state) {
    benchmark::DoNotOptimize(slot->captureJPEG(Rect{0, 0, 621, 1344}, 400, 80));
  }
}
BENCHMARK(BM_ThumbnailCapture)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(20);

// Loads and captures of the store page from two threads at once, as a warming
// gallery does: renders per second with both slots busy.
void BM_PoolThroughput(benchmark::State& state) {
  const std::string html = storePage();
  const int perThread = 6;
  vells::bench::PeakMemory memory;
  for (auto _ : state) {
    std::vector<std::thread> threads;
    for (int t = 0; t < 2; ++t) {
      threads.emplace_back([&] {
        for (int i = 0; i < perThread; ++i) {
          auto slot = renderer().acquire(vells::platform::Priority::background);
          slot->load(html, {621, 1344});
          benchmark::DoNotOptimize(slot->capturePNG(Rect{0, 0, 621, 1344}, 1242, true));
        }
      });
    }
    for (auto& t : threads)
      t.join();
  }
  state.counters["renders_per_s"] = benchmark::Counter(
      2.0 * perThread * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
  state.counters["peak_pss_MiB"] = memory.stop();
}
BENCHMARK(BM_PoolThroughput)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

}  // namespace

BENCHMARK_MAIN();
