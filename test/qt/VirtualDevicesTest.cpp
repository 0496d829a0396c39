// The virtual touch screen, charger and volume keys that the demo's unattended run passes its tests
// with; the volume keys are heard by the window's hardware keys. The virtual keyboard types into
// the IMEI screen in ScreensInputTest.
#include <QKeyEvent>
#include <QQuickWindow>
#include <QWindow>
#include <vector>

#include "QuickFixture.h"
#include "qt/QtHardwareKeys.h"
#include "quorvel/platform/TrackedAudioSession.h"
#include "quorvel/virtual/VirtualChargerDevice.h"
#include "quorvel/virtual/VirtualTouchScreen.h"
#include "quorvel/virtual/VirtualVolumeKeys.h"
#include "support/ManualMainQueue.h"
#include "support/RecordingTestDelegate.h"
#include "tests/physical/MultiTouch_v2_ViewController.h"

namespace quorvel::testing {
namespace {

// An item that writes down the touches and mouse presses it receives, in window coordinates.
class InputRecorder : public QQuickItem {
 public:
  struct TouchEvent {
    QEvent::Type type;
    const QInputDevice* device;
    std::vector<std::pair<QEventPoint::State, QPointF>> points;
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
      recorded.points.emplace_back(point.state(), point.scenePosition());
    }
    touches.push_back(std::move(recorded));
    event->accept();
  }
  void touchUngrabEvent() override { ungrabbed = true; }
  void mousePressEvent(QMouseEvent* event) override { click(event); }
  void mouseReleaseEvent(QMouseEvent* event) override { click(event); }
  void click(QMouseEvent* event) { clicks.emplace_back(event->type(), event->scenePosition()); }
};

// The front end's phone-sized window with a recorder over it, inset from its corner, so that item
// and window coordinates differ.
class VirtualTouchScreenTest : public QuickFixture {
 protected:
  void SetUp() override {
    QuickFixture::SetUp();
    recorder = new InputRecorder;
    recorder->setParentItem(frontEnd->window()->contentItem());
    recorder->setPosition({20, 40});
    recorder->setSize({350, 780});
  }

  static void expectPoints(const InputRecorder::TouchEvent& event, QEvent::Type type,
                           QEventPoint::State state, const std::vector<qreal>& xs, qreal y) {
    EXPECT_EQ(event.type, type);
    ASSERT_EQ(event.points.size(), xs.size());
    for (std::size_t finger = 0; finger < xs.size(); ++finger) {
      EXPECT_EQ(event.points[finger].first, state) << "finger " << finger;
      EXPECT_NEAR(event.points[finger].second.x(), xs[finger], 0.5) << "finger " << finger;
      EXPECT_NEAR(event.points[finger].second.y(), y, 0.5) << "finger " << finger;
    }
  }

