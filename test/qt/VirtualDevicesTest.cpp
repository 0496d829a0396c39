#include <gtest/gtest.h>

#include <QFile>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSignalSpy>
#include <QTest>
#include <memory>
#include <vector>

#include "QuickFixture.h"
#include "quorvel/virtual/VirtualChargerDevice.h"
#include "quorvel/virtual/VirtualKeyboard.h"
#include "quorvel/virtual/VirtualTouchScreen.h"
#include "support/ManualMainQueue.h"
#include "support/RecordingTestDelegate.h"
#include "support/ScriptedDevice.h"
#include "tests/physical/MultiTouch_v2_ViewController.h"

namespace quorvel::testing {
namespace {

// An item that writes down the touches and mouse presses it receives, in window coordinates.
class InputRecorder : public QQuickItem {
 public:
  struct Point {
    int id;
    QEventPoint::State state;
    QPointF at;
  };
  struct TouchEvent {
    QEvent::Type type;
    const QInputDevice* device;
    std::vector<Point> points;
  };

  InputRecorder() {
    setAcceptTouchEvents(true);
    setAcceptedMouseButtons(Qt::LeftButton);
  }

  std::vector<TouchEvent> touches;
  std::vector<std::pair<QEvent::Type, QPointF>> clicks;
  bool ungrabbed = false;

 protected:
  void touchEvent(QTouchEvent* event) override {
    TouchEvent recorded{event->type(), event->device(), {}};
    for (const auto& point : event->points()) {
      recorded.points.push_back({point.id(), point.state(), point.scenePosition()});
    }
    touches.push_back(std::move(recorded));
    event->accept();
  }
  void touchUngrabEvent() override { ungrabbed = true; }
  void mousePressEvent(QMouseEvent* event) override {
    clicks.emplace_back(event->type(), event->scenePosition());
  }
  void mouseReleaseEvent(QMouseEvent* event) override {
    clicks.emplace_back(event->type(), event->scenePosition());
  }
};

// A phone-sized offscreen window with a recorder inset from its corner, so that item and window
// coordinates differ.
class VirtualTouchScreenTest : public ::testing::Test {
 protected:
  void SetUp() override {
    window.resize(390, 844);
    recorder = new InputRecorder;
    recorder->setParentItem(window.contentItem());
    recorder->setPosition({20, 40});
    recorder->setSize({350, 780});
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
  }

  // Plays gesture, which takes a completion, and waits for it to complete.
  void perform(const std::function<void(std::function<void()>)>& gesture) {
    bool done = false;
    gesture([&] { done = true; });
    ASSERT_TRUE(QTest::qWaitFor([&] { return done; }, 10000));
  }

  static void expectPoints(const InputRecorder::TouchEvent& event, QEventPoint::State state,
                           const std::vector<qreal>& xs, qreal y) {
    ASSERT_EQ(event.points.size(), xs.size());
    for (std::size_t finger = 0; finger < xs.size(); ++finger) {
      EXPECT_EQ(event.points[finger].state, state) << "finger " << finger;
      EXPECT_NEAR(event.points[finger].at.x(), xs[finger], 0.5) << "finger " << finger;
      EXPECT_NEAR(event.points[finger].at.y(), y, 0.5) << "finger " << finger;
    }
  }

