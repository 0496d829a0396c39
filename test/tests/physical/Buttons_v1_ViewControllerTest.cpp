#include <gtest/gtest.h>

#include "support/NotificationCenter.h"
#include "support/TestScreenFixture.h"
#include "tests/physical/Buttons_v1_ViewController.h"
#include "tests/physical/VolumeListener.h"

namespace {

using namespace quorvel;
using Phase = Buttons_v1_ViewController::TestPhase;

class Buttons_v1_ViewControllerTest : public quorvel::testing::TestScreenFixture {
 protected:
  std::shared_ptr<Buttons_v1_ViewController> showButtons(float startLevel = 0.5f) {
    env.volume.systemChange(startLevel);
    return show<Buttons_v1_ViewController>();
  }
  void screenshot() { env.screenshots->userDidTakeScreenshot(); }

  static Dictionary phaseResult(bool success) {
    return {{"success", success}, {"timestamp", "2024-03-01T10:15:30.123+0000"}};
  }
};

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
  EXPECT_EQ(onlyReport().result, (Dictionary{{"volume_up", phaseResult(true)},
                                             {"volume_down", phaseResult(true)},
                                             {"screenshot", phaseResult(true)},
                                             {"timestamp", "2024-03-01T10:15:30.123+0000"},
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
  EXPECT_EQ(onlyReport().result.at("volume_up"), phaseResult(false));
  EXPECT_EQ(onlyReport().result.at("screenshot"), phaseResult(false));
  screenshot();
  EXPECT_EQ(delegate->reports.size(), 1u);
}

}  // namespace
