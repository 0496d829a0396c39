// Taps and typing on the screens reach their core actions, and what changes shows while it lasts.
#include <QTest>

#include "QuickFixture.h"
#include "device/IMEIViewController.h"
#include "quorvel/ScreenType.h"
#include "quorvel/virtual/VirtualKeyboard.h"
#include "run/ScreenTable.h"
#include "support/RecordingTestDelegate.h"
#include "tests/audio/Loudspeaker_v1_ViewController.h"

namespace quorvel::testing {
namespace {

class ScreensInputTest : public QuickFixture {
 protected:
  QQuickItem* field() { return item("uiTfIMEIInput"); }
  bool digitsOnly() { return field()->property("inputMethodHints").toInt() & Qt::ImhDigitsOnly; }
};

// Each test screen draws its own could-not-complete button, and its header the cancel. The slide
// screen's button is tapped in RunChromeTest, the combined screen's in ScreensRenderTest.
TEST_F(ScreensInputTest, TestScreensReportCouldNotCompleteAndCancelFromTheirButtons) {
  auto recorder = std::make_shared<RecordingTestDelegate>();
  for (const std::string& key : {ScreenType::charging_v1, ScreenType::multi_touch_v1}) {
    show(ScreenTable::makeScreen(key, contextFor(key), recorder));
    tap("uiBtCouldntCompleteTest");
    ASSERT_FALSE(recorder->reports.empty()) << key;
    recorder->reports.clear();
  }
  tap("uiBtCancel");
  ASSERT_EQ(recorder->reports.size(), 1u);
  EXPECT_TRUE(recorder->reports[0].cancelled);
}

TEST_F(ScreensInputTest, IMEIScreenSwitchesModeAndTakesTypedTextFromTheUi) {
  auto screen = show<IMEIViewController>(ScreenType::imei_screen);
  EXPECT_TRUE(digitsOnly());
  // The description carries its settings path as a link; the placeholder is the field's own.
  EXPECT_TRUE(textOf("uiLbDescription").contains("<a href"));
  EXPECT_EQ(field()->property("placeholderText").toString(),
            QString::fromStdString(screen->outlet<TextField>("uiTfIMEI").placeholder));

  tap("uiRBSerialNumber");
  EXPECT_EQ(screen->mode(), IMEIViewController::Mode::serialNumber);
  ASSERT_TRUE(waitFor([&] { return !digitsOnly(); }));

  // The core hands the field the keyboard; the done key shows only meanwhile and takes it back.
  EXPECT_EQ(frontEnd->findItem("uiBtKeyboardDone"), nullptr);
  screen->outlet<TextField>("uiTfIMEI").isFirstResponder = true;
  ASSERT_TRUE(waitFor([&] { return field()->hasActiveFocus(); }));
  VirtualKeyboard keyboard(frontEnd->window());
  keyboard.type("C02XK0ABé");
  keyboard.pressKey(Qt::Key_Backspace);
  ASSERT_TRUE(waitFor([&] { return screen->outlet<TextField>("uiTfIMEI").text == "C02XK0AB"; }))
      << screen->outlet<TextField>("uiTfIMEI").text;
  grab("IMEIViewController-typing");
  tap("uiBtKeyboardDone");
  EXPECT_FALSE(screen->outlet<TextField>("uiTfIMEI").isFirstResponder);
  ASSERT_TRUE(waitFor([&] { return !field()->hasActiveFocus(); }));
  EXPECT_EQ(frontEnd->findItem("uiBtKeyboardDone"), nullptr);

  // Back to IMEI: the field keeps the text and takes digits again.
  tap("uiRBIMEI");
  EXPECT_EQ(screen->mode(), IMEIViewController::Mode::imei);
  ASSERT_TRUE(waitFor([&] { return digitsOnly(); }));
  EXPECT_EQ(field()->property("text").toString(), "C02XK0AB");
}

TEST_F(ScreensInputTest, AWordTypedOnTheKeyboardEndsInNextAndPlayShowsWhilePlaying) {
  auto screen = show<Loudspeaker_v1_ViewController>(ScreenType::loudspeaker_v1);
  const QColor idle = colorAt("uiBtPlay", QPointF(0, 40));
  tap("uiBtPlay");
  ASSERT_TRUE(waitFor([&] { return screen->isPlaying(); }));
  QTest::qWait(50);
  EXPECT_NE(colorAt("uiBtPlay", QPointF(0, 40)), idle) << "playing looks like idle";
  VirtualKeyboard keyboard(frontEnd->window());
  tap("uiTfWord");
  keyboard.type(" Word");
  keyboard.pressKey(Qt::Key_Return);
  ASSERT_TRUE(waitFor([&] { return !screen->outlet<Button>("uiBtNext").hidden; }));
  EXPECT_EQ(screen->outlet<TextField>("uiTfWord").text, " Word");
  ASSERT_TRUE(waitFor([&] { return frontEnd->findItem("uiBtNext") != nullptr; }));
  grab("Loudspeaker_v1-typed");
}

}  // namespace
}  // namespace quorvel::testing
