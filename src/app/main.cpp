#include <QApplication>
#include <QIcon>
#include <QTimer>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "app/app_look.h"
#include "app/application_parts.h"
#include "app/debug_keys.h"
#include "app/editor_view.h"
#include "app/main_window.h"
#include "app/settings_window.h"
#include "app/sidebar_view.h"
#include "app/startup_trace.h"
#include "assistants/tool_finder.h"
#include "models/settings_location.h"

int main(int argc, char** argv) {
  using namespace vells;
  QApplication application(argc, argv);
  QApplication::setApplicationName(QStringLiteral("Vellora"));
  QApplication::setApplicationDisplayName(QStringLiteral("Vellora"));
  QApplication::setDesktopFileName(QStringLiteral("vellora"));
  QApplication::setWindowIcon(app::AppLook::applicationIcon());
  app::AppLook::forScheme(app::AppLook::systemScheme()).apply(application);

  app::ApplicationParts parts(models::settingsPath());
  const app::DebugKeys debug = app::DebugKeys::read(parts.settings);

  app::MainWindow window(parts.app, parts.editor, parts.canvas, parts.gallery, parts.images,
                         parts.settings);
  parts.saver.setWindow(&window);
  window.editorView()->setDebugSelection(debug.select, debug.edit);
  window.sidebar()->setDebugAddAppStep(debug.addAppStep);

  app::SettingsWindow settingsWindow(
      parts.libraryPath, parts.settings,
      assistants::ToolFinder(assistants::LoginShell::forCurrentUser(),
                             assistants::ToolFinder::defaultOptions()));
  QObject::connect(&window, &app::MainWindow::settingsRequested, &settingsWindow, [&] {
    settingsWindow.show();
    settingsWindow.raise();
    settingsWindow.activateWindow();
  });

  std::unique_ptr<app::StartupTrace> trace;
  if (const char* t = std::getenv("VELLS_STARTUP_TRACE"); t && *t) {
    trace = std::make_unique<app::StartupTrace>(window, parts.app, parts.gallery, parts.images,
                                                std::strcmp(t, "exit") == 0);
  }

  window.show();
  // The library opens once the window is up, so its first frame never waits
  // for the database or the script.
  QTimer::singleShot(0, &parts.app, [&parts] { parts.app.reconnect(); });
  const int status = QApplication::exec();
  trace.reset();
  return status;
}
