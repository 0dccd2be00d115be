// Writes the shell's screenshots: the main window connecting, offline and
// online (gallery and editor, at the default and the smallest size), and the
// settings window, in the scheme of $VELLS_APPEARANCE.
//   shell_screenshots OUTPUT_DIR LIBRARY [light|dark]
#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QThread>
#include <cstdio>
#include <fstream>

#include "app/app_look.h"
#include "app/application_parts.h"
#include "app/main_window.h"
#include "app/settings_window.h"
#include "assistants/tool_finder.h"
#include "models/fake_transport.h"

namespace {

using namespace vells;
using vells::testing::spinUntil;

void spin(int ms) {
  QElapsedTimer t;
  t.start();
  while (t.elapsed() < ms) {
    QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    QThread::msleep(5);
  }
}

void save(QWidget& w, const QString& dir, const QString& name) {
  const QString path = dir + QLatin1Char('/') + name + QStringLiteral(".png");
  if (!w.grab().save(path)) std::fprintf(stderr, "couldn't write %s\n", qPrintable(path));
  std::printf("%s\n", qPrintable(path));
}

routes::LocalServiceOptions at(const QString& library) {
  routes::LocalServiceOptions options;
  options.library = backend::LocalLibrary(library.toStdString());
  return options;
}

}  // namespace

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  if (argc < 3) {
    std::fprintf(stderr, "usage: shell_screenshots OUTPUT_DIR LIBRARY [light|dark]\n");
    return 2;
  }
  const QString out = QString::fromLocal8Bit(argv[1]);
  const QString library = QString::fromLocal8Bit(argv[2]);
  const bool dark = argc > 3 && std::string(argv[3]) == "dark";
  const QString scheme = dark ? QStringLiteral("dark") : QStringLiteral("light");
  app::AppLook::forScheme(dark ? app::AppLook::Scheme::dark : app::AppLook::Scheme::light)
      .apply(application);
  QDir().mkpath(out);
  QTemporaryDir temp;

  {
    // A library path that is a file can't be opened.
    const QString blocked = temp.filePath(QStringLiteral("blocked"));
    std::ofstream(blocked.toStdString()) << "not a folder";
    app::ApplicationParts parts(temp.filePath(QStringLiteral("offline.conf")), at(blocked));
    app::MainWindow window(parts.app, parts.editor, parts.canvas, parts.gallery, parts.images,
                           parts.settings);
    window.show();
    spin(200);
    save(window, out, QStringLiteral("main-connecting-") + scheme);
    parts.app.reconnect();
    spinUntil(
        [&] { return parts.app.connection().kind != models::ConnectionState::Kind::connecting; },
        10000);
    spin(200);
    save(window, out, QStringLiteral("main-offline-") + scheme);
  }

  {
    app::ApplicationParts parts(temp.filePath(QStringLiteral("online.conf")), at(library));
    parts.app.setWorkspace(models::Workspace::gallery);
    parts.app.setOs(DeviceOS::ios);
    parts.app.setTheme(dark ? ThemeName::dark : ThemeName::light);
    app::MainWindow window(parts.app, parts.editor, parts.canvas, parts.gallery, parts.images,
                           parts.settings);
    window.show();
    parts.app.reconnect();
    spinUntil([&] { return parts.app.connection().kind == models::ConnectionState::Kind::online; },
              30000);
    spin(1500);
    save(window, out, QStringLiteral("main-gallery-") + scheme);
    parts.app.setWorkspace(models::Workspace::editor);
    spin(1500);
    save(window, out, QStringLiteral("main-editor-") + scheme);
    window.resize(app::MainWindow::minimumWindowSize);
    spin(500);
    save(window, out, QStringLiteral("main-editor-small-") + scheme);

    app::SettingsWindow settings(parts.libraryPath, parts.settings,
                                 assistants::ToolFinder(assistants::LoginShell::forCurrentUser(),
                                                        assistants::ToolFinder::defaultOptions()));
    settings.show();
    spin(300);
    save(settings, out, QStringLiteral("settings-looking-") + scheme);
    spinUntil([&] { return !settings.looking(); }, 30000);
    spin(200);
    save(settings, out, QStringLiteral("settings-") + scheme);
  }
  return 0;
}
