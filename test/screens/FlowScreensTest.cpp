#include <gtest/gtest.h>

#include "quorvel/Version.h"
#include "screens/StartViewController.h"
#include "screens/TestsFinishedViewController.h"
#include "support/SdkFixture.h"

namespace {

using namespace quorvel;

using FlowScreensTest = quorvel::testing::SdkFixture;

TEST_F(FlowScreensTest, StartScreenHintsFollowTheRunsTests) {
  struct Case {
    std::vector<std::string> tests;
    bool charging, mirror, noise;
  };
  for (const auto& c : std::vector<Case>{
           {{"buttons_v2"}, false, false, false},  // combined screen without the charging row
           {{"charging_v2"}, true, false, false},
           {{"device_front_video_v2"}, false, true, true},
       }) {
    SCOPED_TRACE(::testing::PrintToString(c.tests));
    restart();
    start(c.tests, quorvel::testing::kValidIMEI);
    auto screen = std::dynamic_pointer_cast<StartViewController>(top());
    ASSERT_TRUE(screen);
    EXPECT_EQ(!screen->outlet<Label>("uiLbSuggestionChargingCable").hidden, c.charging);
    EXPECT_EQ(!screen->outlet<Label>("uiLbSuggestionMirror").hidden, c.mirror);
    EXPECT_EQ(!screen->outlet<Label>("uiLbSuggestionNoise").hidden, c.noise);
    EXPECT_EQ(screen->outlet<View>("uiViewSuggestions").hidden,
              !(c.charging || c.mirror || c.noise));
  }
}

TEST_F(FlowScreensTest, StartScreenTextsIdentifiersAndOverrides) {
  auto custom = std::make_shared<Customization>();
  custom->customScreens.emplace_back(
      "start_screen",
      std::map<std::string, std::string>{{"title", ""},
                                         {"text", "Check your phone"},
                                         {"testsWarning_charging", "ignored: property name"},
                                         {"testsHelper_camera", "Find a mirror"}},
      std::map<std::string, Image>{{"image", Image::file("/tmp/host.png")}}, Color::rgb(1, 2, 3));
  start(std::nullopt, std::nullopt, "C02XYZ", custom);
  const auto& screen = *top();
  EXPECT_EQ(screen.outlet<Label>("uiLbTitle").text, "Device testing");
  EXPECT_EQ(screen.outlet<Label>("uiLbDescription").text, "Check your phone");
  EXPECT_EQ(screen.outlet<Label>("uiLbSuggestionMirror").text, "Find a mirror");
  EXPECT_EQ(screen.outlet<ImageView>("uiImage").image, Image::file("/tmp/host.png"));
  EXPECT_EQ(screen.outlet<View>("view").backgroundColor, Color::rgb(1, 2, 3));
  EXPECT_EQ(screen.outlet<Label>("uiLbPhoneModel").text, "iPhone 12");
  EXPECT_TRUE(screen.outlet<View>("uiStackViewIMEI").hidden);
  EXPECT_FALSE(screen.outlet<View>("uiStackViewSerialNumber").hidden);
  EXPECT_EQ(screen.outlet<Label>("uiLbSNValue").text, "C02XYZ");
  EXPECT_EQ(screen.outlet<Button>("uiBtNext").backgroundColor, Color::rgb(11, 123, 251));
}

TEST_F(FlowScreensTest, EndScreenTextsImageVersionAndButtonStyle) {
  sdk.themeColor = Color{1, 0, 0, 0.25};
  ScreenContext context = portsOnly();
  context.language = SupportedLanguage::portuguese;
  auto custom = std::make_shared<Customization>();
  custom->buttonsStyle.borderType = BorderType::square;
  custom->customScreens.emplace_back(
      "end_screen", std::map<std::string, std::string>{{"buttonFinish", ""}, {"text", "Obrigado!"}},
      std::map<std::string, Image>{{"image", Image::asset("host_logo")}}, std::nullopt,
      Color::rgb(10, 10, 10), Color::rgb(200, 0, 0));
  context.customization = custom;
  auto screen = std::make_shared<TestsFinishedViewController>(context);
  screen->loadViewIfNeeded();
  EXPECT_EQ(screen->outlet<Label>("uiLbText").textColor, Color::rgb(200, 0, 0));
  EXPECT_EQ(screen->outlet<Button>("uiBtDone").title, "Terminar");
  EXPECT_EQ(screen->outlet<Button>("uiBtDone").borderType, BorderType::square);
  EXPECT_EQ(screen->outlet<Button>("uiBtDone").backgroundColor, (Color{1, 0, 0, 1}));
  EXPECT_FALSE(screen->outlet<ImageView>("uiCustomImage").hidden);
  EXPECT_TRUE(screen->outlet<ImageView>("uiViewImage").hidden);
  EXPECT_TRUE(screen->outlet<Label>("uiVersionLabel").text.ends_with(QuorvelVersionString));

  // Without an image override the built-in illustration shows.
  auto plain = std::make_shared<TestsFinishedViewController>(portsOnly());
  plain->loadViewIfNeeded();
  EXPECT_TRUE(plain->outlet<ImageView>("uiCustomImage").hidden);
  EXPECT_FALSE(plain->outlet<ImageView>("uiViewImage").hidden);
}

}  // namespace
