#include <QApplication>
#include <QIcon>
#include <QLabel>
#include <QTimer>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "app/app_look.h"
#include "app/application_parts.h"
#include "app/canvas_view.h"
#include "app/chat_panel.h"
#include "app/debug_keys.h"
#include "app/editor_view.h"
#include "app/gallery_view.h"
#include "app/inspector_view.h"
#include "app/main_window.h"
#include "app/screen_drop_target.h"
#include "app/settings_window.h"
#include "app/sheet_presenter.h"
#include "app/shell_commands.h"
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

  // Each area of the window is built from the models it presents; the window
  // and its editor view own them from here on.
  auto* gallery =
      new app::GalleryView(parts.gallery, parts.app, parts.images, parts.importer, &window);
  window.setGallery(gallery);

  auto* canvas =
      new app::CanvasView(parts.canvas, parts.gestures, parts.editor, parts.fonts, &window);
  window.editorView()->setCanvas(canvas);
  QObject::connect(&parts.preview, &preview::PreviewModel::frameChanged, canvas,
                   [&parts, canvas] { canvas->setFrame(parts.preview.frame()); });
  QObject::connect(&parts.preview, &preview::PreviewModel::restartingChanged, canvas,
                   [&parts, canvas] { canvas->setRestarting(parts.preview.restarting()); });
  QObject::connect(canvas, &app::CanvasView::boxChanged, &parts.preview,
                   [&parts](QSizeF box, qreal ratio) {
                     parts.preview.setDevicePixelRatio(ratio);
                     parts.preview.setBoxSize(box);
                   });

  auto* inspector = new app::InspectorView(parts.editor, parts.app, parts.canvas, parts.images,
                                           parts.settings, &window);
  window.editorView()->setInspector(inspector);
  QObject::connect(window.commands(), &app::ShellCommands::stickersRequested, inspector,
                   &app::InspectorView::showStickers);

  auto activeChat = [&parts]() -> assistants::EditorChat& {
    return parts.chats.chat(QString::fromStdString(parts.app.activeSet()));
  };
  auto* chat = new app::ChatPanel(activeChat(), &window);
  window.editorView()->setChatPanel(chat);
  QObject::connect(&parts.app, &models::AppModel::activeSetChanged, chat,
                   [chat, activeChat] { chat->setChat(activeChat()); });

  app::SheetPresenter sheets(
      parts.app, parts.editor, parts.images, parts.captureModel,
      [&parts] { return parts.toolPreference.preferred().has_value(); }, &window);
  auto* sidebarDrop = new app::ScreenDropTarget(parts.app, parts.importer, window.sidebar());
  QObject::connect(sidebarDrop, &app::ScreenDropTarget::reported, window.editorView()->statusLine(),
                   &QLabel::setText);

  window.editorView()->setDebugSelection(debug.select, debug.edit);
  window.sidebar()->setDebugAddAppStep(debug.addAppStep);

  app::SettingsWindow settingsWindow(parts.libraryPath, parts.settings, parts.toolFinder);
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

  // A scripted run's picture of the whole window: VELLS_SCREENSHOT=FILE.png
  // grabs it once VELLS_SCREENSHOT_AFTER milliseconds (default 6000) have
  // passed, then quits. The docs' pictures of the app are taken this way.
  if (const char* shot = std::getenv("VELLS_SCREENSHOT"); shot && *shot) {
    const char* after = std::getenv("VELLS_SCREENSHOT_AFTER");
    const int delay = after && *after ? std::atoi(after) : 6000;
    QTimer::singleShot(delay, &window, [&window, file = QString::fromLocal8Bit(shot)] {
      if (!window.grab().save(file)) std::fprintf(stderr, "Couldn't write %s\n", qPrintable(file));
      QApplication::quit();
    });
  }

  window.show();
  // The library opens once the window is up, so its first frame never waits
  // for the database or the script.
  QTimer::singleShot(0, &parts.app, [&parts] { parts.app.reconnect(); });
  const int status = QApplication::exec();
  trace.reset();
  return status;
}