  InputRecorder* recorder = nullptr;  // owned by the window's content item
};

TEST_F(VirtualTouchScreenTest, GesturesQueueCompleteInOrderAndArriveAsTheirEvents) {
  VirtualTouchScreen screen(frontEnd->window());
  EXPECT_EQ(screen.device()->type(), QInputDevice::DeviceType::TouchScreen);
  // A completion that comes before its gesture's events is caught by the slide screen's test.
  std::vector<std::string> completed;
  auto note = [&](const char* name) { return [&, name] { completed.push_back(name); }; };
  screen.slide({150, 200}, {150, 600}, 3, 12, note("slide"));
  screen.tap({200, 300}, 2, note("tap"));
  screen.click({250, 500}, note("click"));
  EXPECT_FALSE(screen.isIdle());
  ASSERT_TRUE(QTest::qWaitFor([&] { return completed.size() == 3; }, 10000));
  EXPECT_TRUE(screen.isIdle());
  EXPECT_EQ(completed, (std::vector<std::string>{"slide", "tap", "click"}));
  const auto& touches = recorder->touches;
  ASSERT_EQ(touches.size(), 16u);

  // The slide's fingers press side by side, and every step is its own event (none merged into a
  // jump), each further down the line.
  const std::vector<qreal> xs{120, 150, 180};
  EXPECT_EQ(touches[0].device, screen.device());
  expectPoints(touches[0], QEvent::TouchBegin, QEventPoint::State::Pressed, xs, 200);
  for (int step = 1; step <= 12; ++step) {
    ASSERT_FALSE(touches[step].points.empty());
    const qreal y = touches[step].points.front().second.y();
    EXPECT_GT(y, touches[step - 1].points.front().second.y());
    expectPoints(touches[step], QEvent::TouchUpdate, QEventPoint::State::Updated, xs, y);
  }
  expectPoints(touches[13], QEvent::TouchEnd, QEventPoint::State::Released, xs, 600);
  // A tap presses and lifts every finger where it pressed them, with no move between.
  expectPoints(touches[14], QEvent::TouchBegin, QEventPoint::State::Pressed, {185, 215}, 300);
  expectPoints(touches[15], QEvent::TouchEnd, QEventPoint::State::Released, {185, 215}, 300);
  // The click came the desktop way: mouse press and release where it was aimed.
  EXPECT_EQ(recorder->clicks,
            (std::vector<std::pair<QEvent::Type, QPointF>>{
                {QEvent::MouseButtonPress, {250, 500}}, {QEvent::MouseButtonRelease, {250, 500}}}));
}

TEST_F(VirtualTouchScreenTest, FingersStillDownAreCancelledWhenTheScreenGoes) {
  auto screen = std::make_unique<VirtualTouchScreen>(frontEnd->window());
  screen->slide({150, 200}, {150, 600}, 2, 12);
  ASSERT_TRUE(QTest::qWaitFor([&] { return recorder->touches.size() >= 2; }, 10000));
  screen.reset();
  EXPECT_TRUE(recorder->ungrabbed ||
              std::any_of(recorder->touches.begin(), recorder->touches.end(),
                          [](const auto& event) { return event.type == QEvent::TouchCancel; }));
}

// The two-finger slide screen, drawn by the front end and driven through the touch screen: every
// finger of the front end's touches reaches the screen's gesture recogniser.
class VirtualTouchScreenSlideTest : public QuickFixture {};

TEST_F(VirtualTouchScreenSlideTest, OnlyTwoFingersDownTheWholeSliderPass) {
  auto screen = show<MultiTouch_v2_ViewController>("multi_touch_v2");
  auto delegate = std::make_shared<RecordingTestDelegate>();
  screen->delegate = delegate;
  VirtualTouchScreen touches(frontEnd->window());
  auto slideDown = [&](int fingers) {
    QQuickItem* slider = item("uiSliderView");
    bool done = false;
    touches.slide(slider->mapToScene({slider->width() / 2, 4}),
                  slider->mapToScene({slider->width() / 2, slider->height() - 4}), fingers, 12,
                  [&] { done = true; });
    EXPECT_TRUE(waitFor([&] { return done; }));
    return screen->snapshot()["outlets"]["uiImageSlide"]["image"].value("asset", "");
  };
  // The pan is judged against the picture's height, so the picture fills the slider.
  const Size slide = std::as_const(*screen).outlet<ImageView>("uiImageSlide").bounds;
  EXPECT_GT(slide.height, 200);
  EXPECT_EQ(slide.height, item("uiSliderView")->height());
  EXPECT_EQ(slideDown(3), "imgSlideFingerOff");
  EXPECT_EQ(slideDown(2), "imgSlideFingerOn");
  ASSERT_TRUE(waitFor([&] { return frontEnd->findItem("uiBtNext") != nullptr; }));
  grab("multi-touch-v2-slid");
  // A finger's tap presses a button too.
  touches.tap(centerOf("uiBtNext"));
  EXPECT_TRUE(waitFor([&] { return !delegate->reports.empty(); }));
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

TEST_F(VirtualChargerDeviceTest, ReadingsAndNotificationsFollowTheCableOnlyWhileMonitoring) {
  charger->plug();
  charger->unplug();
  EXPECT_EQ(charger->batteryState(), BatteryState::unknown);
  EXPECT_EQ(charger->batteryLevel(), -1.0f);
  EXPECT_EQ(queue->runUntilIdle(), 0u);

  charger->setBatteryMonitoringEnabled(true);
  EXPECT_EQ(charger->batteryLevel(), 0.8f);
  charger->plug();
  charger->plug();  // already plugged: nothing changes
  EXPECT_TRUE(heard.empty());
  queue->runUntilIdle();
  EXPECT_EQ(heard, std::vector{BatteryChange::state});
  EXPECT_EQ(statesHeard, std::vector{BatteryState::charging});

  // Filling up on the cable is a level change and then a state change to full; draining while
  // plugged charges again.
  heard.clear();
  charger->setLevel(1.0f);
  queue->runUntilIdle();
  EXPECT_EQ(heard, (std::vector{BatteryChange::level, BatteryChange::state}));
  EXPECT_EQ(statesHeard.back(), BatteryState::full);
  charger->setLevel(0.95f);
  EXPECT_EQ(charger->batteryState(), BatteryState::charging);

  // Monitoring that stops before the queue gets there silences the change, and a change made
  // while nobody monitored stays untold when monitoring resumes.
  heard.clear();
  charger->unplug();
  charger->setBatteryMonitoringEnabled(false);
  queue->runUntilIdle();
  charger->plug();
  charger->setBatteryMonitoringEnabled(true);
  queue->runUntilIdle();
  EXPECT_TRUE(heard.empty());
  EXPECT_FALSE(wrapped->monitoring) << "the wrapped battery was asked to monitor";

  // A notification queued for a device that is gone is dropped (the sanitizer catches a use).
  charger->unplug();
  charger.reset();
  queue->runUntilIdle();
  EXPECT_TRUE(heard.empty());
}

// A window that writes down the keys that reach it.
class KeyWindow : public QWindow {
 public:
  std::vector<int> keys;

 protected:
  void keyPressEvent(QKeyEvent* event) override { keys.push_back(event->key()); }
};

// The side buttons of an offscreen window, heard by the window's hardware keys.
class HardwareKeysTest : public ::testing::Test {
 protected:
  void SetUp() override {
    keys.attach(&window);
    window.resize(200, 200);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    subscriptions.push_back(volume->addObserver([this](const VolumeChange& change) {
      changes.push_back({change.volume, change.explicitChange});
    }));
    subscriptions.push_back(
        session->observeOutputVolume([this](float level) { sessionLevels.push_back(level); }));
    subscriptions.push_back(screenshots->addObserver([this] { ++screenshotsTaken; }));
  }

  static constexpr float kStep = 1.0f / 16;

  std::shared_ptr<VolumeEvents> volume = std::make_shared<VolumeEvents>();
  std::shared_ptr<TrackedAudioSession> session = std::make_shared<TrackedAudioSession>(0.5f);
  std::shared_ptr<ScreenshotEvents> screenshots = std::make_shared<ScreenshotEvents>();
  KeyWindow window;
  QtHardwareKeys keys{volume, session, screenshots};
  VirtualVolumeKeys buttons{&window, volume, session};

  std::vector<Subscription> subscriptions;
  std::vector<std::pair<float, bool>> changes;  // level, explicit
  std::vector<float> sessionLevels;
  int screenshotsTaken = 0;
};

TEST_F(HardwareKeysTest, PressesAreExplicitSixteenthStepsClampedAtEitherEnd) {
  buttons.pressUp();
  buttons.pressDown();
  buttons.pressDown();
  // Near or at either end a press stops at the end and is still reported.
  buttons.setLevel(1.0f - kStep / 2);
  buttons.pressUp();
  buttons.pressUp();
  buttons.setLevel(kStep / 2);
  buttons.pressDown();
  buttons.pressDown();
  ASSERT_TRUE(QTest::qWaitFor([&] { return changes.size() >= 9; }, 5000));
  using Change = std::pair<float, bool>;
  // The system's own changes are told at once and are not explicit; presses keep their place in
  // line and step from the level then.
  EXPECT_EQ(changes, (std::vector<Change>{{0.5f + kStep, true},
                                          {0.5f, true},
                                          {0.5f - kStep, true},
                                          {1.0f - kStep / 2, false},
                                          {1.0f, true},
                                          {1.0f, true},
                                          {kStep / 2, false},
                                          {0.0f, true},
                                          {0.0f, true}}));
  EXPECT_EQ(sessionLevels.size(), 9u);
  EXPECT_EQ(session->outputVolume(), 0.0f);
  // The volume keys are the system's: the window's own key handling never sees them.
  EXPECT_TRUE(window.keys.empty());
}

// Print is the screenshot chord (on the front end's window below); other keys reach the window
// (typing on the screens, ScreensInputTest).
TEST_F(HardwareKeysTest, AClosedWindowHasNone) {
  auto gone = std::make_unique<QWindow>();
  VirtualVolumeKeys orphan(gone.get(), volume, session);
  gone.reset();
  orphan.pressUp();
  orphan.pressScreenshot();
  QTest::qWait(100);
  EXPECT_TRUE(changes.empty());
  EXPECT_EQ(screenshotsTaken, 0);
}

// The front end's own window hears its side buttons on the ports it installs.
class HardwareKeysFrontEndTest : public QuickFixture {};

TEST_F(HardwareKeysFrontEndTest, TheFrontEndWindowReportsVolumeAndScreenshotsOnItsPorts) {
  Platform ports = frontEnd->platform();
  int screenshotsTaken = 0, volumeChanges = 0;
  Subscription screenshot = ports.screenshotEvents->addObserver([&] { ++screenshotsTaken; });
  Subscription volume =
      ports.volumeEvents->addObserver([&](const VolumeChange&) { ++volumeChanges; });
  VirtualVolumeKeys buttons(frontEnd->window(), ports.volumeEvents, ports.audioSession);
  buttons.pressScreenshot();
  buttons.pressUp();
  EXPECT_TRUE(waitFor([&] { return screenshotsTaken == 1 && volumeChanges == 1; }));
}

}  // namespace
}  // namespace quorvel::testing
