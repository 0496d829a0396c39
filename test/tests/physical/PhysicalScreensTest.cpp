// The physical test screens on the test platform: the cable, the volume keys and the screenshot,
// the fingers, and the combined screen of the first two.
#include <gtest/gtest.h>

#include "support/NotificationCenter.h"
#include "support/ScriptedFingers.h"
#include "support/TestScreenFixture.h"
#include "tests/physical/Buttons_v1_ViewController.h"
#include "tests/physical/Charging_v1_ViewController.h"
#include "tests/physical/MultiTouch_v1_ViewController.h"
#include "tests/physical/MultiTouch_v2_ViewController.h"
#include "tests/physical/MultipleTests_v2_ViewController.h"
#include "tests/physical/VolumeListener.h"

namespace quorvel::testing {
namespace {

constexpr const char* kStamp = "2024-03-01T10:15:30.123+0000";

// One part's result, and a whole test's without details.
Dictionary part(bool success) { return {{"success", success}, {"timestamp", kStamp}}; }
Dictionary whole(bool success) {
  return {{"success", success}, {"timestamp", kStamp}, {"version", "1"}};
}

// The cable and the volume keys' screens, on a device whose battery and level are as given when
// they load.
class PhysicalScreensTest : public TestScreenFixture {
 protected:
  std::shared_ptr<Charging_v1_ViewController> showCharging(BatteryState state) {
    env.device->battery = state;
    return show<Charging_v1_ViewController>();
  }
  std::shared_ptr<Buttons_v1_ViewController> showButtons(float startLevel = 0.5f) {
    env.volume.systemChange(startLevel);
    return show<Buttons_v1_ViewController>();
  }
  void screenshot() { env.screenshots->userDidTakeScreenshot(); }
};

void expectDetected(const Charging_v1_ViewController& screen, bool detected) {
  EXPECT_EQ(screen.outlet<Button>("uiBtNext").hidden, !detected);
  EXPECT_EQ(screen.outlet<ImageView>("uiImage").image,
            Image::asset(detected ? "power_cable_plugged" : "power_cable_unplugged"));
}

const Dictionary kSuccess = Dictionary::parse(R"({"success": true, "battery_state": "charging",
    "battery_level": -1.0, "timestamp": "2024-03-01T10:15:30.123+0000", "version": "1"})");

using Charging_v1_ViewControllerTest = PhysicalScreensTest;

TEST_F(Charging_v1_ViewControllerTest, CableAlreadyInOrFullAtLoadIsDetectedAtOnce) {
  for (auto state : {BatteryState::charging, BatteryState::full}) {
    delegate->reports.clear();
    auto screen = showCharging(state);
    expectDetected(*screen, true);
    EXPECT_FALSE(env.device->monitoring);
    // Monitoring went off at detection, so the level reads as the device reports it then.
    screen->sendAction("uiBtNext_TouchUpInside");
    EXPECT_EQ(onlyReport().result, kSuccess);
  }
}

TEST_F(Charging_v1_ViewControllerTest, DetectionByNotificationNeverGoesBack) {
  auto screen = showCharging(BatteryState::unplugged);
  expectDetected(*screen, false);
  // Giving up is possible at any time, and reports no battery keys.
  screen->sendAction("uiBtCouldntCompleteTest_TouchUpInside");
  EXPECT_EQ(onlyReport().result, whole(false));
  env.device->setBattery(BatteryState::unknown);
  expectDetected(*screen, false);
  env.device->setBattery(BatteryState::charging);
  expectDetected(*screen, true);
  EXPECT_FALSE(env.device->monitoring);
  // Unplugged again, even with a notification reaching the screen.
  env.device->monitoring = true;
  env.device->setBattery(BatteryState::unplugged);
  expectDetected(*screen, true);
  env.device->monitoring = false;
  screen->sendAction("uiBtNext_TouchUpInside");
  EXPECT_EQ(delegate->reports.back().result, kSuccess);
}

using Phase = Buttons_v1_ViewController::TestPhase;

using Buttons_v1_ViewControllerTest = PhysicalScreensTest;

TEST_F(Buttons_v1_ViewControllerTest, PhasesEndInOrderAndTheScreenshotFinishes) {
  auto screen = showButtons();
  EXPECT_EQ(screen->outlet<ImageView>("uiImage").image, Image::asset("iPhone_face_ID_volume_up"));
  screenshot();            // not observed in a volume phase
  env.volume.pressDown();  // only lowers the level seen
  EXPECT_EQ(screen->currentTestPhase(), Phase::VolumeUp);
  env.volume.pressUp();  // passes up; the same press is not a press down
  EXPECT_EQ(screen->currentTestPhase(), Phase::VolumeDown);
  env.volume.pressDown();
  EXPECT_EQ(screen->outlet<ImageView>("uiImage").image, Image::asset("iPhone_face_ID_screenshot"));
  EXPECT_TRUE(delegate->reports.empty());

  screenshot();
  EXPECT_EQ(onlyReport().result, (Dictionary{{"volume_up", part(true)},
                                             {"volume_down", part(true)},
                                             {"screenshot", part(true)},
                                             {"timestamp", kStamp},
                                             {"version", "1"}}));
}

TEST_F(Buttons_v1_ViewControllerTest, AVolumeAlreadyAtAnEndPassesWithOnePress) {
  auto top = showButtons(1.0f);
  env.volume.pressUp();  // reported as 1.0, not above the level seen
  EXPECT_EQ(top->currentTestPhase(), Phase::VolumeDown);
  cover();
  auto bottom = showButtons(0.0f);
  bottom->sendAction("uiBtCouldntCompleteTest_TouchUpInside");
  env.volume.pressDown();  // reported as 0.0, not below the level seen
  EXPECT_EQ(bottom->currentTestPhase(), Phase::Screenshot);
}

TEST_F(Buttons_v1_ViewControllerTest, IgnoresMalformedNotificationsAndStopsWhenGoneOrGivenUp) {
  auto screen = showButtons();
  auto& center = NotificationCenter::defaultCenter();
  center.post(VolumeListener::volumeDidChangeNotification, {{"volume", "loud"}});
  center.post(VolumeListener::volumeDidChangeNotification, {{"level", 0.9}});
  EXPECT_EQ(screen->currentVolume(), 0.5f);
  cover();
  env.volume.pressUp();
  EXPECT_EQ(screen->currentTestPhase(), Phase::VolumeUp);

  auto givenUp = showButtons();
  for (int i = 0; i < 3; ++i) givenUp->sendAction("uiBtCouldntCompleteTest_TouchUpInside");
  EXPECT_EQ(onlyReport().result.at("volume_up"), part(false));
  EXPECT_EQ(onlyReport().result.at("screenshot"), part(false));
  screenshot();
  EXPECT_EQ(delegate->reports.size(), 1u);
}

const std::string kCharging = "charging_v2";
const std::string kUp = "buttons_v2_volume_up";
const std::string kDown = "buttons_v2_volume_down";

class MultipleTests_v2_ViewControllerTest : public TestScreenFixture {
 protected:
  void showRows(std::vector<std::string> selection, BatteryState battery = BatteryState::unplugged,
                float level = 0.5f) {
    env.device->battery = battery;
    env.volume.systemChange(level);
    screen = show<MultipleTests_v2_ViewController>(
        [&](MultipleTests_v2_ViewController& s) { s.selectedTests = std::move(selection); });
  }

