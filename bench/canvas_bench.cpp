// The canvas widget's share of the road to pixels: a preview frame handed to
// the widget and painted, at a 1000-pixel-high box (run with QT_SCALE_FACTOR=2
// for a HiDPI screen), and one pointer move of a drag through the widget: the
// event, the gesture controller's style write and the repaint with handles.
#include <benchmark/benchmark.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QMouseEvent>
#include <QPainter>
#include <QSettings>
#include <QTemporaryDir>
#include <QThread>

#include "app/canvas_view.h"
#include "backend/local_backend.h"
#include "models/app_model.h"
#include "models/canvas_model.h"
#include "models/editor_model.h"
#include "models/gesture_controller.h"
#include "models/image_store.h"
#include "models/text_fonts.h"
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

struct NoFiles : FileSaver {
  void save(std::string, std::string, std::function<void(Outcome)> done) override { done({}); }
};

struct Canvas {
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
  TextFonts fonts;
  app::CanvasView view{canvas, gestures, editor, fonts};
  QImage frame;

  Canvas() {
    backend.start();
    backend.handle(backend::Request{"POST",
                                    "/api/pages",
                                    {{"set", "default"}},
                                    R"({"pages":[{"id":"home","label":"Home","source":"upload"}]})",
                                    "application/json",
                                    {}});
    app.reconnect();
    spinUntil([&] { return app.connection().kind != ConnectionState::Kind::connecting; });
    app.setOs(DeviceOS::ios);
    app.setActivePage(std::string("home"));
    spinUntil([&] { return client.pendingCalls() == 0; });
    bool loaded = false;
    editor.loadSet(app, [&] { loaded = true; });
    spinUntil([&] { return loaded; });
    // A 1000-pixel box with the margins around it.
    view.resize(700, 1000 + 2 * app::CanvasView::margin + app::CanvasView::hintHeight);
    view.show();
    QApplication::processEvents();
    const QSize box = view.boxSize();
    if (box.height() != 1000) throw std::runtime_error("the box isn't 1000 pixels high");
    frame = QImage(box * view.devicePixelRatioF(), QImage::Format_RGB32);
    QPainter p(&frame);
    QLinearGradient g(0, 0, frame.width(), frame.height());
    g.setColorAt(0, QColor(0x07, 0x18, 0x4a));
    g.setColorAt(1, QColor(0x00, 0x93, 0xfd));
    p.fillRect(frame.rect(), g);
    p.end();
    const double w = box.width();
    const double h = box.height();
    CanvasRects rects;
    rects.phone = CanvasBox{w / 2, h * 0.6, w * 0.62, h * 0.7, 0};
    rects.title = CanvasBox{w / 2, h * 0.09, w * 0.6, h * 0.08, 0};
    canvas.setRects(rects);
  }
  void mouse(QEvent::Type type, QPointF p, Qt::MouseButtons buttons) {
    QMouseEvent e(type, p, view.mapToGlobal(p),
                  type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton, buttons,
                  Qt::NoModifier);
    QApplication::sendEvent(&view, &e);
  }
};

Canvas& canvas() {
  static Canvas c;
  return c;
}

void BM_FrameToPixels(benchmark::State& state) {
  Canvas& c = canvas();
  c.canvas.select(CanvasSelection::phone());
  for (auto _ : state) {
    // A new frame each time, as the preview hands one over.
    QImage next = c.frame.copy();
    c.view.setFrame(std::move(next));
    c.view.repaint();
  }
  state.counters["ratio"] = c.view.devicePixelRatioF();
}
BENCHMARK(BM_FrameToPixels)->Unit(benchmark::kMillisecond)->MinTime(2);

void BM_DragMoveToPixels(benchmark::State& state) {
  Canvas& c = canvas();
  const QPointF from = c.view.fromView({c.view.boxSize().width() / 2.0, 600});
  c.mouse(QEvent::MouseButtonPress, from, Qt::LeftButton);
  int i = 0;
  for (auto _ : state) {
    c.mouse(QEvent::MouseMove, from + QPointF(20 + (i % 50), 10 + (i % 30)), Qt::LeftButton);
    c.view.repaint();
    ++i;
  }
  c.mouse(QEvent::MouseButtonRelease, from, Qt::NoButton);
  state.counters["ratio"] = c.view.devicePixelRatioF();
}
BENCHMARK(BM_DragMoveToPixels)->Unit(benchmark::kMicrosecond)->MinTime(2);

}  // namespace

int main(int argc, char** argv) {
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication app(argc, argv);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