  QQuickWindow window;
  InputRecorder* recorder = nullptr;  // owned by the window's content item
};

// How fingers spread around a point is checked for two and three fingers in the queue test.
TEST_F(VirtualTouchScreenTest, SlidesPressMoveInStepsAndLiftTogether) {
  VirtualTouchScreen screen(&window);
  const std::vector<qreal> xs{120, 150, 180};
  perform([&](auto done) { screen.slide({150, 200}, {150, 600}, 3, 12, done); });

  const auto& touches = recorder->touches;
  ASSERT_GE(touches.size(), 2u);
  EXPECT_EQ(touches.front().type, QEvent::TouchBegin);
  EXPECT_EQ(touches.front().device, screen.device());
  expectPoints(touches.front(), QEventPoint::State::Pressed, xs, 200);
  EXPECT_EQ(touches.back().type, QEvent::TouchEnd);
  expectPoints(touches.back(), QEventPoint::State::Released, xs, 600);

  // Every step is its own event (none merged into a jump), each further down the line.
  const std::vector moves(touches.begin() + 1, touches.end() - 1);
  EXPECT_EQ(moves.size(), 12u);
  qreal previous = 200;
  for (const auto& move : moves) {
    EXPECT_EQ(move.type, QEvent::TouchUpdate);
    ASSERT_FALSE(move.points.empty());
    const qreal y = move.points.front().at.y();
    EXPECT_GT(y, previous);
    expectPoints(move, QEventPoint::State::Updated, xs, y);
    previous = y;
  }
  EXPECT_NEAR(previous, 600, 0.5);
}

TEST_F(VirtualTouchScreenTest, TapsClicksAndSlidesQueueBehindOneAnotherAndCompleteInOrder) {
  VirtualTouchScreen screen(&window);
  std::vector<std::string> completed;
  std::vector<std::size_t> eventsAtCompletion;
  auto note = [&](const char* name) {
    return [&, name] {
      completed.push_back(name);
      eventsAtCompletion.push_back(recorder->touches.size() + recorder->clicks.size());
    };
  };
  screen.tap({200, 300}, 3, note("tap"));
  screen.slide({100, 200}, {300, 200}, 2, 4, note("slide"));
  screen.click({250, 500}, note("click"));
  EXPECT_FALSE(screen.isIdle());
  ASSERT_TRUE(QTest::qWaitFor([&] { return completed.size() == 3; }, 10000));
  EXPECT_TRUE(screen.isIdle());

  EXPECT_EQ(completed, (std::vector<std::string>{"tap", "slide", "click"}));
  // Each completion came after its gesture's last event and before the next gesture's first.
  const auto& touches = recorder->touches;
  ASSERT_GE(touches.size(), 4u);
  EXPECT_EQ(eventsAtCompletion[0], 2u);
  EXPECT_EQ(eventsAtCompletion[1], touches.size());
  EXPECT_EQ(eventsAtCompletion[2], touches.size() + 2);
  // A tap presses and lifts every finger where it pressed them, with no move between.
  EXPECT_EQ(touches[0].type, QEvent::TouchBegin);
  expectPoints(touches[0], QEventPoint::State::Pressed, {170, 200, 230}, 300);
  EXPECT_EQ(touches[1].type, QEvent::TouchEnd);
  expectPoints(touches[1], QEventPoint::State::Released, {170, 200, 230}, 300);
  EXPECT_EQ(screen.device()->type(), QInputDevice::DeviceType::TouchScreen);
  EXPECT_GE(screen.device()->maximumPoints(), 3);
  EXPECT_EQ(touches[2].type, QEvent::TouchBegin);
  expectPoints(touches[2], QEventPoint::State::Pressed, {85, 115}, 200);

  // The click came the desktop way: mouse press and release where it was aimed.
  ASSERT_EQ(recorder->clicks.size(), 2u);
  EXPECT_EQ(recorder->clicks[0].first, QEvent::MouseButtonPress);
  EXPECT_EQ(recorder->clicks[0].second, QPointF(250, 500));
  EXPECT_EQ(recorder->clicks[1].first, QEvent::MouseButtonRelease);
  EXPECT_EQ(recorder->clicks[1].second, QPointF(250, 500));
}

TEST_F(VirtualTouchScreenTest, FingersStillDownAreCancelledWhenTheScreenGoes) {
  auto screen = std::make_unique<VirtualTouchScreen>(&window);
  screen->slide({150, 200}, {150, 600}, 2, 12);
  ASSERT_TRUE(QTest::qWaitFor([&] { return recorder->touches.size() >= 2; }, 10000));
  screen.reset();
  EXPECT_TRUE(recorder->ungrabbed ||
              std::any_of(recorder->touches.begin(), recorder->touches.end(),
                          [](const auto& event) { return event.type == QEvent::TouchCancel; }));
}

// The two-finger slide screen, drawn by the front end and driven through the touch screen.
class VirtualTouchScreenSlideTest : public QuickFixture {
 protected:
  void SetUp() override {
    if (!QFile::exists(":/Quorvel/MultiTouch_v2_ViewController.qml")) {
      GTEST_FAIL() << "the slide screen's interface is not in the build";
    }
    fixtureUp = true;
    QuickFixture::SetUp();
    screen = show<MultiTouch_v2_ViewController>("multi_touch_v2");
    screen->delegate = delegate;
    touches = std::make_unique<VirtualTouchScreen>(frontEnd->window());
  }

  void TearDown() override {
    touches.reset();
    if (fixtureUp) QuickFixture::TearDown();
  }

  // Slides fingers from the top of the slider to its bottom, and waits until they lifted.
  void slideDown(int fingers) {
    QQuickItem* slider = item("uiSliderView");
    ASSERT_NE(slider, nullptr);
    const QPointF top = slider->mapToScene({slider->width() / 2, 4});
    const QPointF bottom = slider->mapToScene({slider->width() / 2, slider->height() - 4});
    bool done = false;
    touches->slide(top, bottom, fingers, 12, [&] { done = true; });
    ASSERT_TRUE(waitFor([&] { return done; }));
  }

