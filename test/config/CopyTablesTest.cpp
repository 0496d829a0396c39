#include <gtest/gtest.h>

#include <algorithm>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "config/EnglishCopy.h"
#include "config/PortugueseCopy.h"

namespace {

using quorvel::EnglishCopy;
using quorvel::PortugueseCopy;

// The "%N$@" tokens of a text, sorted, so that reordered placeholders still compare equal.
std::multiset<std::string> placeholders(const std::string& text) {
  static const std::regex token("%[0-9]\\$@");
  return {std::sregex_token_iterator(text.begin(), text.end(), token), {}};
}

TEST(CopyTablesTest, PortugueseTranslatesEveryKeyKeepingPlaceholdersAndLineBreaks) {
  const auto& en = EnglishCopy::table();
  const auto& pt = PortugueseCopy::table();
  EXPECT_EQ(en.size(), pt.size());
  for (const auto& [key, english] : en) {
    ASSERT_TRUE(pt.contains(key)) << key;
    const std::string& portuguese = pt.at(key);
    EXPECT_FALSE(english.empty() || portuguese.empty()) << key;
    if (key != "ok") {
      EXPECT_NE(portuguese, english) << key;
    }
    EXPECT_EQ(placeholders(english), placeholders(portuguese)) << key;
    EXPECT_EQ(std::count(english.begin(), english.end(), '\n'),
              std::count(portuguese.begin(), portuguese.end(), '\n'))
        << key;
    // An escaped "\n" would show as two characters on screen.
    EXPECT_EQ((english + portuguese).find('\\'), std::string::npos) << key;
    for (const char* brazilian : {"tela", "celular", "você", "arquivo"}) {
      EXPECT_EQ(portuguese.find(brazilian), std::string::npos) << key << " uses " << brazilian;
    }
  }
  EXPECT_EQ(placeholders(pt.at("imei_add_screen_description")).size(), 2u);
}

}  // namespace
