// Writes the canvas screenshots of docs/screenshots/ from the real thing: the
// sample app's home page composited by the real core script and browser as
// the frame, the boxes measured by the real text-fit route, and the widget
// driven as a person would. Not a test: run it by hand after a change to the
// canvas's look (QT_SCALE_FACTOR=2 for the HiDPI picture).
//   canvas_screenshots <folder>
#include <QApplication>
#include <QDir>
#include <QImage>
#include <QMouseEvent>
#include <QSettings>
#include <QTest>
#include <QTextDocument>
#include <cmath>
#include <iostream>

#include "app/canvas_view.h"
#include "backend/test_support.h"
#include "cli/demo_set.h"
#include "models/app_model.h"
#include "models/canvas_model.h"
#include "models/editor_model.h"
#include "models/fake_transport.h"
#include "models/file_saver.h"
#include "models/gesture_controller.h"
#include "models/image_store.h"
#include "models/text_fit.h"
#include "models/text_fonts.h"
#include "routes/local_service.h"

namespace vells::testing {
namespace {

using namespace models;

struct NoSaver : FileSaver {
  void save(std::string, std::string, std::function<void(Outcome)> done) override { done({}); }
};

struct Studio {
  TempDir dir;
  routes::LocalService service = routes::makeLocalService(
      {backend::LocalLibrary(dir.path() / "lib"), fs::path(VELLS_SOURCE_RESOURCES), 2});
  backend::LocalBackend& backend = *service.backend;
  QSettings settings{QString::fromStdString((dir.path() / "vellora.conf").string()),
                     QSettings::IniFormat};
  QtTimerClock clock;
  APIClient client{APITransport::local(backend), clock};
  ImageStore images{client};
  AppModel app{client, images, settings};
  NoSaver saver;
  EditorModel editor{clock, saver};
  CanvasModel canvas{editor, app};
  GestureController gestures{canvas};
  TextFonts fonts;
  app::CanvasView view{canvas, gestures, editor, fonts};
  std::string scale2x = qEnvironmentVariableIsSet("QT_SCALE_FACTOR") ? "-2x" : "";

  Studio() {
    const std::string sampleApp = *backend.catalog().pagesAppId();
    backend.db().saveApp({sampleApp, {{"name", "Tempo"}}, 1});
    backend.db().updateSet({"default", "Sample", sampleApp, std::vector<std::string>{"en"}});
    call(backend, "POST", "/api/pages?set=default", R"({"pages":[{"id":"home"}]})");
    call(backend, "POST", "/api/texts?set=default", cli::demoTexts().dump());
    call(backend, "POST", "/api/styles?set=default", cli::demoStyles().dump());
    app.reconnect();
    spin([&] { return app.connection().kind != ConnectionState::Kind::connecting; });
    app.selectApp(sampleApp);
    spin([&] { return !app.pages().empty(); });
    app.setOs(DeviceOS::ios);
    app.setTheme(ThemeName::dark);
    app.setActiveLocale("en");
    app.setActivePage(std::string("home"));
    bool loaded = false;
    editor.loadSet(app, [&] { editor.loadPage(app, [&] { loaded = true; }); });
    spin([&] { return loaded; });
    bool fontsLoaded = false;
    fonts.load(client, [&] { fontsLoaded = true; });
    spin([&] { return fontsLoaded; });
  }

