#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "quorvel/Customization.h"
#include "quorvel/Localization.h"
#include "quorvel/QuorvelSDK.h"
#include "quorvel/StatusCodes.h"
#include "support/SdkFixture.h"

namespace quorvel {
namespace {

using Copies = std::map<std::string, std::string>;
using LocalizationTest = testing::SdkFixture;

TEST_F(LocalizationTest, CopyFollowsTheRunsLanguageUnlessOneIsGiven) {
  // A key neither table holds is answered with itself; keys are exact.
  for (const char* key : {"done", "no_such_key", "DONE"}) {
    const std::string english = Localization::copy(key, SupportedLanguage::english);
    const std::string portuguese = Localization::copy(key, SupportedLanguage::portuguese);
    EXPECT_EQ(english, std::string(key) == "done" ? "Done" : key);
    EXPECT_EQ(portuguese, std::string(key) == "done" ? "Terminar" : key);
    sdk.language = SupportedLanguage::english;
    EXPECT_EQ(Localization::copy(key), english) << key;
    sdk.language = SupportedLanguage::portuguese;
    EXPECT_EQ(Localization::copy(key), portuguese) << key;
    EXPECT_EQ(Localization::copy(key, SupportedLanguage::english), english) << key;
  }
}

using LocalizationDeathTest = LocalizationTest;

TEST_F(LocalizationDeathTest, UnsupportedLanguageRawValueIsFatal) {
  EXPECT_DEATH(Localization::copy("ok", static_cast<SupportedLanguage>(7)), "language");
  sdk.language = static_cast<SupportedLanguage>(-1);
  EXPECT_DEATH(Localization::copy("no_such_key"), "language");
}

TEST(LocalizationFormat, FillsPlaceholdersAndCopiesWhatItCannotFill) {
  const std::vector<std::pair<std::string, const char*>> cases = {
      {Localization::format("%2$@ before %1$@", {"a", "b"}), "b before a"},
      {Localization::format("%1$@ and %1$@", {"z"}), "z and z"},
      {Localization::format("%@ and %@", {"x", "y"}), "x and y"},
      {Localization::format("100%% %%1$@ %%@ %@", {"a"}), "100% %1$@ %@ a"},
      {Localization::format("%10$@", {"1", "2", "3", "4", "5", "6", "7", "8", "9", "ten"}), "ten"},
      // A placeholder without its argument stays as it is.
      {Localization::format("Test %1$@/%2$@", {"2"}), "Test 2/%2$@"},
      {Localization::format("%@ %@", {"a"}), "a %@"},
      {Localization::format("%0$@", {"a"}), "%0$@"},
      // Broken or foreign directives are copied.
      {Localization::format("50% %1$ %1@ %d", {"a"}), "50% %1$ %1@ %d"},
  };
  for (const auto& [out, expected] : cases) EXPECT_EQ(out, expected);
}

// --- Customization ---

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
    // Never follows the theme.
    EXPECT_EQ(c->buttonsStyle.foregroundColor, Color::white());
  }
  EXPECT_EQ(Customization::currentThemeColor(), (Color{0.8, 0.1, 0.3, 1}));
  // The host's colour itself is left alone.
  EXPECT_EQ(sdk.themeColor->alpha, 0.5);
}

TEST(ColorHex, ReadsBackWhatItWritesAndRefusesAnythingElse) {
  const Color translucent = Color::rgb(11, 123, 251, 128 / 255.0);
  EXPECT_EQ(Color::fromHex(translucent.hex()), translucent);
  EXPECT_EQ(Color::fromHex("#0B7BFB"), Color::rgb(11, 123, 251));
  for (const char* bad : {"", "#", "0b7bfb", "#0b7bf", "#0b7bfbf", "#0b7bfg", "#0b7bfb00ff"}) {
    EXPECT_EQ(Color::fromHex(bad), std::nullopt) << bad;
  }
}

TEST(BorderType, RawValuesAndCornerRadius) {
  EXPECT_EQ(makeBorderType(0), BorderType::capsule);
  EXPECT_EQ(makeBorderType(1), BorderType::rounded);
  EXPECT_EQ(makeBorderType(2), BorderType::square);
  EXPECT_EQ(makeBorderType(3), std::nullopt);
  EXPECT_EQ(makeBorderType(-1), std::nullopt);
  EXPECT_DOUBLE_EQ(cornerRadius(BorderType::capsule, 44), 22);
  EXPECT_DOUBLE_EQ(cornerRadius(BorderType::capsule, 60), 30);
  EXPECT_DOUBLE_EQ(cornerRadius(BorderType::rounded, 44), 5);
  EXPECT_DOUBLE_EQ(cornerRadius(BorderType::square, 44), 0);
}

TEST_F(CustomizationTest, ScreenOverridesOnlyWhenItsCopyIsPresentAndNotEmpty) {
  const std::vector<std::pair<std::optional<Copies>, const char*>> cases = {
      {std::nullopt, "Device testing"},
      {Copies{{"Title", "keys are exact"}}, "Device testing"},
      {Copies{{"title", ""}}, "Device testing"},
      {Copies{{"title", " "}}, " "},
  };
  for (const auto& [copies, expected] : cases) {
    CustomizableScreen screen("start_screen", copies);
    EXPECT_EQ(screen.getCopyForKey("title", "Device testing"), expected);
  }
}

TEST_F(CustomizationTest, ScreenFindsTheFirstOverrideOfExactlyThatType) {
  Customization customization;
  EXPECT_EQ(customization.screen("start_screen"), nullptr);
  customization.customScreens = {
      CustomizableScreen("multi_touch_v2", Copies{{"title", "Touch"}}),
      CustomizableScreen("start_screen", Copies{{"title", "First"}}),
      CustomizableScreen("start_screen", Copies{{"title", "Second"}}),
  };
  EXPECT_EQ(customization.screen("start_screen"), &customization.customScreens[1]);
  EXPECT_EQ(customization.screen("multi_touch_v2"), &customization.customScreens[0]);
  for (const char* type : {"Start_Screen", "start_screen ", "end_screen"}) {
    EXPECT_EQ(customization.screen(type), nullptr) << '"' << type << '"';
  }
}

TEST(StatusCodes, EveryCodeHasItsText) {
  struct Case {
    int named, code;
    const char* text;
  };
  const Case cases[] = {
      {StatusCodes::testFinished, 200, "Test finished"},
      {StatusCodes::cancelledByUser, 301, "Test was canceled by user"},
      {StatusCodes::invalidAppID, 401, "Invalid App ID"},
      {StatusCodes::invalidAPIKey, 402, "Invalid API Key"},
      {StatusCodes::invalidIMEI, 403, "Invalid IMEI"},
      {StatusCodes::missingCameraUsageDescription, 404,
       "NSCameraUsageDescription is not defined in the app .plist file."},
      {StatusCodes::missingMicrophoneUsageDescription, 405,
       "NSMicrophoneUsageDescription is not defined in the app .plist file."},
      {StatusCodes::serverError, 406, "A server error occurred."},
      {StatusCodes::invalidSerialNumber, 407, "Invalid Serial Number"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.named, c.code) << c.text;
    EXPECT_EQ(StatusCodes::getDescription(c.code), c.text) << c.code;
  }
  for (int code : {0, 300, 408}) {
    EXPECT_EQ(StatusCodes::getDescription(code), "Invalid error code") << code;
  }
}

}  // namespace
}  // namespace quorvel
