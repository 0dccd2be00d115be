#pragma once

// The sample set on a real library with the shipped core script, and a live
// preview engine on it: what the preview's browser tests share.
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QImage>
#include <atomic>
#include <mutex>

#include "backend/test_support.h"
#include "cli/demo_set.h"
#include "models/fake_transport.h"
#include "preview/preview_engine.h"
#include "routes/local_service.h"

namespace vells::testing {

struct PreviewLibrary {
  TempDir dir;
  routes::LocalService service = routes::makeLocalService(
      {backend::LocalLibrary(dir.path() / "lib"), fs::path(VELLS_SOURCE_RESOURCES), 2});
  backend::LocalBackend& backend = *service.backend;

  PreviewLibrary() {
    const std::string sampleApp = *backend.catalog().pagesAppId();
    backend.db().saveApp({sampleApp, {{"name", "Tempo"}}, 1});
    backend.db().updateSet(
        {"default", "Sample", sampleApp, std::vector<std::string>{"en", "de", "ja", "ar"}});
    call(backend, "POST", "/api/pages?set=default",
         R"({"pages":[{"id":"home"},{"id":"habits"},{"id":"detail"}]})");
    call(backend, "POST", "/api/texts?set=default", cli::demoTexts().dump());
    call(backend, "POST", "/api/styles?set=default", cli::demoStyles().dump());
  }

  // The state of a page as the editor would build it from the stored documents.
  preview::PreviewState state(const std::string& page, const std::string& locale, double boxHeight,
                              DeviceOS os = DeviceOS::ios) {
    preview::PreviewState s;
    s.set = "default";
    s.page = page;
    s.os = os;
    s.theme = ThemeName::dark;
    s.locale = locale;
    const JSONValue styles = bodyJSON(call(backend, "GET", "/api/styles?set=default"));
    s.style = resolveStyle(decodeStylesDocument(styles), page, locale);
    const JSONValue texts = bodyJSON(call(backend, "GET", "/api/texts?set=default"));
    const JSONValue* entry = texts.find(page) ? texts.find(page)->find(locale) : nullptr;
    s.title = entry ? entry->stringAt("title").value_or("") : "";
    s.boxHeight = boxHeight;
    return s;
  }
};

// Counts what the page asks of the backend, by path.
struct RequestLog {
  std::mutex mutex;
  std::vector<std::string> urls;
  // Run before a request is answered (on the answering thread).
  std::function<void(const std::string&)> delay;

  std::function<void(const std::string&, const std::string&)> tap() {
    return [this](const std::string&, const std::string& url) {
      std::function<void(const std::string&)> d;
      {
        std::lock_guard g(mutex);
        urls.push_back(url);
        d = delay;
      }
      if (d) d(url);
    };
  }
  int count(const std::string& path) {
    std::lock_guard g(mutex);
    int n = 0;
    for (const auto& u : urls) {
      if (u.find("vells.localhost" + path + "?") != std::string::npos) ++n;
    }
    return n;
  }
};

// Spins the event loop for `ms` milliseconds.
inline void spinFor(int ms) {
  QElapsedTimer t;
  t.start();
  while (t.elapsed() < ms) {
    QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
  }
}

// The mean absolute difference per channel between two pictures of one size.
inline double meanDifference(const QImage& a, const QImage& b) {
  const QImage x = a.convertToFormat(QImage::Format_RGB32);
  const QImage y = b.convertToFormat(QImage::Format_RGB32);
  if (x.size() != y.size() || x.isNull()) return 255;
  double sum = 0;
  for (int row = 0; row < x.height(); ++row) {
    const auto* p = reinterpret_cast<const QRgb*>(x.constScanLine(row));
    const auto* q = reinterpret_cast<const QRgb*>(y.constScanLine(row));
    for (int col = 0; col < x.width(); ++col) {
      sum += std::abs(qRed(p[col]) - qRed(q[col])) + std::abs(qGreen(p[col]) - qGreen(q[col])) +
             std::abs(qBlue(p[col]) - qBlue(q[col]));
    }
  }
  return sum / (3.0 * x.width() * x.height());
}

}  // namespace vells::testing
