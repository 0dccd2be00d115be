// GoogleTest inside a Qt application object, so models can post to the main
// thread and tests can spin the event loop until an answer arrives. The
// program picks the kind of object: core for models and child processes, GUI
// for fonts, pictures and emoji, widgets for the application's views. All of
// them run on the offscreen platform, so no test needs a display.
#include <gtest/gtest.h>

#if defined(VELLS_TEST_WIDGETS)
#include <QApplication>
using TestApplication = QApplication;
#elif defined(VELLS_TEST_GUI)
#include <QGuiApplication>
using TestApplication = QGuiApplication;
#else
#include <QCoreApplication>
using TestApplication = QCoreApplication;
#endif

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  TestApplication app(argc, argv);
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