  static void spin(const std::function<bool()>& done) {
    if (!spinUntil(done, 120000)) throw std::runtime_error("timed out");
  }
  void settle() {
    bool saved = false;
    editor.flushStyleSave([&] { saved = true; });
    spin([&] { return saved; });
    bool text = false;
    editor.flushTextSave([&] { text = true; });
    spin([&] { return text; });
  }
  std::string query(const std::string& set) const {
    return "set=" + set + "&page=home&os=ios&theme=dark&locale=en";
  }
  // The store image as the export writes it, as the frame.
  void frame(const std::string& set = "default") {
    settle();
    const auto r = call(backend, "GET", "/composite?" + query(set));
    if (r.status != 200) throw std::runtime_error("composite: " + r.body);
    view.setFrame(QImage::fromData(QByteArray::fromStdString(r.body)));
  }
  // What the preview will report, from the measuring route: its boxes are
  // the turned objects' bounds, so a turned layer's own height is worked back.
  void measure() {
    settle();
    const auto report = TextFit::Report::decode(
        bodyJSON(call(backend, "GET", "/api/text-fit?" + query("default"))));
    if (!report) throw std::runtime_error("text-fit gave no report");
    const double k = gestures.scale();
    const ResolvedStyle style = editor.resolved("home", "en");
    auto box = [&](const std::vector<double>& r, double rot, std::optional<double> ownW) {
      CanvasBox b{(r[0] + r[2] / 2) * k, (r[1] + r[3] / 2) * k, r[2] * k, r[3] * k, rot};
      const double a = rot * M_PI / 180;
      if (ownW && std::abs(std::cos(a)) > 0.2) {
        b.w = *ownW * k;
        b.h = (r[3] - *ownW * std::abs(std::sin(a))) / std::abs(std::cos(a)) * k;
      }
      return b;
    };
    CanvasRects rects;
    if (report->phone) rects.phone = box(*report->phone, style.phoneRotateZ, std::nullopt);
    if (report->title && report->title->box)
      rects.title = box(*report->title->box, 0, std::nullopt);
    for (const auto& l : report->layers) {
      auto layer = canvas.layer(l.id);
      if (!layer || l.box.size() != 4) continue;
      rects.layers.push_back(
          {l.id,
           box(l.box, layer->rotate,
               layer->kind == VellLayer::Kind::image ? std::optional(layer->w) : std::nullopt)});
    }
    canvas.setRects(rects);
  }
  void mouse(QEvent::Type type, QPointF p, Qt::MouseButtons buttons) {
    QMouseEvent e(type, p, view.mapToGlobal(p),
                  type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton, buttons,
                  Qt::NoModifier);
    QApplication::sendEvent(&view, &e);
  }
  void shoot(const QString& folder, const std::string& name) {
    QApplication::processEvents();
    const QString file = folder + "/" + QString::fromStdString(name + scale2x + ".png");
    if (!view.grab().save(file)) throw std::runtime_error("can't write " + file.toStdString());
    std::cout << file.toStdString() << "\n";
  }
};

int run(const QString& folder) {
  Studio s;
  s.view.resize(860, 900);
  s.view.show();
  if (!QTest::qWaitForWindowExposed(&s.view)) throw std::runtime_error("the canvas never showed");

  // The phone selected.
  s.frame();
  s.measure();
  s.canvas.select(CanvasSelection::phone());
  s.shoot(folder, "canvas-phone-selected");

  // A sticker turned on the phone's edge, dragged until its centre meets the
  // page's centre line: the guide shows while the pointer is still down.
  bool placed = false;
  s.canvas.addEmoji("⭐", [&] { placed = true; });
  Studio::spin([&] { return placed; });
  const std::string star = s.canvas.selection()->layerId;
  s.canvas.updateLayer(star, [](VellLayer& l) {
    l.x = 420;
    l.y = 1010;
    l.w = 150;
    l.rotate = -18;
  });
  s.frame();
  s.measure();
  const CanvasBox box = *s.canvas.rects().box(CanvasSelection::layer(star));
  const QPointF from = s.view.fromView({box.cx, box.cy});
  const double centre = s.view.boxSize().width() / 2.0;
  s.mouse(QEvent::MouseButtonPress, from, Qt::LeftButton);
  s.mouse(QEvent::MouseMove, from + QPointF(-10, -4), Qt::LeftButton);
  s.mouse(QEvent::MouseMove, from + QPointF(centre - box.cx + 3, -30), Qt::LeftButton);
  s.frame();
  s.measure();
  s.shoot(folder, "canvas-sticker-rotated-snap");
  s.mouse(QEvent::MouseButtonRelease, from + QPointF(centre - box.cx + 3, -30), Qt::NoButton);

  // The title edited in place: the preview hides the title the editor covers,
  // which a set without the title stands in for here.
  s.canvas.deleteLayer(star);
  s.frame();
  s.measure();
  JSONValue texts = cli::demoTexts();
  texts["home"]["en"]["title"] = "";
  s.backend.db().updateSet(
      {"untitled", "Untitled", *s.backend.catalog().pagesAppId(), std::vector<std::string>{"en"}});
  call(s.backend, "POST", "/api/pages?set=untitled", R"({"pages":[{"id":"home"}]})");
  call(s.backend, "POST", "/api/texts?set=untitled", texts.dump());
  call(s.backend, "POST", "/api/styles?set=untitled",
       encodeStylesDocument(*s.editor.styles()).dump());
  const CanvasBox title = *s.canvas.rects().title;
  const QPointF t = s.view.fromView({title.cx, title.cy});
  s.mouse(QEvent::MouseButtonPress, t, Qt::LeftButton);
  s.mouse(QEvent::MouseButtonRelease, t, Qt::NoButton);
  s.mouse(QEvent::MouseButtonDblClick, t, Qt::LeftButton);
  s.mouse(QEvent::MouseButtonRelease, t, Qt::NoButton);
  s.frame("untitled");
  // "habits" selected, as before a click on Highlight.
  QTextCursor cursor = s.view.inlineEditor().document()->find("habits");
  s.view.inlineEditor().setTextCursor(cursor);
  s.shoot(folder, "canvas-title-editing");
  return 0;
}

}  // namespace
}  // namespace vells::testing

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  if (argc < 2) {
    std::cerr << "usage: canvas_screenshots <folder>\n";
    return 2;
  }
  QDir().mkpath(QString::fromLocal8Bit(argv[1]));
  try {
    return vells::testing::run(QString::fromLocal8Bit(argv[1]));
  } catch (const std::exception& e) {
    std::cerr << e.what() << "\n";
    return 1;
  }
}
