// The editor at the speed a person works it: one undo and one redo of a page
// with 40 layers (the snapshot swapped in, serialised and saved to a real
// library), and a 500-event drag of a layer through the gesture controller,
// which runs at pointer rate on the main thread.
#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QSettings>
#include <QTemporaryDir>
#include <QThread>
#include <memory>

#include "backend/local_backend.h"
#include "models/app_model.h"
#include "models/canvas_model.h"
#include "models/editor_model.h"
#include "models/gesture_controller.h"
#include "models/image_store.h"
#include "routes/local_service.h"

namespace {

using namespace vells;
using namespace vells::models;

void spinUntil(const std::function<bool()>& done) {
  QElapsedTimer timer;
  timer.start();
  while (!done() && timer.elapsed() < 30000) {
    QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    QThread::usleep(50);
  }
  if (!done()) throw std::runtime_error("the library didn't answer within 30 seconds");
}

// The benchmark downloads nothing.
struct NoFiles : FileSaver {
  void save(std::string, std::string, std::function<void(Outcome)> done) override { done({}); }
};

// An editor on a real temp library whose page "home" holds 40 layers.
struct Editor {
  QTemporaryDir dir;
  routes::LocalService service = routes::makeLocalService(
      {backend::LocalLibrary(std::filesystem::path(dir.path().toStdString()) / "lib"),
       std::filesystem::path(VELLS_SOURCE_RESOURCES), 1});
  backend::LocalBackend& backend = *service.backend;
  QtTimerClock clock;
  APIClient client{APITransport::local(backend), clock};
  ImageStore images{client};
  QSettings settings{dir.filePath("vellora.conf"), QSettings::IniFormat};
  AppModel app{client, images, settings};
  NoFiles files;
  EditorModel editor{clock, files};
  CanvasModel canvas{editor, app};
  GestureController gestures{canvas};

  Editor() {
    backend.start();
    backend.handle(backend::Request{"POST",
                                    "/api/pages",
                                    {{"set", "default"}},
                                    R"({"pages":[{"id":"home","label":"Home","source":"upload"}]})",
                                    "application/json",
                                    {}});
    std::string layers;
    for (int i = 0; i < 40; ++i) {
      const std::string n = std::to_string(i);
      layers += std::string(i ? "," : "") + R"({"id":"layer)" + n + R"(","kind":")" +
                (i % 2 ? "text" : "image") + R"(","text":"Layer *number* )" + n +
                R"(","asset":"0123456789abcdef0123456789abcdef.png","x":)" +
                std::to_string(20 + i * 14) + R"(,"y":)" + std::to_string(40 + i * 30) +
                R"(,"w":120,"size":30,"rotate":)" + std::to_string(i % 7) + "}";
    }
    backend.handle(backend::Request{"POST",
                                    "/api/styles",
                                    {{"set", "default"}},
                                    R"({"home":{"titleSize":70,"layers":[)" + layers + "]}}",
                                    "application/json",
                                    {}});
    app.reconnect();
    spinUntil([&] { return app.connection().kind != ConnectionState::Kind::connecting; });
    app.setActivePage(std::string("home"));
    spinUntil([&] { return client.pendingCalls() == 0; });
    bool loaded = false;
    editor.loadSet(app, [&] { loaded = true; });
    spinUntil([&] { return loaded; });
    if (canvas.layers().size() != 40) throw std::runtime_error("the page didn't load its layers");
  }

  void saved() {
    bool done = false;
    editor.flushStyleSave([&] { done = true; });
    spinUntil([&] { return done; });
  }
};

void BM_UndoRedo40Layers(benchmark::State& state) {
  Editor e;
  e.editor.checkpoint();
  e.canvas.updateLayer("layer3", [](VellLayer& l) { l.x += 50; });
  e.saved();
  for (auto _ : state) {
    e.editor.undo(e.app);
    e.saved();
    e.editor.redo(e.app);
    e.saved();
  }
  // Time per step: one undo or one redo with its save landed.
  state.counters["per_step"] =
      benchmark::Counter(static_cast<double>(state.iterations()) * 2,
                         benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
// The save lands on a worker: wall time is what the person waits.
BENCHMARK(BM_UndoRedo40Layers)->Unit(benchmark::kMillisecond)->MinTime(2)->UseRealTime();

void BM_Drag500Events(benchmark::State& state) {
  Editor e;
  e.gestures.setViewSize(310.5, 672);  // half a point per composite pixel
  CanvasRects rects;
  rects.phone = CanvasBox{155, 336, 200, 420, 0};
  rects.layers.push_back({"layer39", CanvasBox{280, 600, 60, 20, 4}});
  e.canvas.setRects(rects);
  constexpr int events = 500;
  for (auto _ : state) {
    e.gestures.pointer({PointerEvent::Kind::press, {280, 600}, {}});
    for (int i = 1; i < events - 1; ++i) {
      e.gestures.pointer({PointerEvent::Kind::move, {280 - i * 0.4, 600 - i * 0.7 + (i % 5)}, {}});
    }
    e.gestures.pointer({PointerEvent::Kind::release, {80, 250}, {}});
    state.PauseTiming();
    e.editor.undo(e.app);
    e.saved();
    state.ResumeTiming();
  }
  state.counters["per_event"] =
      benchmark::Counter(static_cast<double>(state.iterations()) * events,
                         benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_Drag500Events)->Unit(benchmark::kMillisecond)->MinTime(2);

}  // namespace

int main(int argc, char** argv) {
  QCoreApplication app(argc, argv);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
