#include <gtest/gtest.h>
#include <stdlib.h>

#include <clocale>

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  // Death tests fork; the thread-safe style re-executes, which keeps sanitizers happy.
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  std::setlocale(LC_ALL, "C");
  // Nothing reaches the machine's system bus: tests that need one start their own.
  ::setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/quorvel-tests-have-no-system-bus", 1);
  return RUN_ALL_TESTS();
}