  // The slide's verdict is drawn at once when the fingers lift.
  std::string slideImage() const {
    return screen->snapshot()["outlets"]["uiImageSlide"]["image"].value("asset", "");
  }

  std::shared_ptr<MultiTouch_v2_ViewController> screen;
  std::shared_ptr<RecordingTestDelegate> delegate = std::make_shared<RecordingTestDelegate>();
  std::unique_ptr<VirtualTouchScreen> touches;
  bool fixtureUp = false;
};

TEST_F(VirtualTouchScreenSlideTest, OnlyTwoFingersDownTheWholeSliderPass) {
  // Every finger of the front end's touches counts: a third one fails the slide.
  slideDown(3);
  EXPECT_EQ(slideImage(), "imgSlideFingerOff");
  EXPECT_TRUE(screen->snapshot()["outlets"]["uiBtNext"]["hidden"].get<bool>());

  slideDown(2);
  EXPECT_EQ(slideImage(), "imgSlideFingerOn");
  ASSERT_TRUE(waitFor([&] { return frontEnd->findItem("uiBtNext") != nullptr; }));
  grab("multi-touch-v2-slid");
  EXPECT_TRUE(delegate->reports.empty());

  bool tapped = false;
  touches->tap(centerOf("uiBtNext"), 1, [&] { tapped = true; });
  ASSERT_TRUE(waitFor([&] { return tapped && !delegate->reports.empty(); }));
  ASSERT_EQ(delegate->reports.size(), 1u);
  EXPECT_FALSE(delegate->reports[0].cancelled);
  EXPECT_EQ(delegate->reports[0].result["success"], true);
}

// A text field's window typed into through the keyboard path.
class VirtualKeyboardTest : public ::testing::Test {
 protected:
  void SetUp() override {
    QQmlComponent component(&engine);
    component.setData(
        "import QtQuick\n"
        "TextInput { width: 300; height: 40; focus: true }",
        QUrl());
    input = qobject_cast<QQuickItem*>(component.create());
    ASSERT_NE(input, nullptr) << component.errorString().toStdString();
    input->setParentItem(window.contentItem());
    window.resize(390, 200);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    input->forceActiveFocus();
    ASSERT_TRUE(QTest::qWaitFor([&] { return input->hasActiveFocus(); }, 5000));
  }

  void TearDown() override { delete input; }

  QString text() const { return input->property("text").toString(); }

  QQmlEngine engine;
  QQuickWindow window;
  QQuickItem* input = nullptr;
};

TEST_F(VirtualKeyboardTest, TypedTextAndEditingKeysReachTheFocusedField) {
  VirtualKeyboard keyboard(&window);
  QSignalSpy accepted(input, SIGNAL(accepted()));

  keyboard.type("490154203237518 Ab-z.");
  ASSERT_TRUE(QTest::qWaitFor([&] { return text() == "490154203237518 Ab-z."; }, 5000))
      << text().toStdString();

  keyboard.pressKey(Qt::Key_Backspace);
  keyboard.pressKey(Qt::Key_Backspace);
  keyboard.type("é");
  ASSERT_TRUE(QTest::qWaitFor([&] { return text() == "490154203237518 Ab-é"; }, 5000))
      << text().toStdString();

  EXPECT_EQ(accepted.count(), 0);
  keyboard.pressKey(Qt::Key_Return);
  EXPECT_TRUE(QTest::qWaitFor([&] { return accepted.count() == 1; }, 5000));
  EXPECT_EQ(text(), "490154203237518 Ab-é");
}

class VirtualChargerDeviceTest : public ::testing::Test {
 protected:
  void SetUp() override {
    subscription = charger->observeBattery([this](BatteryChange change) {
      heard.push_back(change);
      // What an observer reads when it hears of the change.
      statesHeard.push_back(charger->batteryState());
    });
  }

