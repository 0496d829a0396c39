#include <gtest/gtest.h>

#include <functional>

#include "AssetsServer.h"
#include "run/RunController.h"
#include "support/SdkFixture.h"
#include "tests/physical/Buttons_v1_ViewController.h"
#include "tests/physical/Charging_v1_ViewController.h"
#include "tests/physical/MultiTouch_v1_ViewController.h"
#include "tests/video/DeviceFrontVideo_v1_ViewController.h"

namespace quorvel::testing {
namespace {

// No run the host can start reaches the first-generation screens, so their reports are handed to
// a run controller as the screens make them; what the backend then receives shows where each went.
class FirstGenerationResultsTest : public SdkFixture {
 protected:
  void SetUp() override {
    SdkFixture::SetUp();
    server.start();
    env.setAssetsHost(server.address());
    hostWithNavigation();
    sdk.hideStartScreen = true;
  }
  void TearDown() override {
    server.stop();
    SdkFixture::TearDown();
  }

  TemporaryTree storage{"quorvel-assets"};
  AssetsServer server{AssetsServer::Options{storage.path(), {"key"}}};
};

TEST_F(FirstGenerationResultsTest, EachScreenIsFiledUnderItsResultKey) {
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
    run->performTests("app", "key", std::vector<std::string>{"multi_touch_v2"}, "490154203237518",
                      std::nullopt, nullptr, completion());
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
