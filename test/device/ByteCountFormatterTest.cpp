#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "device/ByteCountFormatter.h"

namespace quorvel {
namespace {

const ByteCountFormatter::Separators kEnglish{".", ","};
const ByteCountFormatter::Separators kEuropean{",", "."};
// French groups with a narrow no-break space, a separator longer than one byte.
const ByteCountFormatter::Separators kFrench{",", "\u202f"};

struct Formatted {
  std::int64_t bytes;
  const char* english;
  const char* european;
  const char* french;
};

TEST(ByteCountFormatter, GigabytesWithUpToTwoDecimalsAndGrouping) {
  const Formatted cases[] = {
      {0, "0 GB", "0 GB", "0 GB"},
      {63'860'000'000, "63.86 GB", "63,86 GB", "63,86 GB"},
      {64'000'000'000, "64 GB", "64 GB", "64 GB"},
      {64'010'000'000, "64.01 GB", "64,01 GB", "64,01 GB"},
      // Trailing zeros are dropped, leading ones are not.
      {63'800'000'000, "63.8 GB", "63,8 GB", "63,8 GB"},
      {50'000'000, "0.05 GB", "0,05 GB", "0,05 GB"},
      {1'500'000'000, "1.5 GB", "1,5 GB", "1,5 GB"},
      // Rounded to the nearest hundredth.
      {63'856'000'000, "63.86 GB", "63,86 GB", "63,86 GB"},
      {63'999'000'000, "64 GB", "64 GB", "64 GB"},
      {4'000'000, "0 GB", "0 GB", "0 GB"},
      {1'234'500'000'000, "1,234.5 GB", "1.234,5 GB", "1\u202f234,5 GB"},
      {999'000'000'000, "999 GB", "999 GB", "999 GB"},
      {1'000'000'000'000, "1,000 GB", "1.000 GB", "1\u202f000 GB"},
      {12'345'678'900'000'000, "12,345,678.9 GB", "12.345.678,9 GB", "12\u202f345\u202f678,9 GB"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(ByteCountFormatter(kEnglish).gigabytes(c.bytes), c.english) << c.bytes;
    EXPECT_EQ(ByteCountFormatter(kEuropean).gigabytes(c.bytes), c.european) << c.bytes;
    EXPECT_EQ(ByteCountFormatter(kFrench).gigabytes(c.bytes), c.french) << c.bytes;
  }
}

TEST(ByteCountFormatter, MegabytesAreWholeAndGrouped) {
  const Formatted cases[] = {
      {0, "0 MB", "0 MB", "0 MB"},
      {999'999, "1 MB", "1 MB", "1 MB"},
      {400'000, "0 MB", "0 MB", "0 MB"},
      {999'000'000, "999 MB", "999 MB", "999 MB"},
      {5'900'000'000, "5,900 MB", "5.900 MB", "5\u202f900 MB"},
      {5'899'600'000, "5,900 MB", "5.900 MB", "5\u202f900 MB"},
      {1'234'567'890'123, "1,234,568 MB", "1.234.568 MB", "1\u202f234\u202f568 MB"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(ByteCountFormatter(kEnglish).megabytes(c.bytes), c.english) << c.bytes;
    EXPECT_EQ(ByteCountFormatter(kEuropean).megabytes(c.bytes), c.european) << c.bytes;
    EXPECT_EQ(ByteCountFormatter(kFrench).megabytes(c.bytes), c.french) << c.bytes;
  }
}

TEST(ByteCountFormatter, ParseReadsNumbersInItsOwnSeparators) {
  struct Case {
    ByteCountFormatter::Separators separators;
    const char* text;
    std::optional<double> value;
  };
  const std::vector<Case> cases = {
      {kEnglish, "63.86", 63.86},
      {kEnglish, "64", 64},
      {kEnglish, "0", 0},
      {kEnglish, "0.05", 0.05},
      {kEnglish, "1,234.5", 1234.5},
      {kEnglish, "12,345,678.9", 12345678.9},
      {kEnglish, "-2.5", -2.5},
      {kEuropean, "63,86", 63.86},
      {kEuropean, "1.234,5", 1234.5},
      {kFrench, "1\u202f234,5", 1234.5},
      // Garbage, empty and lone separators.
      {kEnglish, "", std::nullopt},
      {kEnglish, ".", std::nullopt},
      {kEnglish, ",", std::nullopt},
      {kEnglish, "-", std::nullopt},
      {kEnglish, "GB", std::nullopt},
      {kEnglish, "63.86GB", std::nullopt},
      {kEnglish, "63.", std::nullopt},
      {kEnglish, "6.3.8", std::nullopt},
      {kEnglish, "1.234,5", std::nullopt},
      {kEnglish, ",5", std::nullopt},
      {kEnglish, " 64", std::nullopt},
      {kEnglish, "64 ", std::nullopt},
      {kEnglish, "1e3", std::nullopt},
      {kEnglish, "+5", std::nullopt},
      {kEnglish, "5-", std::nullopt},
      {kEuropean, ",", std::nullopt},
      {kEuropean, "63,86,1", std::nullopt},
  };
  for (const auto& c : cases) {
    auto parsed = ByteCountFormatter(c.separators).parse(c.text);
    if (c.value) {
      ASSERT_TRUE(parsed) << '"' << c.text << '"';
      EXPECT_DOUBLE_EQ(*parsed, *c.value) << '"' << c.text << '"';
    } else {
      EXPECT_FALSE(parsed) << '"' << c.text << "\" parsed as " << parsed.value_or(0);
    }
  }
}

TEST(ByteCountFormatter, CurrentSeparatorsOfTheCLocale) {
  // The test program runs in the C locale.
  auto separators = ByteCountFormatter::current();
  EXPECT_EQ(separators.decimal, ".");
  EXPECT_EQ(separators.grouping, ",");
  EXPECT_EQ(ByteCountFormatter().gigabytes(1'234'560'000'000), "1,234.56 GB");
}

}  // namespace
}  // namespace quorvel
