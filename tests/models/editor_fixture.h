#pragma once

// The editor's stack on a real temp library: AppModel online on set "a" with
// two pages, an EditorModel with its set and page loaded, and a transport that
// counts requests and can fail chosen ones.
#include <QSettings>
#include <mutex>

#include "models/app_model.h"
#include "models/editor_model.h"
#include "models/fake_transport.h"
#include "models/file_saver.h"
#include "models/image_store.h"
#include "models/manual_clock.h"
#include "models/model_library.h"

namespace vells::testing {

// Keeps what the editor saves, as a chooser would hand it to a folder.
struct KeptFiles : models::FileSaver {
  std::vector<std::pair<std::string, std::string>> files;
  void save(std::string bytes, std::string name, std::function<void(Outcome)> done) override {
    files.emplace_back(std::move(name), std::move(bytes));
    done({});
  }
};

struct EditorStack {
  ModelLibrary lib;
  // A request for which this returns a response is answered by it instead of
  // the library.
  std::function<std::optional<backend::Response>(const backend::Request&)> intercept;
  std::mutex interceptMutex;
  FakeTransport fake{[this](const backend::Request& r) {
    {
      std::lock_guard g(interceptMutex);
      if (intercept) {
        if (auto answer = intercept(r)) return *answer;
      }
    }
    return lib.backend->handle(r);
  }};
  ManualClock clock;
  models::APIClient client{makeTransport(), clock};
  models::ImageStore images{client};
  QString settingsFile = QString::fromStdString((lib.dir.path() / "vellora.conf").string());
  QSettings settings{settingsFile, QSettings::IniFormat};
  KeptFiles kept;
  std::vector<std::pair<std::string, std::string>>& saved = kept.files;
  models::AppModel app{client, images, settings};
  models::EditorModel editor{clock, kept};

  EditorStack() {
    lib.backend->start();
    makeSet("a");
    makeSet("b");
    settings.setValue("active.set", "a");
    app.reconnect();
    settle();
    app.setActivePage(std::string("home"));
    settle();
    load();
  }

  models::APITransport makeTransport() {
    auto t = fake.transport();
    t.start = [this] { lib.backend->start(); };
    return t;
  }
  void setIntercept(decltype(intercept) f) {
    std::lock_guard g(interceptMutex);
    intercept = std::move(f);
  }
  void makeSet(const std::string& id) {
    lib.backend->db().updateSet({id, "Set " + id, std::nullopt, std::nullopt});
    EXPECT_EQ(call(*lib.backend, "POST", "/api/pages?set=" + id,
                   R"({"pages":[{"id":"home","label":"Home","source":"upload"},)"
                   R"({"id":"stats","label":"Stats","source":"upload"},)"
                   R"({"id":"more","label":"More","source":"upload"}]})")
                  .status,
              200);
  }
  bool settle() {
    return spinUntil([&] { return client.pendingCalls() == 0; });
  }
  void load() {
    bool set = false, page = false;
    editor.loadSet(app, [&] { set = true; });
    spinUntil([&] { return set; });
    editor.loadPage(app, [&] { page = true; });
    spinUntil([&] { return page; });
  }
  void switchSet(const std::string& id) {
    app.setActiveSet(id);
    settle();
    app.setActivePage(std::string("home"));
    settle();
    load();
  }
  // Time passes in steps, letting answers land between them.
  void wait(int ms) {
    for (int t = 0; t < ms; t += 50) {
      clock.advance(std::chrono::milliseconds(std::min(50, ms - t)));
      settle();
    }
  }
  int posts(const std::string& path) const {
    int n = 0;
    for (const auto& r : fake.requests())
      n += r.method == "POST" && r.path == path;
    return n;
  }
  JSONValue stored(const std::string& what, const std::string& set) {
    return bodyJSON(call(*lib.backend, "GET", "/api/" + what + "?set=" + set));
  }
  void storeStyles(const std::string& set, const std::string& json) {
    ASSERT_EQ(call(*lib.backend, "POST", "/api/styles?set=" + set, json).status, 200);
  }
};

}  // namespace vells::testing
