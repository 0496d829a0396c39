#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <optional>
#include <regex>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "config/EnglishCopy.h"
#include "config/PortugueseCopy.h"
#include "quorvel/Customization.h"
#include "quorvel/Localization.h"
#include "quorvel/QuorvelSDK.h"
#include "quorvel/StatusCodes.h"
#include "support/SdkFixture.h"

namespace quorvel {
namespace {

using Copies = std::map<std::string, std::string>;
using LocalizationTest = testing::SdkFixture;

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

TEST_F(LocalizationTest, CopyFollowsTheRunsLanguageUnlessOneIsGivenAndUnknownKeysEchoThemselves) {
  sdk.language = SupportedLanguage::portuguese;
  EXPECT_EQ(Localization::copy("done"), "Terminar");
  EXPECT_EQ(Localization::copy("done", SupportedLanguage::english), "Done");
  EXPECT_EQ(Localization::copy("DONE"), "DONE");
  EXPECT_DEATH(Localization::copy("ok", static_cast<SupportedLanguage>(7)), "language");
  EXPECT_EQ(StatusCodes::getDescription(408), "Invalid error code");
}

TEST(LocalizationFormat, FillsPlaceholdersAndCopiesWhatItCannotFill) {
  const std::vector<std::pair<std::string, const char*>> cases = {
      {Localization::format("%2$@ before %1$@ and %1$@", {"a", "b"}), "b before a and a"},
      {Localization::format("%@ and %@ %@", {"x", "y"}), "x and y %@"},
      {Localization::format("100%% %%1$@ %@", {"a"}), "100% %1$@ a"},
      {Localization::format("%10$@", {"1", "2", "3", "4", "5", "6", "7", "8", "9", "ten"}), "ten"},
      {Localization::format("Test %1$@/%2$@ %0$@", {"2"}), "Test 2/%2$@ %0$@"},
      {Localization::format("50% %1$ %1@ %d", {"a"}), "50% %1$ %1@ %d"},
  };
  for (const auto& [out, expected] : cases) EXPECT_EQ(out, expected);
}

using CustomizationTest = testing::SdkFixture;

TEST_F(CustomizationTest, ThemeIsReadOnceWhenCreatedAndMadeOpaque) {
  Customization before;
  sdk.themeColor = Color{0.8, 0.1, 0.3, 0.5};
  Customization after;
  for (const auto& [c, theme] : {std::pair{&before, Customization::defaultThemeColor()},
                                 std::pair{&after, Color{0.8, 0.1, 0.3, 1}}}) {
    EXPECT_EQ(c->skipTestButtonColor, theme);
    EXPECT_EQ(c->customNavigationBarButtonsTextColor, theme);
    EXPECT_EQ(c->progressBarSelectedColor, theme);
    EXPECT_EQ(c->buttonsStyle.backgroundColor, theme);
    EXPECT_EQ(c->buttonsStyle.foregroundColor, Color::white());
  }
  EXPECT_EQ(sdk.themeColor->alpha, 0.5);  // the host's colour itself is left alone
}

TEST(ColorAndBorder, HexReadsBackWhatItWritesAndCapsulesAreHalfTheHeight) {
  const Color translucent = Color::rgb(11, 123, 251, 128 / 255.0);
  EXPECT_EQ(Color::fromHex(translucent.hex()), translucent);
  EXPECT_EQ(Color::fromHex("#0B7BFB"), Color::rgb(11, 123, 251));
  for (const char* bad : {"", "0b7bfb", "#0b7bf", "#0b7bfg", "#0b7bfb00ff"}) {
    EXPECT_EQ(Color::fromHex(bad), std::nullopt) << bad;
  }
  EXPECT_EQ(makeBorderType(3), std::nullopt);
  EXPECT_DOUBLE_EQ(cornerRadius(BorderType::capsule, 60), 30);
  EXPECT_DOUBLE_EQ(cornerRadius(BorderType::rounded, 44), 5);
}

TEST(CustomizationScreens, FirstExactMatchAndOnlyNonEmptyCopiesOverride) {
  Customization customization;
  customization.customScreens = {
      CustomizableScreen("multi_touch_v2", Copies{{"title", "Touch"}}),
      CustomizableScreen("start_screen", Copies{{"title", ""}, {"Text", "x"}, {"note", " "}}),
      CustomizableScreen("start_screen", Copies{{"title", "Second"}}),
  };
  const CustomizableScreen* start = customization.screen("start_screen");
  ASSERT_EQ(start, &customization.customScreens[1]);
  EXPECT_EQ(customization.screen("Start_Screen"), nullptr);
  EXPECT_EQ(start->getCopyForKey("title", "Default"), "Default");
  EXPECT_EQ(start->getCopyForKey("text", "Default"), "Default");
  EXPECT_EQ(start->getCopyForKey("note", "Default"), " ");
}

}  // namespace
}  // namespace quorvel
