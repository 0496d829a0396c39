#include <gtest/gtest.h>

#include <clocale>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include "device/ByteCountFormatter.h"
#include "support/JsonText.h"
#include "support/TemporaryTree.h"

namespace quorvel {
namespace {

const ByteCountFormatter kEnglish({".", ","});
// French groups with a narrow no-break space, a separator longer than one byte.
const ByteCountFormatter kFrench({",", "\u202f"});

TEST(ByteCountFormatter, GigabytesToTwoDecimalsAndWholeMegabytesGrouped) {
  struct Case {
    std::int64_t bytes;
    bool giga;
    const char *english, *french;
  };
  const Case cases[] = {
      // Rounded to the nearest hundredth; trailing zeros are dropped, leading ones are not.
      {63'856'000'000, true, "63.86 GB", "63,86 GB"},
      {63'800'000'000, true, "63.8 GB", "63,8 GB"},
      {50'000'000, true, "0.05 GB", "0,05 GB"},
      {63'999'000'000, true, "64 GB", "64 GB"},
      {12'345'678'900'000'000, true, "12,345,678.9 GB", "12\u202f345\u202f678,9 GB"},
      {999'999, false, "1 MB", "1 MB"},
      {1'234'567'890'123, false, "1,234,568 MB", "1\u202f234\u202f568 MB"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.giga ? kEnglish.gigabytes(c.bytes) : kEnglish.megabytes(c.bytes), c.english);
    EXPECT_EQ(c.giga ? kFrench.gigabytes(c.bytes) : kFrench.megabytes(c.bytes), c.french);
  }
}

TEST(ByteCountFormatter, ParseReadsNumbersInItsOwnSeparatorsOnly) {
  EXPECT_DOUBLE_EQ(kEnglish.parse("12,345,678.9").value_or(0), 12345678.9);
  EXPECT_DOUBLE_EQ(kEnglish.parse("-2.5").value_or(0), -2.5);
  EXPECT_DOUBLE_EQ(kFrench.parse("1\u202f234,5").value_or(0), 1234.5);
  for (const char* bad : {"", ".", "63.86GB", "63.", "6.3.8", "1.234,5", " 64", "1e3", "+5"}) {
    EXPECT_EQ(kEnglish.parse(bad), std::nullopt) << '"' << bad << '"';
  }
}

// Numbers under a real comma-decimal locale, as a host or quorvel-device-info may set one.
TEST(NumericLocale, FloatsStayExactAndByteCountsUseTheLocalesSeparators) {
  testing::TemporaryTree tree{"quorvel-locale"};
  std::string command = "localedef -i de_DE -f UTF-8 '" + (tree.path() / "de_DE.UTF-8").string() +
                        "' >/dev/null 2>&1";
  ASSERT_EQ(std::system(command.c_str()), 0) << "localedef (package locales) is needed";
  ::setenv("LOCPATH", tree.path().c_str(), 1);
  ASSERT_TRUE(std::setlocale(LC_NUMERIC, "de_DE.UTF-8"));
  EXPECT_EQ(floatValue(0.8f).dump(), "0.8");
  ByteCountFormatter bytes;
  EXPECT_EQ(bytes.gigabytes(1'234'560'000'000), "1.234,56 GB");
  EXPECT_EQ(bytes.parse("1.234,56"), 1234.56);
  std::setlocale(LC_NUMERIC, "C");
  ::unsetenv("LOCPATH");
}

}  // namespace
}  // namespace quorvel
