#include <QTest>

#include "QuickFixture.h"

namespace quorvel::testing {
namespace {

// The start screen of a real run, drawn from the run's state.
class FlowScreensTest : public QuickFixture {};

TEST_F(FlowScreensTest, StartScreenShowsTheRunInBothLanguages) {
  struct Case {
    SupportedLanguage language;
    QString title, start;
  };
  for (const Case& each :
       {Case{SupportedLanguage::english, "Device testing", "Let's start"},
        Case{SupportedLanguage::portuguese, "Teste do dispositivo", "Começar"}}) {
    sdk.language = each.language;
    start(std::vector<std::string>{"multi_touch_v2"}, "490154203237518");
    settle("StartViewController");
    EXPECT_EQ(textOf("uiLbTitle"), each.title);
    EXPECT_EQ(textOf("uiBtNext"), each.start);
    EXPECT_EQ(textOf("uiLbIMEIValue"), "490154203237518");
    // No serial number was given, and no test of this run needs a hint.
    EXPECT_EQ(frontEnd->findItem("uiStackViewSerialNumber"), nullptr);
    EXPECT_EQ(frontEnd->findItem("uiViewSuggestions"), nullptr);
    expectCoreColours();
    grab(each.language == SupportedLanguage::english ? "StartViewController-en"
                                                     : "StartViewController-pt");
    tap("uiBtBack");
    ASSERT_TRUE(waitFor([&] { return completions == 1; }));
    EXPECT_EQ(response->value("status_code", 0), 301);
    completions = 0;
  }
}

TEST_F(FlowScreensTest, StartScreenHintsFollowTheTestsAndStartMovesOn) {
  // The default tests bring every hint; a serial number shows its line instead of the IMEI's.
  start(std::nullopt, std::nullopt, "C02XK0AB");
  settle("StartViewController");
  EXPECT_EQ(textOf("uiLbSNValue"), "C02XK0AB");
  EXPECT_EQ(frontEnd->findItem("uiStackViewIMEI"), nullptr);
  for (const char* hint : {"uiViewSuggestions", "uiLbSuggestionChargingCable",
                           "uiLbSuggestionMirror", "uiLbSuggestionNoise"}) {
    EXPECT_NE(frontEnd->findItem(hint), nullptr) << hint;
  }
  expectCoreColours();
  tap("uiBtNext");
  settle("MultipleTests_v2_ViewController");
}

}  // namespace
}  // namespace quorvel::testing
