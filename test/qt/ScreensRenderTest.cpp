// The flow and physical-test screens drawn offscreen from their core state: copy in both
// languages, what the core hides, and the colours that reach the pixels.
#include <QRegularExpression>
#include <QTest>

#include "QuickFixture.h"
#include "device/IMEIViewController.h"
#include "quorvel/Localization.h"
#include "quorvel/ScreenType.h"
#include "screens/TestsFinishedViewController.h"
#include "support/ScriptedDevice.h"
#include "tests/physical/Buttons_v1_ViewController.h"
#include "tests/physical/Charging_v1_ViewController.h"
#include "tests/physical/MultiTouch_v1_ViewController.h"
#include "tests/physical/MultiTouch_v2_ViewController.h"
#include "tests/physical/MultipleTests_v2_ViewController.h"

namespace quorvel {
// Readable language parameters in test names and failures.
inline void PrintTo(SupportedLanguage language, std::ostream* out) {
  *out << (language == SupportedLanguage::english ? "English" : "Portuguese");
}
}  // namespace quorvel

namespace quorvel::testing {
namespace {

// What the core holds for an outlet that shows text.
std::string coreText(const ViewController& screen, const std::string& name) {
  const auto& element = screen.outlet<Element>(name);
  if (const auto* label = dynamic_cast<const Label*>(&element)) return label->text;
  if (const auto* button = dynamic_cast<const Button*>(&element)) return button->title;
  if (const auto* radio = dynamic_cast<const RadioButton*>(&element)) return radio->title;
  ADD_FAILURE() << name << " shows no text";
  return {};
}

QColor qColor(const Color& color) {
  return QColor::fromRgbF(float(color.red), float(color.green), float(color.blue),
                          float(color.alpha));
}

bool near(const QColor& a, const QColor& b, int tolerance = 6) {
  return std::abs(a.red() - b.red()) <= tolerance && std::abs(a.green() - b.green()) <= tolerance &&
         std::abs(a.blue() - b.blue()) <= tolerance;
}

class ScreenFixture : public QuickFixture {
 protected:
  // The item's rectangle in the grabbed image.
  QRect rectOf(const QString& name, const QImage& image) {
    QQuickItem* target = item(name);
    if (!target) return {};
    const qreal scale = image.width() / qreal(frontEnd->window()->width());
    const QRectF scene = target->mapRectToScene(QRectF(0, 0, target->width(), target->height()));
    return QRectF(scene.topLeft() * scale, scene.size() * scale).toRect();
  }
  QColor centerPixel(const QImage& image, const QString& name) {
    return image.pixelColor(rectOf(name, image).center());
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
    Platform changed = platform();
    changed.device = device;
    installPlatform(changed);
    return device;
  }
};

class EveryScreenTest : public ScreenFixture,
                        public ::testing::WithParamInterface<SupportedLanguage> {
 protected:
  bool english() const { return GetParam() == SupportedLanguage::english; }
  QString pick(const char* en, const char* pt) const {
    return QString::fromUtf8(english() ? en : pt);
  }
  // Every named outlet shows exactly what the core holds, and holds something.
  void expectCoreCopy(const ViewController& screen, std::initializer_list<const char*> names) {
    for (const char* name : names) {
      const QString core = QString::fromStdString(coreText(screen, name));
      EXPECT_FALSE(core.isEmpty()) << name;
      EXPECT_EQ(textOf(name), core) << name;
    }
  }
  void screenshot(const std::string& name) {
    expectCoreColours();
    grab(name + (english() ? "-en" : "-pt"));
  }
};

TEST_P(EveryScreenTest, ShowsTheCopyAndColoursTheCoreHolds) {
  sdk.language = GetParam();
  unpluggedDevice();

  auto imei = show<IMEIViewController>(ScreenType::imei_screen);
  expectCoreCopy(*imei, {"uiLbTitle", "uiRBIMEI", "uiRBSerialNumber", "uiLbOr", "uiLbAttachText",
                         "uiBtCancel", "uiBtNext"});
  // The description carries its settings path as a link.
  const QString description = textOf("uiLbDescription");
  EXPECT_TRUE(description.contains("<a href")) << description.toStdString();
  EXPECT_EQ(QString(description).remove(QRegularExpression("<[^>]*>")),
            QString::fromStdString(coreText(*imei, "uiLbDescription")));
  // The placeholder is a property of the field, out of reach of the copy check.
  EXPECT_EQ(item("uiTfIMEIInput")->property("placeholderText").toString(),
            pick("Enter IMEI number", "Introduza o número IMEI"));
  screenshot("IMEIViewController");

  auto finished = show<TestsFinishedViewController>(ScreenType::end_screen);
  expectCoreCopy(*finished, {"uiLbText", "uiBtDone", "uiBtTestAgain", "uiVersionLabel"});
  screenshot("TestsFinishedViewController");

  auto charging = show<Charging_v1_ViewController>(ScreenType::charging_v1);
  expectCoreCopy(*charging, {"uiLbTitle", "uiLbDescription", "uiLbTestCounter",
                             "uiBtCouldntCompleteTest", "uiBtCancel"});
  screenshot("Charging_v1_ViewController");

  auto buttons = show<Buttons_v1_ViewController>(ScreenType::buttons_v1);
  expectCoreCopy(*buttons, {"uiLbTitle", "uiLbDescription", "uiBtCouldntCompleteTest"});
  screenshot("Buttons_v1_ViewController");

  auto touch1 = show<MultiTouch_v1_ViewController>(ScreenType::multi_touch_v1);
  expectCoreCopy(*touch1, {"uiLbTitle", "uiLbDescription", "uiBtCouldntCompleteTest"});
  screenshot("MultiTouch_v1_ViewController");

  auto touch2 = show<MultiTouch_v2_ViewController>(ScreenType::multi_touch_v2);
  expectCoreCopy(*touch2, {"uiLbTitle", "uiLbDescription", "uiBtCouldntCompleteTest"});
  // The pan is judged against the picture's height, so the picture fills the slider area.
  const Size slide = touch2->outlet<ImageView>("uiImageSlide").bounds;
  EXPECT_GT(slide.height, 200);
  EXPECT_EQ(slide.height, item("uiSliderView")->height());
  screenshot("MultiTouch_v2_ViewController");

  auto combined =
      std::make_shared<MultipleTests_v2_ViewController>(contextFor(ScreenType::multiple_tests_v2));
  combined->selectedTests = {ScreenType::charging_v2, ScreenType::buttons_v2};
  show(combined);
  const auto& rows = combined->outlet<Table>("uiTableView").rows;
  ASSERT_EQ(rows.size(), 3u);
  for (const auto& row : rows) {
    const QString key = QString::fromStdString(row.at("key").get<std::string>());
    EXPECT_EQ(textOf(key + "Title"), QString::fromStdString(row.at("title").get<std::string>()));
    EXPECT_EQ(textOf(key + "Description"),
              QString::fromStdString(row.at("description").get<std::string>()));
  }
  screenshot("MultipleTests_v2_ViewController");

  // The start screen comes from a run, with the identifier it was given.
  start(std::vector<std::string>{"multi_touch_v2"}, "490154203237518");
  settle("StartViewController");
  expectCoreCopy(*frontEnd->topViewController(), {"uiLbTitle", "uiBtNext", "uiLbIMEIValue"});
  EXPECT_EQ(textOf("uiLbIMEIValue"), "490154203237518");
  // No serial number was given, and no test of this run needs a hint.
  EXPECT_EQ(frontEnd->findItem("uiStackViewSerialNumber"), nullptr);
  EXPECT_EQ(frontEnd->findItem("uiViewSuggestions"), nullptr);
  screenshot("StartViewController");
}

INSTANTIATE_TEST_SUITE_P(Languages, EveryScreenTest,
                         ::testing::Values(SupportedLanguage::english,
                                           SupportedLanguage::portuguese),
                         [](const auto& language) {
                           return language.param == SupportedLanguage::english ? "English"
                                                                               : "Portuguese";
                         });

class ScreenStateTest : public ScreenFixture {};

TEST_F(ScreenStateTest, StartScreenShowsASerialAndTheDefaultTestsHintsAndStartMovesOn) {
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

TEST_F(ScreenStateTest, HeaderFillsTheSegmentsUpToItsScreenAndHidesUnderANavigationBar) {
  auto custom = std::make_shared<Customization>();
  custom->progressBarSelectedColor = Color::rgb(230, 20, 140);
  custom->progressBarBackgroundColor = Color::rgb(20, 190, 110);
  customization = custom;
  unpluggedDevice();
  show(std::make_shared<MultiTouch_v1_ViewController>(
      contextFor(ScreenType::multi_touch_v1,
                 {ScreenType::charging_v1, ScreenType::multi_touch_v1, ScreenType::buttons_v1})));
  EXPECT_EQ(textOf("uiLbTestCounter"), "Test 2/3");

  const QImage image = grab("TestHeader-2of3");
  const QColor selected = qColor(custom->progressBarSelectedColor);
  const QColor background = qColor(custom->progressBarBackgroundColor);
  for (int segment = 0; segment < 3; ++segment) {
    const QString name = QString("uiStackViewProgressBarSegment%1").arg(segment);
    const QColor drawn = centerPixel(image, name);
    EXPECT_TRUE(near(drawn, segment < 2 ? selected : background))
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
  // The attach area has nothing left to show and takes no room.
  EXPECT_EQ(item("uiViewNoImage")->height(), 0);
  EXPECT_NE(frontEnd->findItem("uiTfIMEI"), nullptr);
  grab("IMEIViewController-no-picker");
}

TEST_F(ScreenStateTest, ChargingScreenFollowsTheCableAndTheCoreShowsNextOnce) {
  auto device = unpluggedDevice();
  auto screen = show<Charging_v1_ViewController>(ScreenType::charging_v1);
  EXPECT_EQ(frontEnd->findItem("uiBtNext"), nullptr);
  auto imageSource = [&] {
    QQuickItem* image = item("uiImage")->childItems().value(0);
    return image ? image->property("source").toUrl().toString() : QString();
  };
  EXPECT_TRUE(imageSource().contains("power_cable_unplugged")) << imageSource().toStdString();

  device->setBattery(BatteryState::charging);
  ASSERT_TRUE(waitFor([&] { return frontEnd->findItem("uiBtNext") != nullptr; }));
  EXPECT_TRUE(imageSource().contains("power_cable_plugged")) << imageSource().toStdString();
  EXPECT_EQ(textOf("uiBtNext"), QString::fromStdString(coreText(*screen, "uiBtNext")));
  grab("Charging_v1_ViewController-plugged");
}

TEST_F(ScreenStateTest, ContentKeepsAReadableWidthCentredInALaptopWindow) {
  frontEnd->window()->resize(1280, 800);
  unpluggedDevice();
  auto expectCentredColumn = [&](const QString& name) {
    QQuickItem* target = item(name);
    ASSERT_NE(target, nullptr);
    const QRectF rect = target->mapRectToScene(QRectF(0, 0, target->width(), target->height()));
    EXPECT_LE(rect.width(), 560) << name.toStdString();
    EXPECT_GE(rect.width(), 300) << name.toStdString();
    EXPECT_NEAR(rect.center().x(), 640, 1) << name.toStdString();
  };
  show<IMEIViewController>(ScreenType::imei_screen);
  expectCentredColumn("uiTfIMEI");
  expectCentredColumn("uiBtNext");
  grab("IMEIViewController-laptop");

  show<Charging_v1_ViewController>(ScreenType::charging_v1);
  expectCentredColumn("uiLbDescription");
  expectCentredColumn("uiStackViewProgressBar");
  grab("Charging_v1_ViewController-laptop");

  auto combined =
      std::make_shared<MultipleTests_v2_ViewController>(contextFor(ScreenType::multiple_tests_v2));
  combined->selectedTests = {ScreenType::charging_v2, ScreenType::buttons_v2};
  show(combined);
  expectCentredColumn("uiTableView");
  grab("MultipleTests_v2_ViewController-laptop");

  show<TestsFinishedViewController>(ScreenType::end_screen);
  expectCentredColumn("uiBtDone");
  grab("TestsFinishedViewController-laptop");
}

TEST_F(ScreenStateTest, CombinedScreenOutlinesTheFocusedRowAndMarksFinishedOnes) {
  sdk.themeColor = Color::rgb(120, 40, 200);
  unpluggedDevice();
  auto screen =
      std::make_shared<MultipleTests_v2_ViewController>(contextFor(ScreenType::multiple_tests_v2));
  screen->selectedTests = {ScreenType::charging_v2, ScreenType::buttons_v2};
  show(screen);
  const QColor theme = qColor(*sdk.themeColor);
  const QColor failed(255, 59, 48);

  QImage image = grab();
  // The focused row's outline, on its left edge, is the theme colour; waiting rows have none and
  // are dimmed.
  EXPECT_TRUE(near(edgePixel(image, "charging_v2"), theme));
  EXPECT_FALSE(near(edgePixel(image, "buttons_v2_volume_up"), theme));
  EXPECT_DOUBLE_EQ(item("buttons_v2_volume_up")->opacity(), 0.4);
  EXPECT_DOUBLE_EQ(item("charging_v2")->opacity(), 1.0);
  // The row icons are templates painted in the theme colour.
  EXPECT_GT(pixelsIn(image, "charging_v2Icon", theme), 40);
  EXPECT_EQ(frontEnd->findItem("charging_v2Status"), nullptr);
  EXPECT_EQ(frontEnd->findItem("uiBtNext"), nullptr);

  tap("uiBtCouldntCompleteTest");
  ASSERT_TRUE(waitFor([&] { return frontEnd->findItem("charging_v2Status") != nullptr; }));
  QTest::qWait(50);
  image = grab("MultipleTests_v2_ViewController-one-failed");
  EXPECT_GT(pixelsIn(image, "charging_v2Status", failed), 40);
  EXPECT_TRUE(near(edgePixel(image, "buttons_v2_volume_up"), theme));
  EXPECT_FALSE(near(edgePixel(image, "charging_v2"), theme));

  tap("uiBtCouldntCompleteTest");
  ASSERT_TRUE(waitFor([&] { return frontEnd->findItem("buttons_v2_volume_upStatus"); }));
  tap("uiBtCouldntCompleteTest");
  // Every row done: Next takes the could-not-complete button's place.
  ASSERT_TRUE(waitFor([&] { return frontEnd->findItem("uiBtNext") != nullptr; }));
  EXPECT_EQ(frontEnd->findItem("uiBtCouldntCompleteTest"), nullptr);
  EXPECT_NE(frontEnd->findItem("buttons_v2_volume_downStatus"), nullptr);
  grab("MultipleTests_v2_ViewController-done");
}

}  // namespace
}  // namespace quorvel::testing
