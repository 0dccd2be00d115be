#pragma once

// The whole window on a real temporary library: the models the program
// builds, the main window over them, and helpers to seed apps, sets and pages.
#include <QApplication>
#include <QSettings>
#include <filesystem>
#include <fstream>
#include <memory>

#include "app/main_window.h"
#include "models/app_model.h"
#include "models/canvas_model.h"
#include "models/editor_fixture.h"
#include "models/gallery_model.h"

namespace vells::testing {

struct ShellStack {
  ModelLibrary lib;
  FakeTransport fake{[this](const backend::Request& r) { return lib.backend->handle(r); }};
  ManualClock clock;
  models::APIClient client{makeTransport(), clock};
  models::ImageStore images{client};
  QString settingsFile = QString::fromStdString((lib.dir.path() / "vellora.conf").string());
  QSettings settings{settingsFile, QSettings::IniFormat};
  // Preferences the models read when they are made.
  bool seeded;
  KeptFiles kept;
  models::AppModel app{client, images, settings};
  models::EditorModel editor{clock, kept};
  models::CanvasModel canvas{editor, app};
  models::GalleryModel gallery{app, clock, kept};
  std::unique_ptr<app::MainWindow> window;
  // While set, opening the library fails with these words before it is tried.
  std::optional<std::string> openFailure;

  explicit ShellStack(std::initializer_list<std::pair<const char*, QVariant>> seeds = {})
      : seeded(seed(settings, seeds)) {}

  static bool seed(QSettings& settings,
                   std::initializer_list<std::pair<const char*, QVariant>> seeds) {
    for (const auto& [key, value] : seeds)
      settings.setValue(key, value);
    return true;
  }
  models::APITransport makeTransport() {
    auto t = fake.transport();
    t.start = [this] {
      if (openFailure) throw std::runtime_error(*openFailure);
      lib.backend->start();
    };
    return t;
  }
  std::filesystem::path root() const { return lib.dir.path() / "lib"; }

  // The library folder can't be made: a plain file stands in its place.
  void blockLibrary() { std::ofstream(root()) << "not a folder"; }
  void unblockLibrary() { std::filesystem::remove(root()); }

  // Seeds go straight into the library, before or after the start.
  void makeSet(const std::string& id, std::optional<std::string> appId, int pages = 2,
               std::optional<std::vector<std::string>> locales = std::nullopt) {
    lib.backend->start();
    lib.backend->db().updateSet({id, "Set " + id, std::move(appId), std::move(locales)});
    std::string list;
    for (int i = 1; i <= pages; ++i) {
      if (!list.empty()) list += ",";
      list += R"({"id":"p)" + std::to_string(i) + R"(","label":"Page )" + std::to_string(i) +
              R"(","source":"upload"})";
    }
    EXPECT_EQ(
        call(*lib.backend, "POST", "/api/pages?set=" + id, R"({"pages":[)" + list + "]}").status,
        200);
  }
  // A listed app has a numeric id; `screenshots` live store pictures.
  void makeApp(const std::string& id, const std::string& name, int screenshots = 0) {
    lib.backend->start();
    JSONValue::Array shots;
    for (int i = 0; i < screenshots; ++i) {
      shots.push_back(JSONValue("https://example.com/s" + std::to_string(i) + "/392x696bb.png"));
    }
    lib.backend->db().saveApp(
        {id, JSONValue::Object{{"name", name}, {"screenshotUrls", shots}}, 1});
  }

  bool settle() {
    return spinUntil([&] { return client.pendingCalls() == 0; });
  }
  app::MainWindow& open() {
    window = std::make_unique<app::MainWindow>(app, editor, canvas, gallery, images, settings);
    window->show();
    app.reconnect();
    settle();
    return *window;
  }
};

}  // namespace vells::testing
