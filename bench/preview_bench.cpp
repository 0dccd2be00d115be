// The live preview at the speed of a hand on a slider, measured to pixels in
// hand on the main thread: a decoded frame, drawn once into a box-sized
// picture as the canvas paints it. Apply → frame at a 1000-px box, ratio 1
// and 2; and a drag (a new state every 16 ms for 3 s) of a layer and of the
// gradient angle: frames shown per second and the lag of the last one.
// Figures are medians over the samples of one run.
#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QPainter>
#include <QTemporaryDir>
#include <QThread>
#include <algorithm>
#include <memory>

#include "cli/demo_set.h"
#include "document/vell_style.h"
#include "preview/preview_engine.h"
#include "routes/local_service.h"

namespace {

using namespace vells;
using preview::PreviewEngine;
using preview::PreviewState;
using Clock = std::chrono::steady_clock;

bool spinUntil(const std::function<bool()>& done, int ms = 30000) {
  QElapsedTimer timer;
  timer.start();
  while (!done() && timer.elapsed() < ms) {
    QCoreApplication::processEvents(QEventLoop::AllEvents, 2);
    QThread::usleep(200);
  }
  return done();
}

double median(std::vector<double> v) {
  if (v.empty()) return 0;
  std::sort(v.begin(), v.end());
  return v[v.size() / 2];
}

// The sample set on a real library, and an engine at `ratio` showing "home".
struct Preview {
  QTemporaryDir dir;
  routes::LocalService service = routes::makeLocalService(
      {backend::LocalLibrary(std::filesystem::path(dir.path().toStdString()) / "lib"),
       std::filesystem::path(VELLS_SOURCE_RESOURCES), 1});
  std::unique_ptr<PreviewEngine> engine;
  PreviewState state;
  QImage canvas;

  explicit Preview(double ratio) {
    backend::LocalBackend& b = *service.backend;
    const std::string app = *b.catalog().pagesAppId();
    b.db().saveApp({app, {{"name", "Tempo"}}, 1});
    b.db().updateSet({"default", "Sample", app, std::vector<std::string>{"en"}});
    auto post = [&](const std::string& path, const std::string& body) {
      backend::Request r;
      r.method = "POST";
      r.path = path;
      r.query = {{"set", "default"}};
      r.body = body;
      r.contentType = "application/json";
      b.handle(r);
    };
    post("/api/pages", R"({"pages":[{"id":"home"}]})");
    post("/api/texts", cli::demoTexts().dump());
    post("/api/styles", cli::demoStyles().dump());

    PreviewEngine::Options options;
    options.resourceDir = VELLS_SOURCE_RESOURCES;
    engine = std::make_unique<PreviewEngine>(b, options);
    engine->setDevicePixelRatio(ratio);
    state.set = "default";
    state.page = "home";
    state.locale = "en";
    state.title = "Build habits that *stick*";
    state.style = resolveStyle(decodeStylesDocument(cli::demoStyles()), "home", "en");
    state.boxHeight = 1000;
    QObject::connect(engine.get(), &PreviewEngine::frameChanged, [this] { paint(); });
    if (!show()) throw std::runtime_error("the preview showed nothing within 30 seconds");
    // The screen, fonts and decoration in, as in an editor that has been open a while.
    spinUntil([] { return false; }, 2500);
  }

  // What the canvas does with a frame: draw it at the box size.
  void paint() {
    const QImage& frame = engine->frame();
    if (canvas.size() != frame.size()) canvas = QImage(frame.size(), QImage::Format_RGB32);
    QPainter p(&canvas);
    p.drawImage(0, 0, frame);
  }

  bool shows(const PreviewState& s) const {
    const auto& c = engine->coordinator();
    return c.applied() == s && !c.pending() && engine->frameSequence() >= c.lastSequence();
  }
  bool show() {
    engine->apply(state);
    return spinUntil([&] { return shows(state); });
  }
};

void BM_ApplyToFrame(benchmark::State& bench) {
  Preview p(static_cast<double>(bench.range(0)));
  std::vector<double> samples;
  for (auto _ : bench) {
    for (int i = 0; i < 40; ++i) {
      p.state.style.gradAngle = 100 + (i % 2) * 60 + i * 0.5;
      const auto start = Clock::now();
      if (!p.show()) bench.SkipWithError("no frame");
      samples.push_back(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
      spinUntil([] { return false; }, 30);
    }
  }
  bench.counters["median_ms"] = median(samples);
  bench.counters["worst_ms"] = *std::max_element(samples.begin(), samples.end());
}
BENCHMARK(BM_ApplyToFrame)->Arg(1)->Arg(2)->Iterations(1)->Unit(benchmark::kMillisecond);

// A state every 16 ms for 3 s, changed by `step`; frames shown per second and
// the time from the last state to the frame that shows it.
void drag(benchmark::State& bench, const std::function<void(PreviewState&, int)>& step) {
  Preview p(static_cast<double>(bench.range(0)));
  std::vector<double> fps, lag;
  for (auto _ : bench) {
    int frames = 0;
    std::uint64_t last = p.engine->frameSequence();
    auto counter = QObject::connect(p.engine.get(), &PreviewEngine::frameChanged, [&] {
      if (p.engine->frameSequence() != last) ++frames;
      last = p.engine->frameSequence();
    });
    const auto begin = Clock::now();
    int tick = 0;
    Clock::time_point lastApply;
    while (Clock::now() - begin < std::chrono::seconds(3)) {
      const auto due = begin + std::chrono::milliseconds(16 * tick);
      spinUntil([&] { return Clock::now() >= due; });
      step(p.state, tick++);
      lastApply = Clock::now();
      p.engine->apply(p.state);
    }
    const bool shown = spinUntil([&] { return p.shows(p.state); }, 5000);
    const auto end = Clock::now();
    QObject::disconnect(counter);
    if (!shown) bench.SkipWithError("the last state never showed");
    fps.push_back(frames / std::chrono::duration<double>(lastApply - begin).count());
    lag.push_back(std::chrono::duration<double, std::milli>(end - lastApply).count());
    spinUntil([] { return false; }, 300);
  }
  bench.counters["frames_per_s"] = median(fps);
  bench.counters["last_frame_lag_ms"] = median(lag);
}

void BM_DragLayer(benchmark::State& bench) {
  drag(bench, [](PreviewState& s, int tick) {
    JSONValue layers = s.style.layers;
    if (auto* list = layers.asArray(); list && !list->empty())
      (*list)[0]["x"] = 200.0 + (tick % 120) * 2;
    s.style.layers = layers;
  });
}
BENCHMARK(BM_DragLayer)->Arg(1)->Arg(2)->Iterations(3)->Unit(benchmark::kMillisecond);

void BM_DragGradientAngle(benchmark::State& bench) {
  drag(bench, [](PreviewState& s, int tick) { s.style.gradAngle = 90 + (tick % 180); });
}
BENCHMARK(BM_DragGradientAngle)->Arg(1)->Arg(2)->Iterations(3)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  QCoreApplication app(argc, argv);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
