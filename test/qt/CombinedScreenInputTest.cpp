#include <QTest>

#include "QuickFixture.h"
#include "quorvel/virtual/VirtualChargerDevice.h"
#include "quorvel/virtual/VirtualVolumeKeys.h"

namespace quorvel::testing {
namespace {

// The combined screen of a real run, passed the way a person passes it: the charger goes in, then
// the hardware volume keys are pressed, each arriving as a key event at the window.
class CombinedScreenInputTest : public QuickFixture {
 protected:
  void SetUp() override {
    QuickFixture::SetUp();
    Platform withCharger = platform();
    charger = std::make_shared<VirtualChargerDevice>(withCharger.device, withCharger.mainQueue);
    withCharger.device = charger;
    installPlatform(withCharger);
    keys = std::make_unique<VirtualVolumeKeys>(frontEnd->window(), withCharger.volumeEvents,
                                               withCharger.audioSession);
  }

  // The state the core shows for each row, in order.
  std::vector<int> rowStates() const {
    std::vector<int> states;
    auto top = frontEnd->topViewController();
    if (!top) return states;
    const Dictionary screen = top->snapshot();
    for (const auto& row : screen["outlets"]["uiTableView"]["rows"]) {
      states.push_back(row["state"].get<int>());
    }
    return states;
  }

  std::shared_ptr<VirtualChargerDevice> charger;
  std::unique_ptr<VirtualVolumeKeys> keys;
};

TEST_F(CombinedScreenInputTest, ChargerAndVolumeKeysPassTheRowsInTurn) {
  sdk.hideStartScreen = true;
  start(std::vector<std::string>{"charging_v2", "buttons_v2"}, "490154203237518");
  settle("MultipleTests_v2_ViewController");
  constexpr int focused = 0, success = 1, unfocused = 3;
  EXPECT_EQ(rowStates(), (std::vector<int>{focused, unfocused, unfocused}));
  keys->setLevel(0.5f);
  // Presses out of turn and the results the rows make are the core's to judge.
  charger->plug();
  ASSERT_TRUE(waitFor([&] {
    return rowStates() == std::vector<int>{success, focused, unfocused};
  }));
  keys->pressUp();
  ASSERT_TRUE(waitFor([&] { return rowStates() == std::vector<int>{success, success, focused}; }));
  keys->pressDown();
  ASSERT_TRUE(waitFor([&] { return rowStates() == std::vector<int>{success, success, success}; }));
  ASSERT_TRUE(waitFor([&] { return frontEnd->findItem("uiBtNext") != nullptr; }));
  grab("combined-rows-passed");

  tap("uiBtNext");
  settle("TestsFinishedViewController");
}

}  // namespace
}  // namespace quorvel::testing
