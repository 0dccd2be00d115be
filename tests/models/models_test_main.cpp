// GoogleTest inside a Qt application object, so models can post to the main
// thread and tests can spin the event loop until an answer arrives.
#include <gtest/gtest.h>

#include <QCoreApplication>

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  QCoreApplication app(argc, argv);
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