  std::vector<TestViewState> states() const {
    std::vector<TestViewState> all;
    for (const auto& row : screen->testsToPerform()) all.push_back(screen->state(row));
    return all;
  }
  bool done() const {
    return !screen->outlet<Button>("uiBtNext").hidden &&
           screen->outlet<Button>("uiBtCouldntCompleteTest").hidden;
  }
  void giveUp() { screen->sendAction("uiBtCouldntCompleteTest_TouchUpInside"); }
  const Dictionary& pressNext() {
    screen->sendAction("uiBtNext_TouchUpInside");
    return onlyReport().result;
  }

  std::shared_ptr<MultipleTests_v2_ViewController> screen;
};

TEST_F(MultipleTests_v2_ViewControllerTest, RowsInDisplayOrderPassByTheirEventsAndNextReports) {
  showRows({"multi_touch_v2", "buttons_v2", "charging_v2"});
  EXPECT_EQ(screen->testsToPerform(), (std::vector<std::string>{kCharging, kUp, kDown}));
  EXPECT_EQ(states(), (std::vector<TestViewState>{TestViewState::focused, TestViewState::unfocused,
                                                  TestViewState::unfocused}));
  EXPECT_TRUE(env.device->monitoring);
  env.volume.pressUp();  // the volume rows are not under test yet
  EXPECT_EQ(screen->currentTestPos(), 0);

  env.device->setBattery(BatteryState::full);
  EXPECT_FALSE(env.device->monitoring);
  env.volume.pressDown();  // not a press up
  env.volume.pressUp();
  env.volume.pressDown();
  EXPECT_EQ(states(), std::vector<TestViewState>(3, TestViewState::success));
  EXPECT_TRUE(done());

  EXPECT_EQ(pressNext(), Dictionary::parse(R"({
    "charging": {"version": "1", "success": true, "timestamp": "2024-03-01T10:15:30.123+0000",
                 "battery_state": "charging", "battery_level": -1.0},
    "buttons": {"version": "1", "timestamp": "2024-03-01T10:15:30.123+0000",
                "volume_up": {"success": true, "timestamp": "2024-03-01T10:15:30.123+0000"},
                "volume_down": {"success": true, "timestamp": "2024-03-01T10:15:30.123+0000"}}})"));
  // Next stops watching the battery only.
  env.volume.pressDown();
  EXPECT_EQ(screen->currentVolume(), env.volume.level());
}

TEST_F(MultipleTests_v2_ViewControllerTest, CableAlreadyInAndVolumeAtAnEndPassAtOnce) {
  showRows({"charging_v2", "buttons_v2"}, BatteryState::charging, 1.0f);
  EXPECT_EQ(screen->currentTestPos(), 1);
  env.volume.pressUp();  // reported as 1.0
  EXPECT_EQ(screen->currentTestPos(), 2);

  restart();
  showRows({"buttons_v2"}, BatteryState::unplugged, 0.0f);
  giveUp();
  env.volume.pressDown();  // reported as 0.0
  EXPECT_EQ(states(), (std::vector<TestViewState>{TestViewState::failed, TestViewState::success}));
}

TEST_F(MultipleTests_v2_ViewControllerTest, GivingUpEveryRowStillLeadsToNextWithAPartPerTest) {
  showRows({"charging_v2", "buttons_v2"});
  for (int row = 0; row < 3; ++row) giveUp();
  EXPECT_TRUE(done());
  EXPECT_EQ(pressNext(), Dictionary::parse(R"({
    "charging": {"version": "1", "success": false, "timestamp": "2024-03-01T10:15:30.123+0000"},
    "buttons": {"version": "1", "timestamp": "2024-03-01T10:15:30.123+0000",
                "volume_up": {"success": false, "timestamp": "2024-03-01T10:15:30.123+0000"},
                "volume_down": {"success": false, "timestamp": "2024-03-01T10:15:30.123+0000"}}})"));
}

TEST_F(MultipleTests_v2_ViewControllerTest, CancelOrDisappearingStopsBothDetectors) {
  for (bool cancel : {true, false}) {
    SCOPED_TRACE(cancel ? "cancel" : "disappear");
    restart();
    auto end = [&] { cancel ? (void)screen->sendAction("uiBtCancel_TouchUpInside") : cover(); };
    showRows({"charging_v2"});
    end();
    EXPECT_EQ(env.device->monitoring, !cancel);
    env.device->monitoring = true;
    env.device->setBattery(BatteryState::charging);
    EXPECT_EQ(screen->state(kCharging), TestViewState::focused);

    showRows({"buttons_v2"});
    end();
    env.volume.pressUp();
    EXPECT_EQ(screen->state(kUp), TestViewState::focused);
  }
}

using MultiTouch_v1_ViewControllerTest = TestScreenFixture;

TEST_F(MultiTouch_v1_ViewControllerTest, OnlyAThreeFingerTapPassesAndOnlyOnce) {
  auto screen = show<MultiTouch_v1_ViewController>();
  ScriptedFingers fingers(screen, "view");
  for (int count : {2, 4}) fingers.tap(count);
  EXPECT_TRUE(delegate->reports.empty());
  fingers.tap(3);
  EXPECT_EQ(onlyReport().result, whole(true));
  fingers.tap(3);
  EXPECT_EQ(delegate->reports.size(), 1u);
}

constexpr double kHeight = 200;  // of the picture; the line is at 180

class MultiTouch_v2_ViewControllerTest : public TestScreenFixture {
 protected:
  void showSlider() {
    screen = show<MultiTouch_v2_ViewController>();
    screen->outlet<View>("uiSliderView").bounds = {300, kHeight};
    screen->outlet<ImageView>("uiImageSlide").bounds = {300, kHeight};
    fingers = std::make_unique<ScriptedFingers>(screen, "uiSliderView");
  }

