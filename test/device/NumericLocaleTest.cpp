#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <string>

#include "device/ByteCountFormatter.h"
#include "support/JsonText.h"
#include "support/TemporaryTree.h"

namespace {

using namespace quorvel;

// Numbers under a real comma-decimal locale, as a host or quorvel-device-info may set one.
class NumericLocaleTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string command = "localedef -i de_DE -f UTF-8 '" + (tree.path() / "de_DE.UTF-8").string() +
                          "' >/dev/null 2>&1";
    ASSERT_EQ(std::system(command.c_str()), 0) << "localedef (package locales) is needed";
    ::setenv("LOCPATH", tree.path().c_str(), 1);
    ASSERT_TRUE(std::setlocale(LC_NUMERIC, "de_DE.UTF-8"));
  }
  void TearDown() override {
    std::setlocale(LC_NUMERIC, "C");
    ::unsetenv("LOCPATH");
  }
  quorvel::testing::TemporaryTree tree{"quorvel-locale"};
};

TEST_F(NumericLocaleTest, FloatsStayExactAndByteCountsUseTheLocalesSeparators) {
  EXPECT_EQ(floatValue(0.8f).dump(), "0.8");
  EXPECT_EQ(floatValue(-1.0f).dump(), "-1.0");
  ByteCountFormatter bytes;
  EXPECT_EQ(bytes.gigabytes(1'234'560'000'000), "1.234,56 GB");
  EXPECT_EQ(bytes.megabytes(5'900'000'000), "5.900 MB");
  EXPECT_EQ(bytes.parse("1.234,56"), 1234.56);
}

}  // namespace
