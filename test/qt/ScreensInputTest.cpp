// Taps and typing on the flow and physical-test screens reach their core actions.
#include <QTest>

#include "QuickFixture.h"
#include "device/IMEIViewController.h"
#include "quorvel/ScreenType.h"
#include "quorvel/virtual/VirtualKeyboard.h"
#include "support/RecordingTestDelegate.h"
#include "support/ScriptedDevice.h"
#include "tests/physical/Buttons_v1_ViewController.h"
#include "tests/physical/Charging_v1_ViewController.h"
#include "tests/physical/MultiTouch_v1_ViewController.h"

namespace quorvel::testing {
namespace {

class ScreensInputTest : public QuickFixture {
 protected:
  QQuickItem* field() { return item("uiTfIMEIInput"); }
  bool digitsOnly() { return field()->property("inputMethodHints").toInt() & Qt::ImhDigitsOnly; }
  QString imageSource() {
    QQuickItem* image = item("uiImage")->childItems().value(0);
    return image ? image->property("source").toUrl().toString() : QString();
  }

  std::shared_ptr<RecordingTestDelegate> recorder = std::make_shared<RecordingTestDelegate>();
};

// Each test screen draws its own could-not-complete button and the header's cancel. The slide
// screen's button is tapped in RunChromeTest, the combined screen's in ScreensRenderTest.
TEST_F(ScreensInputTest, TestScreensReportCouldNotCompleteAndCancelFromTheirButtons) {
  show<Charging_v1_ViewController>(ScreenType::charging_v1)->delegate = recorder;
  tap("uiBtCouldntCompleteTest");
  show<MultiTouch_v1_ViewController>(ScreenType::multi_touch_v1)->delegate = recorder;
  tap("uiBtCouldntCompleteTest");
  tap("uiBtCancel");
  ASSERT_EQ(recorder->reports.size(), 3u);
  EXPECT_EQ(recorder->reports[0].result.at("success"), false);
  EXPECT_EQ(recorder->reports[1].result.at("success"), false);
  EXPECT_TRUE(recorder->reports[2].cancelled);

  // A phone model, so that each phase of the buttons screen has its own picture.
  Platform changed = platform();
  changed.device = std::make_shared<ScriptedDevice>();
  installPlatform(changed);
  auto buttons = show<Buttons_v1_ViewController>(ScreenType::buttons_v1);
  EXPECT_TRUE(imageSource().endsWith("iPhone_face_ID_volume_up")) << imageSource().toStdString();
  tap("uiBtCouldntCompleteTest");
  ASSERT_TRUE(waitFor([&] { return imageSource().endsWith("iPhone_face_ID_volume_down"); }))
      << imageSource().toStdString();
  expectCoreCopy(*buttons, {"uiLbDescription"});
}

TEST_F(ScreensInputTest, IMEIScreenSwitchesModeAndTakesTypedTextFromTheUi) {
  auto screen = show<IMEIViewController>(ScreenType::imei_screen);
  EXPECT_TRUE(digitsOnly());

  tap("uiRBSerialNumber");
  EXPECT_EQ(screen->mode(), IMEIViewController::Mode::serialNumber);
  ASSERT_TRUE(waitFor([&] { return !digitsOnly(); }));

  // The core hands the field the keyboard; the done key shows only meanwhile and takes it back.
  EXPECT_EQ(frontEnd->findItem("uiBtKeyboardDone"), nullptr);
  screen->outlet<TextField>("uiTfIMEI").isFirstResponder = true;
  ASSERT_TRUE(waitFor([&] { return field()->hasActiveFocus(); }));
  expectCoreCopy(*screen, {"uiBtKeyboardDone"});
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

}  // namespace
}  // namespace quorvel::testing
