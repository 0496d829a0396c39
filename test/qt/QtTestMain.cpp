#include <gtest/gtest.h>

#include <QGuiApplication>

int main(int argc, char** argv) {
  // Offscreen unless told otherwise: the suite must run without a display.
  if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  QGuiApplication application(argc, argv);
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
