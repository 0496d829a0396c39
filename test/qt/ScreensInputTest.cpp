// Taps and typing on the flow and physical-test screens reach their core actions.
#include <QSignalSpy>
#include <QTest>

#include "QuickFixture.h"
#include "device/IMEIViewController.h"
#include "quorvel/ScreenType.h"
#include "support/RecordingTestDelegate.h"
#include "support/ScriptedDevice.h"
#include "tests/physical/Buttons_v1_ViewController.h"
#include "tests/physical/Charging_v1_ViewController.h"
#include "tests/physical/MultiTouch_v1_ViewController.h"

namespace quorvel::testing {
namespace {

class ScreensInputTest : public QuickFixture {
 protected:
  // Each screen draws its own could-not-complete button; tapped, it reports a failure.
  template <class Screen>
  void expectFailureReported(const std::string& key) {
    SCOPED_TRACE(key);
    show<Screen>(key)->delegate = recorder;
    const std::size_t before = recorder->reports.size();
    tap("uiBtCouldntCompleteTest");
    ASSERT_EQ(recorder->reports.size(), before + 1);
    EXPECT_FALSE(recorder->reports.back().cancelled);
    EXPECT_EQ(recorder->reports.back().result.at("success"), false);
  }

  // Key presses into the focused item, one character at a time.
  void type(const std::string& text) {
    for (char c : text) QTest::keyClick(frontEnd->window(), c);
  }
  QQuickItem* field() { return item("uiTfIMEIInput"); }
  bool digitsOnly() { return field()->property("inputMethodHints").toInt() & Qt::ImhDigitsOnly; }

