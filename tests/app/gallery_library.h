#pragma once

// A real library on the shipped core script and the real browser, with the
// sample app's set, and the models the gallery view needs, built the way
// main() builds them. For the gallery's tests and its screenshots.
#include <QSettings>
#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "backend/test_support.h"
#include "capture/screen_import_model.h"
#include "cli/demo_set.h"
#include "models/app_model.h"
#include "models/fake_transport.h"
#include "models/file_saver.h"
#include "models/gallery_model.h"
#include "models/image_store.h"
#include "routes/local_service.h"

namespace vells::testing {

struct GalleryLibrary {
  TempDir dir;
  routes::LocalService service;
  // Thumbnails of this page fail to load, as a broken cache file would.
  std::shared_ptr<std::atomic<bool>> breakThumbnails = std::make_shared<std::atomic<bool>>(false);
  std::string brokenPage = "focus";

  GalleryLibrary(const std::vector<std::string>& locales, const std::vector<std::string>& pages,
                 DeviceOS os = DeviceOS::ios, ThemeName theme = ThemeName::light)
      : service(routes::makeLocalService(
            {backend::LocalLibrary(dir.path() / "lib"), fs::path(VELLS_SOURCE_RESOURCES), 2})) {
    auto& backend = *service.backend;
    const std::string sampleApp = *backend.catalog().pagesAppId();
    backend.db().saveApp({sampleApp, {{"name", "Tempo"}}, 1});
    backend.db().updateSet({"default", "Tempo launch", sampleApp, locales});
    std::string list;
    for (const auto& p : pages)
      list += std::string(list.empty() ? "" : ",") + R"({"id":")" + p + R"("})";
    call(backend, "POST", "/api/pages?set=default", R"({"pages":[)" + list + "]}");
    call(backend, "POST", "/api/texts?set=default", cli::demoTexts().dump());
    call(backend, "POST", "/api/styles?set=default", cli::demoStyles().dump());
    settings.setValue("active.app", QString::fromStdString(sampleApp));
    settings.setValue("active.set", "default");
    app.setOs(os);
    app.setTheme(theme);
  }

  models::APITransport transport() {
    models::APITransport t = models::APITransport::local(*service.backend);
    t.handle = [inner = t.handle, broken = breakThumbnails,
                page = brokenPage](const backend::Request& r) {
      if (*broken && r.path == "/composite" && r.param("thumb") == "1" && r.param("page") == page)
        return backend::Response::text("The render file is damaged.", 500);
      return inner(r);
    };
    return t;
  }
  capture::BackendCall backendCall() {
    return
        [backend = service.backend.get()](const backend::Request& r) { return backend->handle(r); };
  }

  QSettings settings{QString::fromStdString((dir.path() / "vellora.conf").string()),
                     QSettings::IniFormat};
  models::QtTimerClock clock;
  models::APIClient client{transport(), clock};
  models::ImageStore images{client};
  models::AppModel app{client, images, settings};

  bool connect() {
    app.reconnect();
    return spinUntil(
               [&] { return app.connection().kind != models::ConnectionState::Kind::connecting; },
               60000) &&
           app.connection().kind == models::ConnectionState::Kind::online;
  }
};

}  // namespace vells::testing
