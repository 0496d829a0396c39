// Screens drawn offscreen from their core state: what the core hides, the colours that reach the
// pixels (the video test's too), the layout in a wide window, and taps and typing that reach their
// core actions. The copy and colours of every screen in both languages are the accessibility
// walk's.
#include "QuickFixture.h"
#include "device/IMEIViewController.h"
#include "quorvel/virtual/VirtualKeyboard.h"
#include "run/ScreenTable.h"
#include "screens/TestsFinishedViewController.h"
#include "support/RecordingTestDelegate.h"
#include "tests/audio/Loudspeaker_v1_ViewController.h"
#include "tests/physical/Charging_v1_ViewController.h"
#include "tests/physical/MultiTouch_v1_ViewController.h"
#include "tests/video/DeviceFrontVideo_v2_ViewController.h"

namespace quorvel::testing {
namespace {

class ScreenStateTest : public QuickFixture {
 protected:
  // The item's rectangle in the grabbed image.
  QRect rectOf(const QString& name, const QImage& image) {
    const qreal scale = image.width() / qreal(frontEnd->window()->width());
    const QRectF scene = sceneRect(item(name));
    return QRectF(scene.topLeft() * scale, scene.size() * scale).toRect();
  }
  // Just inside the item's left edge, half-way down: where a border shows.
  QColor edgePixel(const QImage& image, const QString& name) {
    const QRect rect = rectOf(name, image);
    return image.pixelColor(rect.left() + 1, rect.center().y());
  }
  // How many pixels of the item are drawn in color.
  int pixelsIn(const QImage& image, const QString& name, const QColor& color) {
    return countPoints(rectOf(name, image).intersected(image.rect()),
                       [&](int x, int y) { return near(image.pixelColor(x, y), color); });
  }
};

TEST_F(ScreenStateTest, HeaderFillsTheSegmentsUpToItsScreen) {
  auto custom = std::make_shared<Customization>();
  custom->progressBarSelectedColor = Color::rgb(230, 20, 140);
  custom->progressBarBackgroundColor = Color::rgb(20, 190, 110);
  customization = custom;
  show(std::make_shared<MultiTouch_v1_ViewController>(
      contextFor(ScreenType::multi_touch_v1,
                 {ScreenType::charging_v1, ScreenType::multi_touch_v1, ScreenType::buttons_v1})));
  const QImage image = grab("TestHeader-2of3");
  for (int segment = 0; segment < 3; ++segment) {
    const QString name = QString("uiStackViewProgressBarSegment%1").arg(segment);
    const QColor drawn = image.pixelColor(rectOf(name, image).center());
    EXPECT_TRUE(near(drawn, qColor(segment < 2 ? custom->progressBarSelectedColor
                                               : custom->progressBarBackgroundColor)))
        << "segment " << segment << " is " << drawn.name().toStdString();
  }
}

TEST_F(ScreenStateTest, IMEIScreenWithoutAPickerDropsThePhotoRouteAndItsRoom) {
  Platform changed = platform();
  changed.imagePicker = nullptr;
  installPlatform(changed);
  auto imei = show<IMEIViewController>(ScreenType::imei_screen);
  ASSERT_TRUE(imei->outlet<Button>("uiBtAttachImage").hidden);
  for (const char* name : {"uiLbOr", "uiLbAttachText", "uiBtAttachImage"}) {
    EXPECT_EQ(frontEnd->findItem(name), nullptr) << name;
  }
  EXPECT_EQ(item("uiViewNoImage")->height(), 0);
}

TEST_F(ScreenStateTest, ContentKeepsAReadableWidthCentredInALaptopWindow) {
  frontEnd->window()->resize(1280, 800);
  const std::pair<std::function<void()>, std::vector<QString>> screens[] = {
      {[&] { show<IMEIViewController>(ScreenType::imei_screen); }, {"uiTfIMEI", "uiBtNext"}},
      {[&] { show<Charging_v1_ViewController>(ScreenType::charging_v1); },
       {"uiLbDescription", "uiStackViewProgressBar"}},
      {[&] { showCombined(); }, {"uiTableView"}},
      {[&] { show<TestsFinishedViewController>(ScreenType::end_screen); }, {"uiBtDone"}}};
  for (const auto& [showScreen, names] : screens) {
    showScreen();
    for (const QString& name : names) {
      const QRect rect = sceneRect(item(name));
      EXPECT_LE(rect.width(), 560) << name.toStdString();
      EXPECT_GE(rect.width(), 300) << name.toStdString();
      EXPECT_NEAR(rect.center().x(), 640, 1) << name.toStdString();
    }
    grab(topInterface() + "-laptop");
  }
}

TEST_F(ScreenStateTest, CombinedScreenOutlinesTheFocusedRowAndMarksFinishedOnes) {
  sdk.themeColor = Color::rgb(120, 40, 200);
  showCombined();
  const QColor theme = qColor(*sdk.themeColor);

  QImage image = grab();
  // The focused row's outline, on its left edge, is the theme colour; waiting rows have none and
  // are dimmed. The row icons are templates painted in the theme colour.
  EXPECT_TRUE(near(edgePixel(image, "charging_v2"), theme));
  EXPECT_FALSE(near(edgePixel(image, "buttons_v2_volume_up"), theme));
  EXPECT_DOUBLE_EQ(item("buttons_v2_volume_up")->opacity(), 0.4);
  EXPECT_DOUBLE_EQ(item("charging_v2")->opacity(), 1.0);
  EXPECT_GT(pixelsIn(image, "charging_v2Icon", theme), 40);
  EXPECT_EQ(frontEnd->findItem("charging_v2Status"), nullptr);
  EXPECT_EQ(frontEnd->findItem("uiBtNext"), nullptr);

  tap("uiBtCouldntCompleteTest");
  ASSERT_TRUE(waitFor([&] { return frontEnd->findItem("charging_v2Status") != nullptr; }));
  QTest::qWait(50);
  image = grab("MultipleTests_v2_ViewController-one-failed");
  EXPECT_GT(pixelsIn(image, "charging_v2Status", QColor(255, 59, 48)), 40);
  EXPECT_TRUE(near(edgePixel(image, "buttons_v2_volume_up"), theme));
  EXPECT_FALSE(near(edgePixel(image, "charging_v2"), theme));
}

// The screen video test filmed by the mirror camera: the preview shows the mirror's picture, each
// colour covers the screen under the core's MD5, and the review shows the film's first picture.
TEST_F(ScreenStateTest, VideoTestColoursCoverTheScreenAndTheReviewShowsTheFilm) {
  useVirtualRoom();
  auto screen = show<DeviceFrontVideo_v2_ViewController>(ScreenType::device_front_video_v2);
  tap("uiBtNext");
  ASSERT_TRUE(waitFor([&] { return item("uiViewVideoPreview")->property("showing").toBool(); }));
  // The codes are read back from the film in DemoProgramTest.
  tap("uiBtStartRecording");
  const std::pair<const char*, QColor> colours[] = {{"blue", Qt::blue},
                                                    {"yellow", Qt::yellow},
                                                    {"red", Qt::red},
                                                    {"black", Qt::black},
                                                    {"green", Qt::green}};
  for (const auto& [name, colour] : colours) {
    ASSERT_TRUE(waitFor([&, c = colour] {
      const auto& background = screen->outlet<View>("uiColorsView").backgroundColor;
      return background && qColor(*background) == c;
    }));
    QTest::qWait(50);
    const QImage shot = grab(std::string("DeviceFrontVideo_v2-") + name);
    // The colour covers the screen, corners included; the label is drawn over it.
    EXPECT_EQ(shot.pixelColor(2, 2), colour) << name;
    EXPECT_EQ(shot.pixelColor(shot.width() - 3, shot.height() - 3), colour) << name;
    EXPECT_EQ(textOf("uiLbMD5"), QString::fromStdString(screen->md5()));
  }
  ASSERT_TRUE(waitFor([&] {
    return !screen->outlet<View>("uiVideoView").hidden &&
           screen->outlet<ImageView>("uiVideoReviewImage").image.has_value();
  }));
  QTest::qWait(50);
  // The film's first picture is the mirror's view of the start code, not an empty frame.
  EXPECT_NE(colorAt("uiVideoReviewImage", QPointF(0, -40)), QColor("#1C1C1E"));
  tap("uiBtCancel");
}

// Taps and typing on the screens reach their core actions, and what changes shows while it lasts.
class ScreensInputTest : public QuickFixture {
 protected:
  QQuickItem* field() { return item("uiTfIMEIInput"); }
  bool digitsOnly() { return field()->property("inputMethodHints").toInt() & Qt::ImhDigitsOnly; }
};

// Each test screen draws its own could-not-complete button, and its header the cancel. The slide
// screen's button is tapped in RunChromeTest, the combined screen's in ScreenStateTest.
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

// A word typed and ended with the return key shows Next: the autopilot does it on the sound screens
// in ScreensAloneTest.
TEST_F(ScreensInputTest, ThePlayButtonShowsWhilePlaying) {
  auto screen = show<Loudspeaker_v1_ViewController>(ScreenType::loudspeaker_v1);
  const QColor idle = colorAt("uiBtPlay", QPointF(0, 40));
  tap("uiBtPlay");
  ASSERT_TRUE(waitFor([&] { return screen->isPlaying(); }));
  QTest::qWait(50);
  EXPECT_NE(colorAt("uiBtPlay", QPointF(0, 40)), idle) << "playing looks like idle";
}

}  // namespace
}  // namespace quorvel::testing