  std::shared_ptr<RecordingTestDelegate> recorder = std::make_shared<RecordingTestDelegate>();
};

// The slide screen's button is tapped in the run below, the others' in their own tests.
TEST_F(ScreensInputTest, TestScreensReportCouldNotCompleteAndCancelFromTheirButtons) {
  expectFailureReported<Charging_v1_ViewController>(ScreenType::charging_v1);
  expectFailureReported<MultiTouch_v1_ViewController>(ScreenType::multi_touch_v1);
  // Cancel sits in the header every test screen shares.
  tap("uiBtCancel");
  ASSERT_EQ(recorder->reports.size(), 3u);
  EXPECT_TRUE(recorder->reports.back().cancelled);
}

TEST_F(ScreensInputTest, ButtonsScreenShowsEachPhaseItIsSkippedTo) {
  // A phone model, so that each phase has its own picture.
  Platform changed = platform();
  changed.device = std::make_shared<ScriptedDevice>();
  installPlatform(changed);
  auto screen = show<Buttons_v1_ViewController>(ScreenType::buttons_v1);
  screen->delegate = recorder;
  auto imageSource = [&] {
    QQuickItem* image = item("uiImage")->childItems().value(0);
    return image ? image->property("source").toUrl().toString() : QString();
  };
  EXPECT_TRUE(imageSource().endsWith("iPhone_face_ID_volume_up")) << imageSource().toStdString();

  tap("uiBtCouldntCompleteTest");
  ASSERT_TRUE(waitFor([&] { return textOf("uiLbDescription") == "Press volume down"; }))
      << textOf("uiLbDescription").toStdString();
  EXPECT_TRUE(imageSource().endsWith("iPhone_face_ID_volume_down")) << imageSource().toStdString();
  tap("uiBtCouldntCompleteTest");
  ASSERT_TRUE(waitFor([&] { return textOf("uiLbDescription") == "Take a screenshot"; }));
  EXPECT_TRUE(recorder->reports.empty());

  // The last phase given up reports the test (its parts are the core's).
  tap("uiBtCouldntCompleteTest");
  EXPECT_EQ(recorder->reports.size(), 1u);
}

TEST_F(ScreensInputTest, IMEIScreenSwitchesModeAndTakesTypedTextFromTheUi) {
  auto screen = show<IMEIViewController>(ScreenType::imei_screen);
  EXPECT_TRUE(item("uiRBIMEI")->property("checked").toBool());
  EXPECT_TRUE(digitsOnly());

  tap("uiRBSerialNumber");
  EXPECT_EQ(screen->mode(), IMEIViewController::Mode::serialNumber);
  ASSERT_TRUE(waitFor([&] { return !digitsOnly(); }));
  EXPECT_EQ(field()->property("placeholderText").toString(), "Enter serial number");
  EXPECT_FALSE(item("uiRBIMEI")->property("checked").toBool());

  // The core hands the field the keyboard; the done key shows only meanwhile and takes it back.
  EXPECT_EQ(frontEnd->findItem("uiBtKeyboardDone"), nullptr);
  screen->outlet<TextField>("uiTfIMEI").isFirstResponder = true;
  ASSERT_TRUE(waitFor([&] { return field()->hasActiveFocus(); }));
  EXPECT_EQ(textOf("uiBtKeyboardDone"), "Done");
  type("C02XK0AB");
  EXPECT_EQ(screen->outlet<TextField>("uiTfIMEI").text, "C02XK0AB");
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

TEST_F(ScreensInputTest, IMEIScreenShowsAPickedPhotoUntilItIsRemoved) {
  auto screen = show<IMEIViewController>(ScreenType::imei_screen);
  QImage photo(240, 160, QImage::Format_RGB32);
  photo.fill(QColor(40, 160, 90));
  const QString path = QString::fromStdString((documents->path() / "imei-photo.png").string());
  ASSERT_TRUE(photo.save(path));

  QSignalSpy requests(frontEnd.get(), &QuickFrontEnd::imagePickRequested);
  tap("uiBtAttachImage");
  ASSERT_EQ(requests.count(), 1);
  // The dialog hands the chosen file to the front end.
  frontEnd->imagePicked(QUrl::fromLocalFile(path));
  for (QObject* each : frontEnd->window()->findChildren<QObject*>()) {
    if (QString(each->metaObject()->className()) == "QQuickFileDialog") {
      QMetaObject::invokeMethod(each, "close");
    }
  }
  ASSERT_TRUE(waitFor([&] { return frontEnd->findItem("uiIvImage") != nullptr; }));
  ASSERT_TRUE(screen->imeiImage().has_value());
  EXPECT_EQ(frontEnd->findItem("uiViewNoImage"), nullptr);
  EXPECT_NE(frontEnd->findItem("uiBtRemoveImage"), nullptr);
  QTest::qWait(50);
  const QColor shown = colorAt("uiIvImage");
  EXPECT_EQ(shown, QColor(40, 160, 90)) << shown.name().toStdString();
  expectCoreColours();
  grab("IMEIViewController-photo");

  tap("uiBtRemoveImage");
  EXPECT_FALSE(screen->imeiImage().has_value());
  ASSERT_TRUE(waitFor([&] { return frontEnd->findItem("uiViewNoImage") != nullptr; }));
  EXPECT_EQ(frontEnd->findItem("uiIvImage"), nullptr);
  EXPECT_EQ(frontEnd->findItem("uiBtRemoveImage"), nullptr);
  EXPECT_NE(frontEnd->findItem("uiBtAttachImage"), nullptr);
}

TEST_F(ScreensInputTest, ARunGoesFromATypedIMEIThroughATestToTheEndAndAgain) {
  sdk.hideStartScreen = true;
  start(std::vector<std::string>{"multi_touch_v2"});
  settle("IMEIViewController");
  tap("uiTfIMEI");
  type("490154203237518");
  tap("uiBtNext");
  settle("MultiTouch_v2_ViewController");
  tap("uiBtCouldntCompleteTest");
  settle("TestsFinishedViewController");

  tap("uiBtTestAgain");
  // Identified already, so the run goes straight back to its test.
  settle("MultiTouch_v2_ViewController");
  EXPECT_EQ(completions, 0);
  tap("uiBtCouldntCompleteTest");
  settle("TestsFinishedViewController");
  Dictionary answer = finishRun();
  EXPECT_EQ(answer.value("status_code", 0), 200);
  EXPECT_EQ(answer["device_info"]["received_ids"]["imei_values"],
            Dictionary::array({"490154203237518"}));
  EXPECT_EQ(answer["tests_results"]["multi_touch"]["success"], false);
}

}  // namespace
}  // namespace quorvel::testing
