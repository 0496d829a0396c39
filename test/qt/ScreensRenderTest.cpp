// The flow and physical-test screens drawn offscreen from their core state: copy in both
// languages, what the core hides, and the colours that reach the pixels.
#include <QRegularExpression>
#include <QTest>

#include "QuickFixture.h"
#include "device/IMEIViewController.h"
#include "quorvel/ScreenType.h"
#include "screens/TestsFinishedViewController.h"
#include "support/ScriptedDevice.h"
#include "tests/physical/Buttons_v1_ViewController.h"
#include "tests/physical/Charging_v1_ViewController.h"
#include "tests/physical/MultiTouch_v1_ViewController.h"
#include "tests/physical/MultiTouch_v2_ViewController.h"
#include "tests/physical/MultipleTests_v2_ViewController.h"

namespace quorvel::testing {
namespace {

class ScreenFixture : public QuickFixture {
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
    const QRect rect = rectOf(name, image).intersected(image.rect());
    int count = 0;
    for (int y = rect.top(); y <= rect.bottom(); ++y) {
      for (int x = rect.left(); x <= rect.right(); ++x)
        count += near(image.pixelColor(x, y), color);
    }
    return count;
  }
  // A scripted battery, so that the charging screens start unplugged on any machine.
  std::shared_ptr<ScriptedDevice> unpluggedDevice() {
    auto device = std::make_shared<ScriptedDevice>();
    device->battery = BatteryState::unplugged;
    device->documents = documents->path().string();
    Platform changed = platform();
    changed.device = device;
    installPlatform(changed);
    return device;
  }
  std::shared_ptr<MultipleTests_v2_ViewController> showCombined() {
    auto combined = std::make_shared<MultipleTests_v2_ViewController>(
        contextFor(ScreenType::multiple_tests_v2));
    combined->selectedTests = {ScreenType::charging_v2, ScreenType::buttons_v2};
    return show(combined);
  }
};

class EveryScreenTest : public ScreenFixture,
                        public ::testing::WithParamInterface<SupportedLanguage> {
 protected:
  void screenshot(const std::string& name) {
    expectCoreColours();
    grab(name + (GetParam() == SupportedLanguage::english ? "-en" : "-pt"));
  }
};

TEST_P(EveryScreenTest, ShowsTheCopyAndColoursTheCoreHolds) {
  sdk.language = GetParam();
  unpluggedDevice();
  const std::vector<const char*> testCopy = {"uiLbTitle", "uiLbDescription",
                                             "uiBtCouldntCompleteTest"};
  const std::pair<std::function<std::shared_ptr<ViewController>()>, std::vector<const char*>>
      screens[] = {
          {[&] { return show<IMEIViewController>(ScreenType::imei_screen); },
           {"uiLbTitle", "uiRBIMEI", "uiRBSerialNumber", "uiLbOr", "uiLbAttachText", "uiBtCancel",
            "uiBtNext"}},
          {[&] { return show<TestsFinishedViewController>(ScreenType::end_screen); },
           {"uiLbText", "uiBtDone", "uiBtTestAgain", "uiVersionLabel"}},
          {[&] { return show<Charging_v1_ViewController>(ScreenType::charging_v1); },
           {"uiLbTitle", "uiLbDescription", "uiLbTestCounter", "uiBtCouldntCompleteTest",
            "uiBtCancel"}},
          {[&] { return show<Buttons_v1_ViewController>(ScreenType::buttons_v1); }, testCopy},
          {[&] { return show<MultiTouch_v1_ViewController>(ScreenType::multi_touch_v1); },
           testCopy},
          {[&] { return show<MultiTouch_v2_ViewController>(ScreenType::multi_touch_v2); },
           testCopy}};
  for (const auto& [make, copy] : screens) {
    auto screen = make();
    expectCoreCopy(*screen, copy);
    screenshot(screen->interfaceName());
  }

  // The last screen's pan is judged against the picture's height, so the picture fills the slider
  // area.
  const Size slide = frontEnd->topViewController()->outlet<ImageView>("uiImageSlide").bounds;
  EXPECT_GT(slide.height, 200);
  EXPECT_EQ(slide.height, item("uiSliderView")->height());

  // The IMEI screen's description carries its settings path as a link; the placeholder is a
  // property of the field.
  auto imei = show<IMEIViewController>(ScreenType::imei_screen);
  const QString description = textOf("uiLbDescription");
  EXPECT_TRUE(description.contains("<a href")) << description.toStdString();
  EXPECT_EQ(QString(description).remove(QRegularExpression("<[^>]*>")),
            QString::fromStdString(coreText(*imei, "uiLbDescription")));
  EXPECT_EQ(item("uiTfIMEIInput")->property("placeholderText").toString(),
            QString::fromStdString(imei->outlet<TextField>("uiTfIMEI").placeholder));

  auto combined = showCombined();
  const auto& rows = combined->outlet<Table>("uiTableView").rows;
  ASSERT_EQ(rows.size(), 3u);
  for (const auto& row : rows) {
    const QString key = QString::fromStdString(row.at("key").get<std::string>());
    EXPECT_EQ(textOf(key + "Title"), QString::fromStdString(row.at("title").get<std::string>()));
    EXPECT_EQ(textOf(key + "Description"),
              QString::fromStdString(row.at("description").get<std::string>()));
  }
  screenshot("MultipleTests_v2_ViewController");

  // The start screen comes from a run, with the identifier it was given: the core hides the
  // IMEI it was not given and the screen drops it; the default tests' hints show.
  start(std::nullopt, std::nullopt, "C02XK0AB");
  settle("StartViewController");
  expectCoreCopy(*frontEnd->topViewController(),
                 {"uiLbTitle", "uiBtNext", "uiLbSNValue", "uiLbSuggestionChargingCable",
                  "uiLbSuggestionMirror", "uiLbSuggestionNoise"});
  EXPECT_EQ(frontEnd->findItem("uiStackViewIMEI"), nullptr);
  screenshot("StartViewController");
  tap("uiBtNext");
  settle("MultipleTests_v2_ViewController");
}

INSTANTIATE_TEST_SUITE_P(Languages, EveryScreenTest,
                         ::testing::Values(SupportedLanguage::english,
                                           SupportedLanguage::portuguese),
                         [](const auto& language) {
                           return language.param == SupportedLanguage::english ? "English"
                                                                               : "Portuguese";
                         });

class ScreenStateTest : public ScreenFixture {};

TEST_F(ScreenStateTest, HeaderFillsTheSegmentsUpToItsScreenAndHidesUnderANavigationBar) {
  auto custom = std::make_shared<Customization>();
  custom->progressBarSelectedColor = Color::rgb(230, 20, 140);
  custom->progressBarBackgroundColor = Color::rgb(20, 190, 110);
  customization = custom;
  unpluggedDevice();
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

  // With the host's navigation bar showing, the core hides the header and the screen drops it.
  hostNavigation->setNavigationBarHidden(false, false);
  auto charging = std::make_shared<Charging_v1_ViewController>(contextFor(ScreenType::charging_v1));
  hostNavigation->pushViewController(charging, false);
  settle(charging->interfaceName());
  ASSERT_TRUE(charging->outlet<View>("uiViewProgressBarBackground").hidden);
  EXPECT_EQ(frontEnd->findItem("uiViewProgressBarBackground"), nullptr);
  EXPECT_EQ(frontEnd->findItem("uiBtCancel"), nullptr);
  EXPECT_NE(item("uiLbTitle"), nullptr);
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
  unpluggedDevice();
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
  unpluggedDevice();
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

  // Every row done: Next takes the could-not-complete button's place.
  tap("uiBtCouldntCompleteTest");
  ASSERT_TRUE(waitFor([&] { return frontEnd->findItem("buttons_v2_volume_upStatus"); }));
  tap("uiBtCouldntCompleteTest");
  ASSERT_TRUE(waitFor([&] { return frontEnd->findItem("uiBtNext") != nullptr; }));
  EXPECT_EQ(frontEnd->findItem("uiBtCouldntCompleteTest"), nullptr);
}

}  // namespace
}  // namespace quorvel::testing
