#include <gtest/gtest.h>

#include <clocale>

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  // Death tests fork; the thread-safe style re-executes, which keeps sanitizers happy.
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  std::setlocale(LC_ALL, "C");
  return RUN_ALL_TESTS();
}
