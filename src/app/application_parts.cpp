#include "app/application_parts.h"

#include "models/api_transport.h"

namespace vells::app {

ApplicationParts::ApplicationParts(const QString& settingsFile, routes::LocalServiceOptions options)
    : libraryPath(QString::fromStdString(options.library.root().string())),
      settings(settingsFile, QSettings::IniFormat),
      service(routes::makeLocalService(std::move(options))),
      client(models::APITransport::local(*service.backend), clock),
      images(client),
      app(client, images, settings),
      editor(clock, saver),
      canvas(editor, app),
      gallery(app, clock, saver) {}

}  // namespace vells::app
