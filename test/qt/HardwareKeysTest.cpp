#include <gtest/gtest.h>

#include <QKeyEvent>
#include <QTest>
#include <QWindow>
#include <memory>
#include <vector>

#include "QuickFixture.h"
#include "qt/QtHardwareKeys.h"
#include "quorvel/platform/TrackedAudioSession.h"
#include "quorvel/virtual/VirtualVolumeKeys.h"

namespace quorvel::testing {
namespace {

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

  // Waits until count volume changes were reported.
  bool reported(std::size_t count) {
    return QTest::qWaitFor([&] { return changes.size() >= count; }, 5000) &&
           changes.size() == count;
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
  ASSERT_TRUE(reported(9));
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
