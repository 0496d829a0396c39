// Every screen as drawn and as assistive technology meets it, in both languages: the copy and
// colours the core holds; each control named from the core's copy (those drawn as pictures alone
// too, and the front end's chrome); the check box and radio buttons reporting the core's state; a
// press through accessibility doing what a tap does (a photo picked so shows on the IMEI screen
// until removed); the movie player covering the screens with the movie. With the application
// font at one and a half times its size, no text on any screen is cut off.
#include <QAccessible>
#include <QFont>
#include <QFontInfo>
#include <QGuiApplication>
#include <QMetaEnum>
#include <QSignalSpy>
#include <algorithm>
#include <set>

#include "QuickFixture.h"
#include "device/IMEIViewController.h"
#include "qt/OutletItem.h"
#include "quorvel/Localization.h"
#include "run/ScreenTable.h"
#include "screens/TestsFinishedViewController.h"
#include "support/MovieProbe.h"
#include "tests/audio/ReadText_v1_ViewController.h"
#include "tests/physical/Charging_v1_ViewController.h"
#include "tests/video/DeviceFrontVideo_v2_ViewController.h"

namespace quorvel::testing {
namespace {

// What a person reads or operates: each is of no use to assistive technology without a name.
bool needsName(QAccessible::Role role) {
  static const std::set<QAccessible::Role> named = {
      QAccessible::Button,       QAccessible::CheckBox, QAccessible::RadioButton,
      QAccessible::EditableText, QAccessible::Slider,   QAccessible::SpinBox,
      QAccessible::ComboBox,     QAccessible::Link,     QAccessible::Graphic,
      QAccessible::StaticText,   QAccessible::ListItem, QAccessible::AlertMessage,
      QAccessible::Dialog};
  return named.contains(role);
}

// The copy key that names each element drawn as a picture alone (a button, a row's mark, the
// chrome's back and close), by its object name and a part of the steps' names where it is named
// so; the first that fits counts. Nothing on screen says what these are, so only the core's copy
// can.
const struct {
  QString name;
  std::string step;
  std::string key;
} kPictureNames[] = {{"uiBtInfo", "", "accessibility_more_information"},
                     {"uiBtPlayVideo", "", "accessibility_play_video"},
                     {"uiBtStartRecording", "", "accessibility_start_recording"},
                     {"uiBtRemoveImage", "", "accessibility_remove_image"},
                     {"charging_v2Status", "", "accessibility_test_passed"},
                     {"buttons_v2_volume_upStatus", "", "accessibility_test_failed"},
                     {"navigationBack", "", "back"},
                     {"moviePlayerClose", "", "accessibility_close"},
                     // The play button plays one's own recording back, or the word to be heard.
                     {"uiBtPlay", "ReadText", "accessibility_play_recording"},
                     {"uiBtPlay", "", "accessibility_play_word"},
                     // While recording, the record button stops.
                     {"uiBtRecord", "-recording", "accessibility_stop_recording"},
                     {"uiBtRecord", "", "accessibility_record"}};

// The key naming the element called name at step; "" for an element not drawn as a picture alone.
std::string pictureNameKey(const std::string& step, const QString& name) {
  for (const auto& each : kPictureNames) {
    if (each.name == name && step.find(each.step) != std::string::npos) return each.key;
  }
  return {};
}

// An item in a failure message: its own object name or its nearest named ancestor's, and its type.
std::string describe(QObject* object) {
  std::string type = object ? object->metaObject()->className() : "?";
  for (auto* each = qobject_cast<QQuickItem*>(object); each; each = each->parentItem()) {
    if (!each->objectName().isEmpty()) return each->objectName().toStdString() + " (" + type + ")";
  }
  return type;
}

class AccessibilityWalkTest : public QuickFixture,
                              public ::testing::WithParamInterface<SupportedLanguage> {
 protected:
  void SetUp() override {
    QuickFixture::SetUp();
    sdk.language = GetParam();
    // The machine's own camera and microphone are replaced by ones the tests control.
    useVirtualRoom();
  }

  void TearDown() override {
    QuickFixture::TearDown();
    QGuiApplication::setFont(defaultFont);
  }

  // The accessible elements on show, in the order a screen reader walks them.
  std::vector<QAccessibleInterface*> shownElements() {
    // The offscreen platform has no assistive technology to switch accessibility on; controls
    // made since the last call set up their roles only when told.
    QAccessible::setActive(true);
    std::vector<QAccessibleInterface*> found;
    std::function<void(QAccessibleInterface*)> walk = [&](QAccessibleInterface* node) {
      for (int i = 0; i < node->childCount(); ++i) {
        QAccessibleInterface* child = node->child(i);
        if (!child || child->state().invisible) continue;
        found.push_back(child);
        walk(child);
      }
    };
    QAccessibleInterface* window = QAccessible::queryAccessibleInterface(frontEnd->window());
    if (window) walk(window);
    return found;
  }

  // The shown element of the item named name; fails the test when there is none.
  QAccessibleInterface* element(const QString& name) {
    for (QAccessibleInterface* each : shownElements()) {
      if (each->object() && each->object()->objectName() == name) return each;
    }
    ADD_FAILURE() << "no accessible " << name.toStdString() << " on " << topInterface();
    return nullptr;
  }

  void act(const QString& name, const QString& action) {
    QAccessibleInterface* target = element(name);
    ASSERT_TRUE(target && target->actionInterface()) << name.toStdString();
    EXPECT_TRUE(target->actionInterface()->actionNames().contains(action)) << name.toStdString();
    target->actionInterface()->doAction(action);
  }
  void press(const QString& name) { act(name, QAccessibleActionInterface::pressAction()); }

  // Whether the check box or radio button named name reads as checked.
  bool checked(const QString& name) {
    QAccessibleInterface* target = element(name);
    if (!target) return false;
    EXPECT_TRUE(target->role() == QAccessible::CheckBox ||
                target->role() == QAccessible::RadioButton)
        << name.toStdString() << " reads as a "
        << QMetaEnum::fromType<QAccessible::Role>().valueToKey(target->role());
    EXPECT_TRUE(target->state().checkable) << name.toStdString();
    return target->state().checked;
  }

  // Every element that needs a name has one.
  void expectNamed(const std::string& step) {
    int controls = 0;
    for (QAccessibleInterface* each : shownElements()) {
      if (!needsName(each->role())) continue;
      ++controls;
      EXPECT_FALSE(each->text(QAccessible::Name).trimmed().isEmpty())
          << step << ": " << describe(each->object()) << " is a "
          << QMetaEnum::fromType<QAccessible::Role>().valueToKey(each->role()) << " without a name";
    }
    EXPECT_GT(controls, 0) << step << " shows nothing to assistive technology";
  }

  // Every element drawn as a picture alone reads the core's copy in the run's language; in any
  // language but English, never the English words.
  void expectPicturesNamedFromCopy(const std::string& step) {
    for (QAccessibleInterface* each : shownElements()) {
      if (!each->object()) continue;
      const std::string key = pictureNameKey(step, each->object()->objectName());
      if (key.empty()) continue;
      picturesMet.insert(key);
      const QString name = each->text(QAccessible::Name);
      const std::string what = step + ": " + describe(each->object());
      EXPECT_EQ(name, QString::fromStdString(Localization::copy(key, GetParam()))) << what;
      if (GetParam() != SupportedLanguage::english) {
        EXPECT_NE(name, QString::fromStdString(Localization::copy(key, SupportedLanguage::english)))
            << what << " is read in English";
      }
    }
  }

  // The texts and inputs on show, with their text, behind no transparent ancestor.
  std::vector<QQuickItem*> shownTexts() {
    std::vector<QQuickItem*> found;
    std::function<void(QQuickItem*, qreal)> visit = [&](QQuickItem* item, qreal opacity) {
      opacity *= item->opacity();
      if (!item->isVisible() || qFuzzyIsNull(opacity)) return;
      for (QQuickItem* child : item->childItems()) visit(child, opacity);
      if ((item->inherits("QQuickText") || item->inherits("QQuickTextInput")) &&
          !item->property("text").toString().isEmpty()) {
        found.push_back(item);
      }
    };
    visit(frontEnd->window()->contentItem(), 1);
    return found;
  }
  // Within a pixel: glyphs' antialiasing and rounding.
  static bool inside(const QRectF& drawn, const QRectF& bounds) {
    return bounds.adjusted(-1, -1, 1, 1).contains(drawn);
  }
  // An input's own text scrolls inside it; only a text item must fit its box.
  static bool fitsItsBox(QQuickItem* text) {
    return !text->inherits("QQuickText") ||
           inside(text->boundingRect(), QRectF(0, 0, text->width(), text->height()));
  }

  // Every text on show follows the application font, none smaller than it, and is whole: not
  // elided, and drawn inside its own box, its outlet, whatever clips it and the window; a
  // scrolling area clips to its content, which scrolls into view.
  void expectTextFits(const std::string& step) {
    const QRectF window(QPointF(), frontEnd->window()->size());
    const int smallest = QFontInfo(QGuiApplication::font()).pixelSize();
    auto sceneRectOf = [](QQuickItem* bounds) {
      return bounds->mapRectToScene(QRectF(0, 0, bounds->width(), bounds->height()));
    };
    for (QQuickItem* item : shownTexts()) {
      const std::string what = step + ": " + describe(item) + " \"" +
                               item->property("text").toString().left(40).toStdString() + "\"";
      EXPECT_GE(QFontInfo(item->property("font").value<QFont>()).pixelSize(), smallest)
          << what << " keeps a size of its own";
      EXPECT_FALSE(item->property("truncated").toBool()) << what << " is elided";
      EXPECT_TRUE(fitsItsBox(item))
          << what << " overflows its box: " << item->width() << "x" << item->height();
      const QRectF drawn = item->mapRectToScene(item->boundingRect());
      bool inOutlet = false, scrolls = false;
      for (QQuickItem* ancestor = item->parentItem(); ancestor; ancestor = ancestor->parentItem()) {
        // The outlet is the box the screen lays the text out in; a text beyond it overlaps others.
        if (!inOutlet && qobject_cast<OutletItem*>(ancestor)) {
          inOutlet = true;
          EXPECT_TRUE(inside(drawn, sceneRectOf(ancestor)))
              << what << " overflows its outlet " << describe(ancestor);
        }
        if (ancestor->inherits("QQuickFlickable")) {
          // What lies beyond the view scrolls into it; what lies beyond the content never shows.
          EXPECT_TRUE(
              inside(drawn, sceneRectOf(ancestor->property("contentItem").value<QQuickItem*>())))
              << what << " lies outside the content of " << describe(ancestor);
          scrolls = true;
          break;
        }
        if (ancestor->clip()) {
          EXPECT_TRUE(inside(drawn, sceneRectOf(ancestor)))
              << what << " is cut off by " << describe(ancestor);
        }
      }
      EXPECT_TRUE(scrolls || inside(drawn, window)) << what << " runs off the window";
    }
  }

  // Shows every screen of the SDK, the steps of those that change, the alert and the navigation
  // bar, calling check at each; moves between steps through accessibility's press.
  void visitEveryScreen(const std::function<void(const std::string& step)>& check) {
    // Once ready holds (when given), check step and keep its picture.
    auto at = [&](const std::string& step, const std::function<bool()>& ready = {},
                  int timeoutMs = 10000) {
      SCOPED_TRACE(step);
      if (ready) {
        ASSERT_TRUE(waitFor(ready, timeoutMs)) << "never reached";
        QTest::qWait(50);
      }
      // A loaded machine can be a few frames late with a screen's layout; a text that never fits
      // is reported by the check itself.
      waitFor([&] { return std::ranges::all_of(shownTexts(), fitsItsBox); }, 3000);
      check(step);
      grab(step + suffix + (GetParam() == SupportedLanguage::english ? "-en" : "-pt"));
    };
    auto shown = [&](const QString& name) {
      return [&, name] { return frontEnd->findItem(name); };
    };
    auto showKey = [&](const std::string& key) {
      return show(ScreenTable::makeScreen(key, contextFor(key), nullptr));
    };

    auto imei = show<IMEIViewController>(ScreenType::imei_screen);
    at("IMEIViewController");
    // A photo attached, shown until its remove button takes it away.
    QImage photo(240, 160, QImage::Format_RGB32);
    photo.fill(QColor(40, 160, 90));
    const QString path = QString::fromStdString((documents->path() / "imei-photo.png").string());
    ASSERT_TRUE(photo.save(path));
    QSignalSpy requests(frontEnd.get(), &QuickFrontEnd::imagePickRequested);
    press("uiBtAttachImage");
    ASSERT_TRUE(waitFor([&] { return requests.count() > 0; }));
    EXPECT_EQ(requests.count(), 1);
    // The dialog hands the chosen file to the front end.
    frontEnd->imagePicked(QUrl::fromLocalFile(path));
    for (QObject* each : frontEnd->window()->findChildren<QObject*>()) {
      if (QString(each->metaObject()->className()) == "QQuickFileDialog") {
        QMetaObject::invokeMethod(each, "close");
      }
    }
    at("IMEIViewController-photo", shown("uiBtRemoveImage"));
    EXPECT_TRUE(imei->imeiImage().has_value());
    EXPECT_EQ(frontEnd->findItem("uiViewNoImage"), nullptr);
    press("uiBtRemoveImage");
    EXPECT_FALSE(imei->imeiImage().has_value());
    ASSERT_TRUE(waitFor(shown("uiViewNoImage")));
    EXPECT_EQ(frontEnd->findItem("uiIvImage"), nullptr);
    EXPECT_EQ(frontEnd->findItem("uiBtRemoveImage"), nullptr);
    show<TestsFinishedViewController>(ScreenType::end_screen);
    at("TestsFinishedViewController");
    for (const std::string& key : {ScreenType::charging_v1, ScreenType::buttons_v1,
                                   ScreenType::multi_touch_v1, ScreenType::multi_touch_v2,
                                   ScreenType::speaker_recording_v1, ScreenType::earspeaker_v1}) {
      at(showKey(key)->interfaceName());
    }
    showCombined();
    at("MultipleTests_v2_ViewController");
    // The cable goes in and the first row passes; the next is given up and fails.
    device->setBattery(BatteryState::charging);
    ASSERT_TRUE(waitFor(shown("charging_v2Status")));
    press("uiBtCouldntCompleteTest");
    at("MultipleTests_v2_ViewController-passed-and-failed", shown("buttons_v2_volume_upStatus"));

    at(showKey(ScreenType::loudspeaker_v1)->interfaceName());
    press("uiBtInfo");
    at("alert", [&] { return frontEnd->alert() && frontEnd->findItem("action0"); });
    press("action0");
    ASSERT_TRUE(waitFor([&] { return !frontEnd->alert(); }));

    auto reading = show<ReadText_v1_ViewController>(ScreenType::read_text_v1);
    at("ReadText_v1_ViewController", [&] { return !reading->word().empty(); });
    press("uiBtRecord");
    // A second's recording, which the screen offers for review.
    at("ReadText_v1_ViewController-recording",
       [&] { return reading->outlet<Label>("uiLbTimer").text == "00:01"; });
    press("uiBtRecord");
    // The recording's file is finished on the encoder's thread, which a loaded machine slows.
    at("ReadText_v1_ViewController-review", shown("uiBtRecordAgain"), 30000);

    at(showKey(ScreenType::device_front_video_v1)->interfaceName());
    auto video = show<DeviceFrontVideo_v2_ViewController>(ScreenType::device_front_video_v2);
    at("DeviceFrontVideo_v2_ViewController");
    press("uiBtNext");
    at("DeviceFrontVideo_v2_ViewController-preview", shown("uiBtStartRecording"));
    press("uiBtStartRecording");
    at("DeviceFrontVideo_v2_ViewController-colours",
       [&] { return !video->outlet<View>("uiColorsView").hidden; });
    at("DeviceFrontVideo_v2_ViewController-review", shown("uiCheckBoxTerms"), 20000);

    // The movie player, over a film long enough to be met playing.
    const std::string movie = (documents->path() / "walk.mp4").string();
    ASSERT_TRUE(makeMovie(movie, 60, false)) << "ffmpeg could not make the movie";
    bool closed = false;
    platform().videoPlayback->play(movie, [&](const std::string&) { closed = true; });
    at("movie-player", [&] { return chrome("moviePlayerClose") != nullptr; });
    press("moviePlayerClose");
    ASSERT_TRUE(waitFor([&] { return closed; }));

    // Under the host's navigation bar the back button shows.
    hostNavigation->setNavigationBarHidden(false, false);
    auto charging =
        std::make_shared<Charging_v1_ViewController>(contextFor(ScreenType::charging_v1));
    hostNavigation->pushViewController(charging, false);
    settle(charging->interfaceName());
    ASSERT_NE(chrome("navigationBack"), nullptr);
    at("Charging_v1_ViewController-navigation-bar");
    press("navigationBack");
    ASSERT_TRUE(waitFor([&] { return hostNavigation->viewControllers().back() == video; }));
    settle(video->interfaceName());

    // The start screen comes from a run, with its identifiers and hints.
    hostNavigation->setNavigationBarHidden(true, false);
    start(std::nullopt, "490154203237518", "C02XK0AB");
    settle("StartViewController");
    at("StartViewController");
  }

  std::string suffix = "-accessible";
  // The copy keys of the pictures' names met so far.
  std::set<std::string> picturesMet;
  const QFont defaultFont = QGuiApplication::font();
};

TEST_P(AccessibilityWalkTest, EveryControlIsNamedAndReportsTheCoreState) {
  QColor idleRecord;
  visitEveryScreen([&](const std::string& step) {
    expectNamed(step);
    expectPicturesNamedFromCopy(step);
    // What the screen shows is the core's: its copy (the timer catching up with the core's, a
    // second in or more, however late the check) and its colours.
    expectCoreCopy();
    expectCoreColours();
    if (step == "IMEIViewController") {
      // The radio buttons follow the core's mode, whichever way it changes.
      auto screen = std::dynamic_pointer_cast<IMEIViewController>(frontEnd->topViewController());
      EXPECT_TRUE(checked("uiRBIMEI"));
      EXPECT_FALSE(checked("uiRBSerialNumber"));
      act("uiRBSerialNumber", QAccessibleActionInterface::toggleAction());
      ASSERT_TRUE(waitFor([&] { return checked("uiRBSerialNumber"); }));
      EXPECT_EQ(screen->mode(), IMEIViewController::Mode::serialNumber);
      EXPECT_FALSE(checked("uiRBIMEI"));
      // The keyboard's done key shows while the field has the keyboard.
      screen->outlet<TextField>("uiTfIMEI").isFirstResponder = true;
      ASSERT_TRUE(waitFor([&] { return frontEnd->findItem("uiBtKeyboardDone") != nullptr; }));
      expectNamed("IMEIViewController-typing");
      press("uiBtKeyboardDone");
      EXPECT_FALSE(screen->outlet<TextField>("uiTfIMEI").isFirstResponder);
    }
    if (step == "movie-player") {
      // The player covers the screens with the movie's own colours (its test pattern's bars),
      // under the software renderer too. When it opens and closes is VideoPlaybackContract's.
      EXPECT_EQ(sceneRect(chrome("moviePlayer")), QRect(QPoint(), frontEnd->window()->size()));
      ASSERT_TRUE(waitFor([&] { return chrome("moviePicture")->property("showing").toBool(); }));
      const QImage playing = grab();
      const int colourful = countPoints(
          playing.rect(),
          [&](int x, int y) {
            const QColor colour = playing.pixelColor(x, y);
            return colour.hsvSaturation() > 150 && colour.value() > 150;
          },
          2);
      EXPECT_GT(colourful, 2000);
    }
    if (step == "IMEIViewController-photo") {
      EXPECT_EQ(colorAt("uiIvImage"), QColor(40, 160, 90));
    }
    // The record button shows a recording.
    if (step == "ReadText_v1_ViewController") idleRecord = colorAt("uiBtRecord", QPointF(0, 40));
    if (step == "ReadText_v1_ViewController-recording") {
      EXPECT_NE(colorAt("uiBtRecord", QPointF(0, 40)), idleRecord) << "recording looks like idle";
    }
    if (step == "DeviceFrontVideo_v2_ViewController-review") {
      // The check box shows the core's state: toggled through accessibility, then tapped.
      auto screen = std::dynamic_pointer_cast<DeviceFrontVideo_v2_ViewController>(
          frontEnd->topViewController());
      const auto& box = screen->outlet<CheckBox>("uiCheckBoxTerms");
      EXPECT_FALSE(checked("uiCheckBoxTerms"));
      act("uiCheckBoxTerms", QAccessibleActionInterface::toggleAction());
      ASSERT_TRUE(waitFor([&] { return checked("uiCheckBoxTerms"); }));
      EXPECT_TRUE(box.isChecked);
      tap("uiCheckBoxTerms");
      ASSERT_TRUE(waitFor([&] { return !checked("uiCheckBoxTerms"); }));
      EXPECT_FALSE(box.isChecked);
    }
  });
  // Each picture's name was checked somewhere on the walk.
  std::set<std::string> everyKey;
  for (const auto& each : kPictureNames) everyKey.insert(each.key);
  EXPECT_EQ(picturesMet, everyKey);
}

TEST_P(AccessibilityWalkTest, TextFollowsALargerApplicationFontAndIsNeverCut) {
  // What a desktop's font scale does: a larger application font for the screens made after it.
  QFont large = defaultFont;
  if (defaultFont.pointSizeF() > 0) {
    large.setPointSizeF(defaultFont.pointSizeF() * 1.5);
  } else {
    large.setPixelSize(qRound(defaultFont.pixelSize() * 1.5));
  }
  QGuiApplication::setFont(large);
  suffix = "-large";
  visitEveryScreen([&](const std::string& step) { expectTextFits(step); });
}

INSTANTIATE_TEST_SUITE_P(Languages, AccessibilityWalkTest,
                         ::testing::Values(SupportedLanguage::english,
                                           SupportedLanguage::portuguese),
                         [](const auto& language) {
                           return language.param == SupportedLanguage::english ? "English"
                                                                               : "Portuguese";
                         });

}  // namespace
}  // namespace quorvel::testing
