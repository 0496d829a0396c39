#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "quorvel/Customization.h"
#include "quorvel/Localization.h"
#include "quorvel/QuorvelSDK.h"
#include "quorvel/StatusCodes.h"
#include "support/SdkFixture.h"

namespace quorvel {
namespace {

using Copies = std::map<std::string, std::string>;

// --- Localization ---

using LocalizationTest = testing::SdkFixture;

TEST_F(LocalizationTest, CopyFollowsTheRunsLanguage) {
  struct Case {
    const char* key;
    const char* english;
    const char* portuguese;
  };
  const Case cases[] = {
      {"ok", "OK", "OK"},
      {"done", "Done", "Terminar"},
      {"end_screen_done", "Finish", "Terminar"},
      {"test_number_of_total", "Test %1$@/%2$@", "Teste %1$@/%2$@"},
      {"speaker_record_description", "Tap \"%1$@\" to hear the sound",
       "Pressione \"%1$@\" para ouvir o som"},
      {"imei_confirm_screen_title_multiple", "IMEI verification", "Confirmação dos IMEI"},
      {"imei_location_path_ios", "General / About", "Geral / Informações"},
      {"imei_location_path_android", "General / About", "Definições / Acerca do telefone"},
      // A key neither table holds is answered with itself.
      {"no_such_key", "no_such_key", "no_such_key"},
      {"", "", ""},
      {"OK", "OK", "OK"},
      {"DONE", "DONE", "DONE"},
  };
  for (const auto& c : cases) {
    sdk.language = SupportedLanguage::english;
    EXPECT_EQ(Localization::copy(c.key), c.english) << c.key;
    EXPECT_EQ(Localization::copy(c.key, SupportedLanguage::portuguese), c.portuguese) << c.key;
    sdk.language = SupportedLanguage::portuguese;
    EXPECT_EQ(Localization::copy(c.key), c.portuguese) << c.key;
    EXPECT_EQ(Localization::copy(c.key, SupportedLanguage::english), c.english) << c.key;
  }
}

using LocalizationDeathTest = LocalizationTest;

TEST_F(LocalizationDeathTest, UnsupportedLanguageRawValueIsFatal) {
  EXPECT_DEATH(Localization::copy("ok", static_cast<SupportedLanguage>(7)), "language");
  sdk.language = static_cast<SupportedLanguage>(7);
  EXPECT_DEATH(Localization::copy("ok"), "language");
  sdk.language = static_cast<SupportedLanguage>(-1);
  EXPECT_DEATH(Localization::copy("no_such_key"), "language");
}

TEST(LocalizationFormat, FillsPlaceholders) {
  struct Case {
    const char* format;
    std::vector<std::string> arguments;
    const char* expected;
  };
  const std::vector<Case> cases = {
      {"Test %1$@/%2$@", {"2", "3"}, "Test 2/3"},
      {"%2$@ before %1$@", {"a", "b"}, "b before a"},
      {"%1$@ and %1$@", {"z"}, "z and z"},
      {"%@ and %@", {"x", "y"}, "x and y"},
      {"Tap \"%1$@\" to hear", {"Começar"}, "Tap \"Começar\" to hear"},
      {"100%%", {}, "100%"},
      {"%%1$@", {"a"}, "%1$@"},
      {"%%@ %@", {"a"}, "%@ a"},
      {"no placeholders", {"unused"}, "no placeholders"},
      {"", {"a"}, ""},
      {"%10$@", {"1", "2", "3", "4", "5", "6", "7", "8", "9", "ten"}, "ten"},
      // A placeholder without its argument stays as it is.
      {"Test %1$@/%2$@", {"2"}, "Test 2/%2$@"},
      {"%@ %@", {"a"}, "a %@"},
      {"%3$@", {"a", "b"}, "%3$@"},
      {"%0$@", {"a"}, "%0$@"},
      {"%1$@", {}, "%1$@"},
      // Broken or foreign directives are copied.
      {"50%", {"a"}, "50%"},
      {"%1$", {"a"}, "%1$"},
      {"%1@", {"a"}, "%1@"},
      {"%d", {"a"}, "%d"},
  };
  for (const auto& c : cases) {
    std::string out;
    switch (c.arguments.size()) {
      case 0:
        out = Localization::format(c.format, {});
        break;
      case 1:
        out = Localization::format(c.format, {c.arguments[0]});
        break;
      case 2:
        out = Localization::format(c.format, {c.arguments[0], c.arguments[1]});
        break;
      default:
        ASSERT_EQ(c.arguments.size(), 10u);
        out = Localization::format(
            c.format,
            {c.arguments[0], c.arguments[1], c.arguments[2], c.arguments[3], c.arguments[4],
             c.arguments[5], c.arguments[6], c.arguments[7], c.arguments[8], c.arguments[9]});
    }
    EXPECT_EQ(out, c.expected) << '"' << c.format << '"';
  }
}

// --- Customization ---

using CustomizationTest = testing::SdkFixture;

void expectDefaultsAroundTheme(const Customization& c, const Color& theme) {
  EXPECT_EQ(c.skipTestButtonColor, theme);
  EXPECT_EQ(c.customNavigationBarButtonsTextColor, theme);
  EXPECT_EQ(c.progressBarSelectedColor, theme);
  EXPECT_EQ(c.buttonsStyle.backgroundColor, theme);
  // These never follow the theme.
  EXPECT_EQ(c.customNavigationBarBackgroundColor, Color::white());
  EXPECT_EQ(c.customNavigationBarTextColor, (Color{50 / 255.0, 50 / 255.0, 50 / 255.0, 1}));
  EXPECT_EQ(c.progressBarBackgroundColor, (Color{223 / 255.0, 224 / 255.0, 234 / 255.0, 1}));
  EXPECT_EQ(c.buttonsStyle.foregroundColor, Color::white());
  EXPECT_EQ(c.buttonsStyle.borderType, BorderType::capsule);
  EXPECT_TRUE(c.customScreens.empty());
}

TEST_F(CustomizationTest, HalfTransparentThemeGivesOpaqueColoursOfItsHue) {
  sdk.themeColor = Color{0.8, 0.1, 0.3, 0.5};
  Customization customization;
  expectDefaultsAroundTheme(customization, Color{0.8, 0.1, 0.3, 1});
  EXPECT_EQ(Customization::currentThemeColor(), (Color{0.8, 0.1, 0.3, 1}));
  // The host's colour itself is left alone.
  EXPECT_EQ(sdk.themeColor->alpha, 0.5);
}

TEST_F(CustomizationTest, ThemeIsReadOnceWhenCreated) {
  Customization before;
  sdk.themeColor = Color{0.2, 0.6, 0.4, 1};
  Customization after;
  expectDefaultsAroundTheme(before, Customization::defaultThemeColor());
  expectDefaultsAroundTheme(after, Color{0.2, 0.6, 0.4, 1});
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
  for (int raw : {3, -1, 100, -2147483647 - 1}) {
    EXPECT_EQ(makeBorderType(raw), std::nullopt) << raw;
  }
  for (double height : {44.0, 60.0, 0.0}) {
    EXPECT_DOUBLE_EQ(cornerRadius(BorderType::capsule, height), height / 2) << height;
    EXPECT_DOUBLE_EQ(cornerRadius(BorderType::rounded, height), 5) << height;
    EXPECT_DOUBLE_EQ(cornerRadius(BorderType::square, height), 0) << height;
  }
}

TEST(CustomizableScreen, CopyOverrideOnlyWhenPresentAndNotEmpty) {
  struct Case {
    const char* name;
    std::optional<Copies> copies;
    const char* expected;
  };
  const std::vector<Case> cases = {
      {"no copies at all", std::nullopt, "Device testing"},
      {"empty copies", Copies{}, "Device testing"},
      {"other key only", Copies{{"description", "Hello"}}, "Device testing"},
      {"empty override", Copies{{"title", ""}}, "Device testing"},
      {"override", Copies{{"title", "Check your phone"}}, "Check your phone"},
      {"blank override is not empty", Copies{{"title", " "}}, " "},
      {"keys are exact", Copies{{"Title", "Nope"}}, "Device testing"},
  };
  for (const auto& c : cases) {
    CustomizableScreen screen("start_screen", c.copies);
    EXPECT_EQ(screen.getCopyForKey("title", "Device testing"), c.expected) << c.name;
  }
}

TEST_F(CustomizationTest, OverrideBeatsTheTableInEveryLanguageButEmptyFallsBack) {
  CustomizableScreen blank("start_screen", Copies{{"title", ""}});
  CustomizableScreen host("start_screen", Copies{{"title", "Olá"}});
  sdk.language = SupportedLanguage::english;
  EXPECT_EQ(blank.getCopyForKey("title", Localization::copy("start_screen_title")),
            "Device testing");
  EXPECT_EQ(host.getCopyForKey("title", Localization::copy("start_screen_title")), "Olá");
  sdk.language = SupportedLanguage::portuguese;
  EXPECT_EQ(blank.getCopyForKey("title", Localization::copy("start_screen_title")),
            Localization::copy("start_screen_title", SupportedLanguage::portuguese));
  EXPECT_EQ(host.getCopyForKey("title", Localization::copy("start_screen_title")), "Olá");
}

TEST_F(CustomizationTest, ScreenFindsTheFirstOverrideOfExactlyThatType) {
  Customization customization;
  EXPECT_EQ(customization.screen("start_screen"), nullptr);

  customization.customScreens = {
      CustomizableScreen("multi_touch_v2", Copies{{"title", "Touch"}}),
      CustomizableScreen("start_screen", Copies{{"title", "First"}}),
      CustomizableScreen("start_screen", Copies{{"title", "Second"}}),
  };
  const CustomizableScreen* found = customization.screen("start_screen");
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(found, &customization.customScreens[1]);
  EXPECT_EQ(found->getCopyForKey("title", ""), "First");
  EXPECT_EQ(customization.screen("multi_touch_v2"), &customization.customScreens[0]);

  for (const char* type : {"Start_Screen", "start_screen ", "start", "", "end_screen"}) {
    EXPECT_EQ(customization.screen(type), nullptr) << '"' << type << '"';
  }
}

// --- Status codes ---

TEST(StatusCodes, EveryCodeHasItsText) {
  struct Case {
    int code;
    int named;
    const char* text;
  };
  const Case cases[] = {
      {200, StatusCodes::testFinished, "Test finished"},
      {301, StatusCodes::cancelledByUser, "Test was canceled by user"},
      {401, StatusCodes::invalidAppID, "Invalid App ID"},
      {402, StatusCodes::invalidAPIKey, "Invalid API Key"},
      {403, StatusCodes::invalidIMEI, "Invalid IMEI"},
      {404, StatusCodes::missingCameraUsageDescription,
       "NSCameraUsageDescription is not defined in the app .plist file."},
      {405, StatusCodes::missingMicrophoneUsageDescription,
       "NSMicrophoneUsageDescription is not defined in the app .plist file."},
      {406, StatusCodes::serverError, "A server error occurred."},
      {407, StatusCodes::invalidSerialNumber, "Invalid Serial Number"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.named, c.code) << c.text;
    EXPECT_EQ(StatusCodes::getDescription(c.code), c.text) << c.code;
  }
  for (int code : {999, 0, -1, 300, 400, 408, 500}) {
    EXPECT_EQ(StatusCodes::getDescription(code), "Invalid error code") << code;
  }
}

}  // namespace
}  // namespace quorvel