  std::shared_ptr<ScriptedDevice> wrapped = std::make_shared<ScriptedDevice>();
  std::shared_ptr<ManualMainQueue> queue = std::make_shared<ManualMainQueue>();
  std::shared_ptr<VirtualChargerDevice> charger =
      std::make_shared<VirtualChargerDevice>(wrapped, queue, 0.8f);
  Subscription subscription;
  std::vector<BatteryChange> heard;
  std::vector<BatteryState> statesHeard;
};

TEST_F(VirtualChargerDeviceTest, ReadingsFollowTheCableOnlyWhileMonitoring) {
  EXPECT_EQ(charger->batteryState(), BatteryState::unknown);
  EXPECT_EQ(charger->batteryLevel(), -1.0f);
  charger->plug();
  EXPECT_EQ(charger->batteryState(), BatteryState::unknown);

  charger->setBatteryMonitoringEnabled(true);
  EXPECT_EQ(charger->batteryState(), BatteryState::charging);
  EXPECT_EQ(charger->batteryLevel(), 0.8f);
  charger->unplug();
  EXPECT_EQ(charger->batteryState(), BatteryState::unplugged);

  // A full battery on the cable is full, not charging; one that drains while plugged charges.
  charger->setLevel(1.0f);
  EXPECT_EQ(charger->batteryState(), BatteryState::unplugged);
  charger->plug();
  EXPECT_EQ(charger->batteryState(), BatteryState::full);
  charger->setLevel(0.95f);
  EXPECT_EQ(charger->batteryState(), BatteryState::charging);
  EXPECT_EQ(charger->batteryLevel(), 0.95f);

  charger->setBatteryMonitoringEnabled(false);
  EXPECT_EQ(charger->batteryState(), BatteryState::unknown);
  EXPECT_EQ(charger->batteryLevel(), -1.0f);
  // The wrapped device's own battery is never asked to monitor.
  EXPECT_FALSE(wrapped->monitoring);
}

TEST_F(VirtualChargerDeviceTest, NotificationsArriveOnTheMainQueueOnlyWhileMonitoring) {
  charger->plug();
  charger->unplug();
  EXPECT_EQ(queue->runUntilIdle(), 0u);

  charger->setBatteryMonitoringEnabled(true);
  charger->plug();
  charger->plug();  // already plugged: nothing changes
  EXPECT_TRUE(heard.empty());
  queue->runUntilIdle();
  EXPECT_EQ(heard, std::vector{BatteryChange::state});
  EXPECT_EQ(statesHeard, std::vector{BatteryState::charging});

  // Filling up on the cable is a level change and then a state change.
  heard.clear();
  statesHeard.clear();
  charger->setLevel(1.0f);
  queue->runUntilIdle();
  EXPECT_EQ(heard, (std::vector{BatteryChange::level, BatteryChange::state}));
  EXPECT_EQ(statesHeard.back(), BatteryState::full);

  // Monitoring that stops before the queue gets there silences the change.
  heard.clear();
  charger->unplug();
  charger->setBatteryMonitoringEnabled(false);
  queue->runUntilIdle();
  EXPECT_TRUE(heard.empty());

  // A change made while nobody monitored stays untold when monitoring resumes.
  charger->plug();
  charger->setBatteryMonitoringEnabled(true);
  queue->runUntilIdle();
  EXPECT_TRUE(heard.empty());

  // A notification queued for a device that is gone is dropped (the sanitizer catches a use).
  charger->unplug();
  charger.reset();
  queue->runUntilIdle();
  EXPECT_TRUE(heard.empty());
}

TEST_F(VirtualChargerDeviceTest, EveryOtherFactComesFromTheWrappedDevice) {
  wrapped->modelValue = "Laptop";
  wrapped->environment["SIMULATOR_MODEL_IDENTIFIER"] = "iPhone14,5";
  wrapped->freeDisk = 123;
  wrapped->carriers.emplace();
  EXPECT_EQ(charger->model(), "Laptop");
  EXPECT_EQ(charger->name(), wrapped->nameValue);
  EXPECT_EQ(charger->environmentVariable("SIMULATOR_MODEL_IDENTIFIER"), "iPhone14,5");
  EXPECT_EQ(charger->freeDiskSpaceInBytes(), 123);
  EXPECT_EQ(charger->totalDiskSpaceInBytes(), wrapped->totalDisk);
  EXPECT_EQ(charger->identifierForVendor(), wrapped->vendorIdentifier);
  EXPECT_TRUE(charger->cellularProviders());

  charger->setOrientation(DeviceOrientation::portrait);
  EXPECT_EQ(wrapped->orientationRequests, std::vector{DeviceOrientation::portrait});
}

TEST(VirtualChargerDeviceDeathTest, ALevelOutsideTheBatteryIsAProgrammingError) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  auto wrapped = std::make_shared<ScriptedDevice>();
  auto queue = std::make_shared<ManualMainQueue>();
  EXPECT_DEATH(VirtualChargerDevice(wrapped, queue, 1.5f), "0...1");
  VirtualChargerDevice charger(wrapped, queue);
  EXPECT_DEATH(charger.setLevel(-0.1f), "0...1");
}

}  // namespace
}  // namespace quorvel::testing
