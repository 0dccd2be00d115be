#include "app/application_parts.h"

#include "models/api_transport.h"
#include "rendering/core_js.h"

namespace vells::app {

namespace {

// The preview's page comes from the same resource folder as the core script.
preview::PreviewEngine::Options previewOptions() {
  preview::PreviewEngine::Options options;
  options.resourceDir = rendering::CoreJS::resourceDir().value_or(std::filesystem::path());
  return options;
}

}  // namespace

ApplicationParts::ApplicationParts(const QString& settingsFile, routes::LocalServiceOptions options)
    : libraryPath(QString::fromStdString(options.library.root().string())),
      settings(settingsFile, QSettings::IniFormat),
      service(routes::makeLocalService(std::move(options))),
      client(models::APITransport::local(*service.backend), clock),
      images(client),
      app(client, images, settings),
      editor(clock, saver),
      canvas(editor, app),
      gallery(app, clock, saver),
      gestures(canvas),
      previewEngine(*service.backend, previewOptions()),
      preview(previewEngine, canvas),
      deviceCapture(capture::DeviceTools::forThisComputer()),
      captureModel(deviceCapture),
      importer([backend = service.backend.get()](const backend::Request& request) {
        return backend->handle(request);
      }),
      loginShell(assistants::LoginShell::forCurrentUser()),
      toolFinder(loginShell, assistants::ToolFinder::defaultOptions()),
      toolPreference([this] { return settings.value(QStringLiteral("generate.ai")).toString(); },
                     [this](assistants::AITool tool) { return toolFinder.binary(tool); }),
      chats(canvas, assistants::ChatTools{
                        [this] { return toolPreference.preferred(); },
                        [this] { return loginShell.path(); },
                    }) {
  fonts.load(client);
}

}  // namespace vells::app
