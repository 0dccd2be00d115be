#pragma once

// The models the sheets work on, on a real temporary library: the client,
// the workspace and the editor, and a main window for the sheets to sit on.
#include <QApplication>
#include <QSettings>
#include <QTest>
#include <QWidget>
#include <map>
#include <mutex>

#include "models/app_model.h"
#include "models/editor_model.h"
#include "models/fake_transport.h"
#include "models/file_saver.h"
#include "models/image_store.h"
#include "models/manual_clock.h"
#include "models/model_library.h"

namespace vells::testing {

// A sheet shown over the test's window and kept until the window goes, so a
// test can read it after it has closed.
template <class Sheet, class... Args>
Sheet* openSheet(Args&&... args) {
  auto* sheet = new Sheet(std::forward<Args>(args)...);
  sheet->setAttribute(Qt::WA_DeleteOnClose, false);
  sheet->open();
  return sheet;
}

struct NoFiles : models::FileSaver {
  void save(std::string, std::string, std::function<void(Outcome)> done) override { done({}); }
};

struct SheetStack {
  ModelLibrary lib;
  // A path named here fails with its sentence instead of reaching the library.
  std::map<std::string, std::string> failures;
  std::mutex failuresMutex;
  FakeTransport fake{[this](const backend::Request& r) {
    {
      std::lock_guard g(failuresMutex);
      if (auto f = failures.find(r.path); f != failures.end())
        return backend::Response::error(f->second, 409);
    }
    return lib.backend->handle(r);
  }};
  ManualClock clock;
  models::APIClient client{transport(), clock};
  models::ImageStore images{client};
  QString settingsFile = QString::fromStdString((lib.dir.path() / "vellora.conf").string());
  QSettings settings{settingsFile, QSettings::IniFormat};
  NoFiles files;
  models::AppModel app{client, images, settings};
  models::EditorModel editor{clock, files};
  QWidget window;

  SheetStack() {
    window.resize(1000, 680);
    window.show();
  }
  models::APITransport transport() {
    auto t = fake.transport();
    t.start = [this] { lib.backend->start(); };
    return t;
  }
  void failWith(const std::string& path, const std::string& sentence) {
    std::lock_guard g(failuresMutex);
    failures[path] = sentence;
  }
  bool settle() {
    return spinUntil([&] { return client.pendingCalls() == 0; });
  }
  void connect() {
    app.reconnect();
    settle();
  }
  void addApp(const std::string& id, JSONValue::Object info) {
    lib.backend->db().saveApp({id, std::move(info), 1});
  }
  void addSet(const std::string& id, std::optional<std::string> appId, const std::string& name,
              std::optional<std::vector<std::string>> locales = std::nullopt) {
    lib.backend->db().updateSet({id, name, std::move(appId), std::move(locales)});
    call(*lib.backend, "POST", "/api/pages?set=" + id,
         R"({"pages":[{"id":"home","label":"Home","source":"upload"},)"
         R"({"id":"stats","label":"Stats","source":"upload"}]})");
  }
  JSONValue appInfo(const std::string& id) { return JSONValue(lib.backend->db().app(id)->info); }
  std::vector<backend::SetRow> sets() { return lib.backend->db().loadSets(); }
};

}  // namespace vells::testing
