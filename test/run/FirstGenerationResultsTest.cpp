#include <gtest/gtest.h>

#include <functional>

#include "run/RunController.h"
#include "support/TestScreenFixture.h"
#include "tests/physical/Buttons_v1_ViewController.h"
#include "tests/physical/Charging_v1_ViewController.h"
#include "tests/physical/MultiTouch_v1_ViewController.h"
#include "tests/video/DeviceFrontVideo_v1_ViewController.h"

namespace quorvel::testing {
namespace {

// No run the host can start reaches the first-generation screens, so their reports are handed to
// a run controller as the screens make them; what the backend then receives shows where each went.
using FirstGenerationResultsTest = SdkFixture;

TEST_F(FirstGenerationResultsTest, EachScreenIsFiledUnderItsResultKey) {
  LocalAssets assets;
  env.setAssetsHost(assets.server.address());
  hostWithNavigation();
  sdk.hideStartScreen = true;
  const Dictionary result = {{"success", true}, {"version", "1"}};
  auto reportOf = [&](auto screen, auto finished) {
    return std::function<void(RunController&)>(
        [=](RunController& run) { (run.*finished)(*screen, result); });
  };
  const std::vector<std::pair<const char*, std::function<void(RunController&)>>> cases = {
      {"charging", reportOf(std::make_shared<Charging_v1_ViewController>(portsOnly()),
                            &RunController::Charging_v1_ViewControllerFinished)},
      {"buttons", reportOf(std::make_shared<Buttons_v1_ViewController>(portsOnly()),
                           &RunController::Buttons_v1_ViewControllerFinished)},
      {"multi_touch", reportOf(std::make_shared<MultiTouch_v1_ViewController>(portsOnly()),
                               &RunController::MultiTouch_v1_ViewControllerFinished)},
      {"device_front_video",
       reportOf(std::make_shared<DeviceFrontVideo_v1_ViewController>(portsOnly()),
                &RunController::DeviceFrontVideo_v1_ViewControllerFinished)},
  };
  for (const auto& [resultKey, report] : cases) {
    SCOPED_TRACE(resultKey);
    outcome = std::make_shared<Outcome>();
    auto run = std::make_shared<RunController>(sdk);
    // One test, so the report ends the tests and the end screen follows.
    run->performTests(LocalAssets::kApp, LocalAssets::kKey,
                      std::vector<std::string>{"multi_touch_v2"}, kValidIMEI, std::nullopt, nullptr,
                      completion());
    report(*run);
    settle();
    ASSERT_EQ(topInterface(), "TestsFinishedViewController");
    press("uiBtDone_TouchUpInside");
    ASSERT_TRUE(waitUntil([&] { return outcome->calls > 0; }));
    EXPECT_EQ(outcome->response->at("tests_results"), (Dictionary{{resultKey, result}}));
  }
}

}  // namespace
}  // namespace quorvel::testing
