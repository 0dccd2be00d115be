// GoogleTest inside a Qt GUI application object: the editor's tests load
// fonts and draw emoji, which need the GUI side of Qt (offscreen).
#include <gtest/gtest.h>

#include <QGuiApplication>

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  QGuiApplication app(argc, argv);
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
