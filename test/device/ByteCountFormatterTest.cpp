#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "device/ByteCountFormatter.h"

namespace quorvel {
namespace {

const ByteCountFormatter kEnglish({".", ","});
// French groups with a narrow no-break space, a separator longer than one byte.
const ByteCountFormatter kFrench({",", "\u202f"});

TEST(ByteCountFormatter, GigabytesWithUpToTwoDecimalsAndGrouping) {
  struct Case {
    std::int64_t bytes;
    const char *english, *french;
  };
  const Case cases[] = {
      {0, "0 GB", "0 GB"},
      // Rounded to the nearest hundredth; trailing zeros are dropped, leading ones are not.
      {63'856'000'000, "63.86 GB", "63,86 GB"},
      {63'800'000'000, "63.8 GB", "63,8 GB"},
      {50'000'000, "0.05 GB", "0,05 GB"},
      {63'999'000'000, "64 GB", "64 GB"},
      {4'000'000, "0 GB", "0 GB"},
      {999'000'000'000, "999 GB", "999 GB"},
      {1'000'000'000'000, "1,000 GB", "1\u202f000 GB"},
      {12'345'678'900'000'000, "12,345,678.9 GB", "12\u202f345\u202f678,9 GB"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(kEnglish.gigabytes(c.bytes), c.english) << c.bytes;
    EXPECT_EQ(kFrench.gigabytes(c.bytes), c.french) << c.bytes;
  }
}

TEST(ByteCountFormatter, MegabytesAreWholeAndGrouped) {
  struct Case {
    std::int64_t bytes;
    const char *english, *french;
  };
  const Case cases[] = {
      {400'000, "0 MB", "0 MB"},
      {999'999, "1 MB", "1 MB"},
      {5'899'600'000, "5,900 MB", "5\u202f900 MB"},
      {1'234'567'890'123, "1,234,568 MB", "1\u202f234\u202f568 MB"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(kEnglish.megabytes(c.bytes), c.english) << c.bytes;
    EXPECT_EQ(kFrench.megabytes(c.bytes), c.french) << c.bytes;
  }
}

TEST(ByteCountFormatter, ParseReadsNumbersInItsOwnSeparatorsOnly) {
  struct Case {
    const ByteCountFormatter& formatter;
    const char* text;
    std::optional<double> value;
  };
  const std::vector<Case> cases = {
      {kEnglish, "64", 64},
      {kEnglish, "0.05", 0.05},
      {kEnglish, "12,345,678.9", 12345678.9},
      {kEnglish, "-2.5", -2.5},
      {kFrench, "1\u202f234,5", 1234.5},
      {kEnglish, "", std::nullopt},
      {kEnglish, ".", std::nullopt},
      {kEnglish, "-", std::nullopt},
      {kEnglish, "63.86GB", std::nullopt},
      {kEnglish, "63.", std::nullopt},
      {kEnglish, "6.3.8", std::nullopt},
      {kEnglish, "1.234,5", std::nullopt},
      {kEnglish, ",5", std::nullopt},
      {kEnglish, " 64", std::nullopt},
      {kEnglish, "1e3", std::nullopt},
      {kEnglish, "+5", std::nullopt},
      {kFrench, "63,86,1", std::nullopt},
  };
  for (const auto& c : cases) {
    auto parsed = c.formatter.parse(c.text);
    EXPECT_EQ(parsed.has_value(), c.value.has_value()) << '"' << c.text << '"';
    if (parsed && c.value) {
      EXPECT_DOUBLE_EQ(*parsed, *c.value) << '"' << c.text << '"';
    }
  }
}

TEST(ByteCountFormatter, CurrentSeparatorsOfTheCLocale) {
  // The test program runs in the C locale.
  EXPECT_EQ(ByteCountFormatter().gigabytes(1'234'560'000'000), "1,234.56 GB");
}

}  // namespace
}  // namespace quorvel