  const ImageView& slide() const { return screen->outlet<ImageView>("uiImageSlide"); }
  bool nextShown() const { return !screen->outlet<Button>("uiBtNext").hidden; }
  void expectTintedOn(double alpha) const {
    EXPECT_EQ(slide().image, Image::asset("imgSlideFingerOn", true));
    EXPECT_EQ(slide().tintColor, Customization::defaultThemeColor().withAlpha(alpha));
  }
  void expectOff() const {
    EXPECT_EQ(slide().image, Image::asset("imgSlideFingerOff"));
    EXPECT_FALSE(slide().tintColor);
  }

  std::shared_ptr<MultiTouch_v2_ViewController> screen;
  std::unique_ptr<ScriptedFingers> fingers;
};

TEST_F(MultiTouch_v2_ViewControllerTest, OnlyTwoFingersEndingBelowTheNinetyPercentLinePass) {
  struct Case {
    int fingers;
    double fromY, toY;
    bool passes;
  };
  for (const auto& c : std::vector<Case>{
           {2, 20, 0.9 * kHeight, false},  // exactly on the line
           {2, 199, 180.5, true},          // just below it, even upwards
           {1, 0, 199, false},
           {3, 0, 199, false},
       }) {
    SCOPED_TRACE(::testing::Message() << c.fingers << " fingers to " << c.toY);
    showSlider();
    fingers->slide(c.fingers, {150, c.fromY}, {150, c.toY});
    EXPECT_FALSE(nextShown());  // the success step waits for the main queue
    settle();
    EXPECT_EQ(nextShown(), c.passes);
  }
}

TEST_F(MultiTouch_v2_ViewControllerTest, PictureFillsInWithTheFingersAndTheHostsShowsAfterAPass) {
  auto custom = std::make_shared<Customization>();
  custom->customScreens.emplace_back(
      "multi_touch_v2", std::map<std::string, std::string>{},
      std::map<std::string, Image>{{"imageOff", Image::file("/host/off.png")},
                                   {"imageOn", Image::file("/host/on.png")}});
  context.customization = custom;
  showSlider();
  EXPECT_EQ(slide().image, Image::file("/host/off.png"));
  // While the fingers move, the bundle's pictures, not the host's, fill in with their depth.
  fingers->down(2, {150, 20});
  fingers->moveTo({150, 40});  // begins
  fingers->moveTo({150, 100});
  expectTintedOn(0.5);
  fingers->moveTo({150, 80});  // up: unchanged
  expectTintedOn(0.5);
  fingers->lift();
  expectOff();
  settle();
  EXPECT_FALSE(nextShown());
  fingers->slide(2, {150, 20}, {150, 190});
  expectTintedOn(1.0);
  settle();
  EXPECT_EQ(slide().image, Image::file("/host/on.png"));
  EXPECT_FALSE(slide().tintColor);

  // Passed: further touches change nothing (what Next reports is RunUploadTest's check).
  fingers->slide(2, {150, 190}, {150, 20});
  EXPECT_EQ(slide().image, Image::file("/host/on.png"));
}

class VolumeListenerTest : public SdkFixture {
 protected:
  void SetUp() override {
    SdkFixture::SetUp();
    heard = NotificationCenter::defaultCenter().addObserver(
        VolumeListener::volumeDidChangeNotification,
        [this](const Notification& n) { posted.push_back(n.userInfo); });
  }

  std::vector<Dictionary> posted;
  Subscription heard;
};

TEST_F(VolumeListenerTest, PassesOnKeyPressesAlsoAtTheEndsOncePerSetUpUntilItGoes) {
  {
    VolumeListener withoutRootScreen(platform());  // nothing to listen through yet
    withoutRootScreen.setup();
    env.volume.pressUp();
  }
  hostWithNavigation();
  {
    VolumeListener listener(platform());
    listener.setup();
    env.volume.systemChange(0.9375f);  // another app's change
    env.volume.pressUp();
    env.volume.pressUp();  // already at the top: still reported
    EXPECT_EQ(posted, (std::vector<Dictionary>{{{"volume", 1.0}}, {{"volume", 1.0}}}));
    // Each set-up adds a registration.
    listener.setup();
    env.volume.pressDown();
    EXPECT_EQ(posted.size(), 4u);
  }
  env.volume.pressDown();
  EXPECT_EQ(posted.size(), 4u);
}

}  // namespace
}  // namespace quorvel::testing
