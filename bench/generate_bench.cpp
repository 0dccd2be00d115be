// A whole generation job with the fake AI tool answering at once: discovery,
// 10 screens × 2 platforms × 2 appearances drawn by the real browser, the
// reviews, and the saving with text fit for two languages. Reports where the
// seconds go and how many renders overlapped.
#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QSettings>
#include <QTemporaryDir>
#include <atomic>
#include <chrono>
#include <mutex>

#include "assistants/generate_flow.h"
#include "models/api_client.h"
#include "routes/local_service.h"

namespace {

using namespace vells;
using Clock = std::chrono::steady_clock;

double seconds(Clock::duration d) {
  return std::chrono::duration<double>(d).count();
}

// Counts the screen renders running at once and the time spent in each kind of route.
struct Meter {
  std::mutex mutex;
  int running = 0;
  int most = 0;
  std::map<std::string, double> busy;

  backend::Response measure(backend::LocalBackend& backend, const backend::Request& r) {
    const bool render = r.path == "/api/screen-html";
    if (render) {
      std::lock_guard g(mutex);
      most = std::max(most, ++running);
    }
    const auto start = Clock::now();
    backend::Response response = backend.handle(r);
    std::lock_guard g(mutex);
    busy[r.path] += seconds(Clock::now() - start);
    if (render) --running;
    return response;
  }
};

void writeText(const QString& path, const QString& text) {
  QFile file(path);
  file.open(QIODevice::WriteOnly);
  file.write(text.toUtf8());
}

void BM_GenerateTenScreens(benchmark::State& state) {
  QTemporaryDir dir;
  const QString app = dir.filePath(QStringLiteral("app"));
  QDir().mkpath(app);
  writeText(app + QStringLiteral("/App.swift"), QStringLiteral("struct App {}\n"));
  const QString bin = dir.filePath(QStringLiteral("claude"));
  QFile::link(QStringLiteral(FAKE_AI_TOOL), bin);

  QStringList screens;
  for (int i = 1; i <= 10; ++i)
    screens
        << QStringLiteral("{\"id\":\"s%1\",\"name\":\"Screen %1\",\"recommended\":true}").arg(i);
  writeText(dir.filePath(QStringLiteral("discovery.json")),
            QStringLiteral("{\"screens\":[") + screens.join(QLatin1Char(',')) +
                QStringLiteral(
                    "],\"support\":{\"ios\":true,\"android\":true,\"light\":true,\"dark\":true}}"));
  const QString html = QStringLiteral(
      "<!doctype html><html><head><style>:root[data-theme=light]{--bg:#fff;--ink:#111}"
      ":root[data-theme=dark]{--bg:#111;--ink:#eee}body{margin:0;background:var(--bg);color:var(--"
      "ink);"
      "font:17px "
      "sans-serif}.row{margin:12px;padding:16px;border-radius:14px;background:#8882}</style>"
      "</head><body><h1>Inbox</h1><div class=row>One</div><div class=row>Two</div>"
      "<div class=row>Three</div></body></html>");
  writeText(dir.filePath(QStringLiteral("screen.json")),
            QStringLiteral("{\"titles\":{\"en\":\"All your *mail*\",\"de\":\"Alle deine *Mails*\"},"
                           "\"background\":{\"gradFrom\":\"#123456\"},\"screens\":{\"ios\":\"%1\","
                           "\"android\":\"%1\"}}")
                .arg(QString(html).replace(QLatin1Char('"'), QStringLiteral("\\\""))));
  writeText(
      dir.filePath(QStringLiteral("scenario.txt")),
      QStringLiteral(
          "WHEN Here is how the HTML\nreply {\"screens\":{}}\nEND\n"
          "WHEN You are making ONE\nreply-file %1/screen.json\nEND\n"
          "WHEN The current directory is the source code\nreply-file %1/discovery.json\nEND\n")
          .arg(dir.path()));
  qputenv("FAKE_AI_SCENARIO", dir.filePath(QStringLiteral("scenario.txt")).toLocal8Bit());

  routes::LocalService service = routes::makeLocalService(
      {backend::LocalLibrary(dir.filePath(QStringLiteral("library")).toStdString()),
       std::filesystem::path(VELLS_SOURCE_RESOURCES), rendering::HTMLRenderer::defaultMaxSlots()});
  Meter meter;
  models::QtTimerClock clock;
  models::APIClient client(models::APITransport{[&](const backend::Request& r) {
                                                  return meter.measure(*service.backend, r);
                                                },
                                                [&] { service.backend->start(); }},
                           clock);
  QSettings defaults(dir.filePath(QStringLiteral("vellora.conf")), QSettings::IniFormat);
  backend::Request make;
  make.method = "POST";
  make.path = "/api/sets";
  make.body = R"({"name":"Bench","locales":["en","de"]})";
  const std::string set =
      *backend::LocalBackend::json(service.backend->handle(make).body).stringAt("id");
  // A warm browser, as in the app after its first render.
  backend::Request warm;
  warm.method = "POST";
  warm.path = "/api/screen-html";
  warm.query = {{"set", "warm"}, {"page", "warm"}, {"os", "ios"}};
  warm.body = R"({"html":"<p>warm</p>"})";
  service.backend->handle(warm);

  for (auto _ : state) {
    vells::assistants::GenerateFlow::Options options;
    options.set = set;
    options.folder = app;
    options.locales = {"en", "de"};
    vells::assistants::GenerateFlow flow(client, defaults, options);
    auto& job = flow.generator();
    vells::assistants::DetectedTool tool;
    tool.path = bin;
    const auto t0 = Clock::now();
    flow.chooseTool(tool);
    while (job.phase() == vells::assistants::ScreenshotGenerator::Phase::discovering)
      QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 20);
    const auto t1 = Clock::now();
    Clock::time_point savingStarted;
    QObject::connect(&flow, &vells::assistants::GenerateFlow::savingChanged, [&] {
      if (flow.isSaving()) savingStarted = Clock::now();
    });
    flow.startRender();
    QDeadlineTimer limit(std::chrono::minutes(10));
    while (job.phase() == vells::assistants::ScreenshotGenerator::Phase::rendering &&
           !limit.hasExpired())
      QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 20);
    const auto t2 = Clock::now();
    if (job.renderedScreens() != 10) state.SkipWithError("not every screen was made");
    state.counters["discovery_s"] = seconds(t1 - t0);
    state.counters["render_and_review_s"] = seconds(savingStarted - t1);
    state.counters["saving_with_text_fit_s"] = seconds(t2 - savingStarted);
    state.counters["total_s"] = seconds(t2 - t0);
  }
  for (const auto& [path, busy] : meter.busy)
    state.counters["busy_" + path.substr(5) + "_s"] = busy;
  state.counters["most_renders_at_once"] = meter.most;
  state.counters["render_slots"] = rendering::HTMLRenderer::defaultMaxSlots();
}
BENCHMARK(BM_GenerateTenScreens)->Iterations(1)->Unit(benchmark::kSecond)->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
  QCoreApplication app(argc, argv);
  ::benchmark::Initialize(&argc, argv);
  ::benchmark::RunSpecifiedBenchmarks();
  return 0;
}
