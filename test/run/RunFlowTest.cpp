#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>

#include "device/CryptoHelper.h"
#include "device/IMEIViewController.h"
#include "quorvel/ui/AlertController.h"
#include "run/RunController.h"
#include "support/ObservingHttpClient.h"
#include "support/ScriptedFingers.h"
#include "support/ScriptedHttpServer.h"
#include "support/TestImages.h"
#include "support/TestScreenFixture.h"
#include "tests/physical/Buttons_v1_ViewController.h"
#include "tests/physical/Charging_v1_ViewController.h"
#include "tests/physical/MultiTouch_v1_ViewController.h"
#include "tests/video/DeviceFrontVideo_v1_ViewController.h"

namespace {

using namespace quorvel;
using quorvel::testing::kValidIMEI;
using quorvel::testing::ObservingHttpClient;
using quorvel::testing::ScriptedHttpServer;
using Names = std::vector<std::string>;

// Runs driven as a person drives them, through the SDK's own screens and the device's ports, and
// judged by what the host and the assets backend receive.
class RunFlowTest : public quorvel::testing::SdkFixture {
 protected:
  void enterIMEI(const std::string& text) {
    ASSERT_EQ(topInterface(), "IMEIViewController");
    top()->textFieldDidChange("uiTfIMEI", text);
    press("uiBtNext_TouchUpInside");
  }

  // The combined screen: cable in, volume up, volume down, Next.
  void passCombinedScreen() {
    ASSERT_EQ(topInterface(), "MultipleTests_v2_ViewController");
    env.device->setBattery(BatteryState::charging);
    env.volume.pressUp();
    env.volume.pressDown();
    press("uiBtNext_TouchUpInside");
  }

  // Every row of the combined screen given up, then Next.
  void giveUpCombinedScreen() {
    ASSERT_EQ(topInterface(), "MultipleTests_v2_ViewController");
    for (int row = 0; row < 3; ++row) press("uiBtCouldntCompleteTest_TouchUpInside");
    press("uiBtNext_TouchUpInside");
  }

  // Two fingers down the slider, then Next.
  void passSlideTest() {
    ASSERT_EQ(topInterface(), "MultiTouch_v2_ViewController");
    auto slideTest = top();
    slideTest->outlet<ImageView>("uiImageSlide").bounds = {300, 200};
    quorvel::testing::ScriptedFingers(slideTest, "uiSliderView").slide(2, {150, 20}, {150, 190});
    settle();
    press("uiBtNext_TouchUpInside");
  }

  // The film in the mirror, on virtual time: Next, start, the 6 s sequence, the box, Next; then
  // waits for the upload to answer.
  void passVideoTest() {
    ASSERT_EQ(topInterface(), "DeviceFrontVideo_v2_ViewController");
    press("uiBtNext_TouchUpInside");
    press("uiBtStartRecording_TouchUpInside");
    env.queue->advance(6.0);
    press("uiCheckBoxTerms_TouchUpInside");
    press("uiBtVideoReviewNext_TouchUpInsde");
    ASSERT_TRUE(waitUntil([&] { return topInterface() == "TestsFinishedViewController"; }));
  }

  bool waitForAlert() {
    return waitUntil([&] { return alertOn() != nullptr; });
  }

  // A default run on the host's own navigation stack, every test given up, up to the end screen.
  void runToEndScreen() {
    env.device->battery = BatteryState::unplugged;
    start();
    press("uiBtNext_TouchUpInside");
    enterIMEI(" 49015 42032 37518 ");
    giveUpCombinedScreen();
    press("uiBtCouldntCompleteTest_TouchUpInside");
    press("uiBtCouldntCompleteTest_TouchUpInside");
    ASSERT_EQ(topInterface(), "TestsFinishedViewController");
  }
};

TEST_F(RunFlowTest, HiddenStartScreenWithIdentifiersOpensOnTheFirstTest) {
  hostWithNavigation();
  sdk.hideStartScreen = true;
  sdk.performTests("app", "key", std::vector<std::string>{"multi_touch_v2"}, kValidIMEI, "C02 XYZ",
                   nullptr, completion());
  // Pushed before performTests returned.
  EXPECT_EQ(stack(), (Names{"HostHome", "HostDetail", "MultiTouch_v2_ViewController"}));
  EXPECT_EQ(top()->outlet<Label>("uiLbTestCounter").text, "Test 1/1");
}

TEST_F(RunFlowTest, RunWithoutAcceptedTestsGoesFromStartToTheEndScreen) {
  start(std::vector<std::string>{"charging_v1"}, std::nullopt, "SERIAL1");
  press("uiBtNext_TouchUpInside");
  EXPECT_EQ(topInterface(), "TestsFinishedViewController");
  EXPECT_TRUE(env.log->contains("Zephyn Log: selectedTests: []"));
}

TEST_F(RunFlowTest, EndingPathsAnswerOnceAndGiveTheNavigationBack) {
  struct Path {
    const char* name;
    std::function<void()> reachAndEnd;
    Dictionary answer = {{"status_code", 301}, {"message", "Test was canceled by user"}};
  };
  std::vector<Path> paths = {
      {"start screen back",
       [&] {
         press("uiBtBack_TouchUpInside");
         // Back is logged before the cancel it leads to.
         auto back = env.log->indexOf("Zephyn Log: StartViewController pressed back");
         ASSERT_GE(back, 0);
         EXPECT_LT(back, env.log->indexOf("Zephyn Log: Cancel Tests function called"));
       }},
      {"IMEI screen cancel",
       [&] {
         press("uiBtNext_TouchUpInside");
         press("uiBtCancel_TouchUpInside");
       }},
      {"test screen cancel",
       [&] {
         press("uiBtNext_TouchUpInside");
         enterIMEI(kValidIMEI);
         giveUpCombinedScreen();
         press("uiBtCancel_TouchUpInside");
       }},
      {"identifier photo upload given up",
       [&] {
         press("uiBtNext_TouchUpInside");
         auto entry = std::dynamic_pointer_cast<IMEIViewController>(top());
         entry->imageUploader = [](const Image&, IMEIViewController::UploadCompletion done) {
           done(Dictionary{{"url", ""}}, std::nullopt);
         };
         env.picker->next = Image::encoded({1, 2, 3});
         press("uiBtAttachImage_TouchUpInside");
         press("uiBtNext_TouchUpInside");
         auto alert = alertOn(entry);
         ASSERT_TRUE(alert);
         alert->performAction(1);  // cancel
         settle();
       },
       {{"status_code", 406}, {"message", "A server error occurred."}}},
  };
  for (const auto& path : paths) {
    SCOPED_TRACE(path.name);
    restart();
    start();
    auto firstSdkScreen = top();
    path.reachAndEnd();
    ASSERT_EQ(outcome->calls, 1);
    EXPECT_EQ(*outcome->response, path.answer);
    EXPECT_EQ(stack(), (Names{"HostHome", "HostDetail"}));
    // A stale screen cannot answer the host a second time.
    firstSdkScreen->sendAction("uiBtBack_TouchUpInside");
    settle();
    EXPECT_EQ(outcome->calls, 1);
  }
}

TEST_F(RunFlowTest, NavigationIsGivenBackAsEachHostSetUpRequires) {
  // The host's own stack (popped back to its last screen in the ending paths), bar as found.
  start();
  EXPECT_EQ(window->rootViewController(), hostNavigation);
  press("uiBtBack_TouchUpInside");  // the start screen's cancel
  EXPECT_EQ(outcome->calls, 1);
  EXPECT_EQ(stack(), (Names{"HostHome", "HostDetail"}));
  EXPECT_FALSE(hostNavigation->isNavigationBarHidden());

  // A plain root screen in a key window: a new, empty stack becomes the root with its bar hidden;
  // the host's screen is not on it, so giving back pops to the stack's own root.
  restart();
  hostWithPlainScreen();
  start();
  auto stackShown = navigation();
  ASSERT_TRUE(stackShown);
  EXPECT_TRUE(stackShown->isNavigationBarHidden());
  EXPECT_TRUE(env.log->contains("Zephyn Log: self.navigationController == nil"));
  press("uiBtNext_TouchUpInside");  // IMEI screen
  press("uiBtCancel_TouchUpInside");
  EXPECT_EQ(stack(), (Names{"StartViewController"}));
  EXPECT_TRUE(stackShown->isNavigationBarHidden());
  EXPECT_EQ(outcome->calls, 1);

  // No key window: the first window gets a stack rooted at its former root screen.
  restart();
  hostWithoutKeyWindow();
  start();
  ASSERT_TRUE(navigation());
  EXPECT_EQ(stack(), (Names{"HostHome", "StartViewController"}));
  press("uiBtBack_TouchUpInside");
  EXPECT_EQ(stack(), (Names{"HostHome"}));
  EXPECT_TRUE(env.log->contains("Zephyn Log: pushed rootViewControllerVCS.last"));
}

TEST_F(RunFlowTest, FailedUploadOffersRetryOrTryLater) {
  runToEndScreen();
  auto endScreen = top();
  press("uiBtDone_TouchUpInside");
  EXPECT_TRUE(overlayShown());
  // Nothing listens on the test platform's assets host.
  ASSERT_TRUE(waitForAlert());
  auto alert = alertOn();
  ASSERT_EQ(alert->actions().size(), 2u);
  EXPECT_EQ(alert->actions()[1].style, AlertActionStyle::destructive);
  // The document went nowhere and is gone; the next press writes it anew.
  EXPECT_FALSE(std::filesystem::exists(documents->path() / "jsonResults.json"));

  // OK: the overlay fades out over 0.1 s and the end screen stays for another try.
  alert->performAction(0);
  settle();
  EXPECT_TRUE(env.log->contains("Zephyn Log: Error uploading tests results"));
  EXPECT_EQ(env.queue->pendingDelays(), std::vector<double>{0.1});
  env.queue->advance(0.1);
  EXPECT_FALSE(overlayShown());
  EXPECT_EQ(topInterface(), "TestsFinishedViewController");
  EXPECT_EQ(outcome->calls, 0);

  // Try later: the host hears 406 under "status_message" and gets its navigation back.
  press("uiBtDone_TouchUpInside");
  ASSERT_TRUE(waitForAlert());
  alertOn()->performAction(1);
  settle();
  ASSERT_EQ(outcome->calls, 1);
  EXPECT_EQ(*outcome->response,
            (Dictionary{{"status_code", 406}, {"status_message", "A server error occurred."}}));
  EXPECT_EQ(stack(), (Names{"HostHome", "HostDetail"}));
  env.queue->advance(0.1);
  EXPECT_FALSE(overlayShown());

  // Finish on the stale end screen only shows the overlay: the run is over.
  endScreen->sendAction("uiBtDone_TouchUpInside");
  settle();
  EXPECT_TRUE(overlayShown());
  EXPECT_FALSE(alertOn());
  EXPECT_EQ(outcome->calls, 1);
}

// Uploads: the reference assets server in-process on 127.0.0.1, the real libcurl client.
class RunUploadTest : public RunFlowTest {
 protected:
  Dictionary storedJson(const std::string& filename) const {
    std::ifstream in(assets.stored(filename));
    return Dictionary::parse(in, nullptr, false);
  }

  // Presses Finish and waits for the host's answer.
  const Dictionary& finish() {
    press("uiBtDone_TouchUpInside");
    EXPECT_TRUE(waitUntil([&] { return outcome->calls > 0; }));
    static const Dictionary none;
    return outcome->response ? *outcome->response : none;
  }

  quorvel::testing::LocalAssets assets;
};

TEST_F(RunUploadTest, DefaultRunDeliversEveryResultInTheSealedDocument) {
  env.setAssetsHost(assets.server.address());
  env.device->battery = BatteryState::unplugged;
  start();
  // No identifier known: the IMEI screen follows the start screen.
  press("uiBtNext_TouchUpInside");
  enterIMEI(" 49015 42032 37518 ");
  passCombinedScreen();
  EXPECT_EQ(top()->outlet<Label>("uiLbTestCounter").text, "Test 2/3");
  passSlideTest();
  EXPECT_EQ(top()->outlet<Label>("uiLbTestCounter").text, "Test 3/3");
  passVideoTest();

  // A first try that fails (nothing listens on the host) leaves a retry that delivers.
  env.setAssetsHost("http://127.0.0.1:1");
  press("uiBtDone_TouchUpInside");
  ASSERT_TRUE(waitForAlert());
  alertOn()->performAction(0);
  settle();

  env.setAssetsHost(assets.server.address());
  const Dictionary& response = finish();
  ASSERT_EQ(outcome->calls, 1);
  EXPECT_EQ(response.at("status_code"), 200);
  EXPECT_EQ(response.at("status_message"), "Test finished");
  const auto& results = response.at("tests_results");
  EXPECT_EQ(results.size(), 4u);
  for (const char* test : {"charging", "multi_touch", "device_front_video"}) {
    EXPECT_EQ(results.at(test).at("success"), true) << test;
  }
  EXPECT_EQ(results.at("buttons").at("volume_down").at("success"), true);
  std::string video = results.at("device_front_video").at("url");
  EXPECT_TRUE(std::filesystem::exists(assets.stored(video)));
  EXPECT_EQ(response.at("device_info").at("received_ids").at("imei_values"),
            Dictionary::array({kValidIMEI}));
  std::string filename = response.at("uploaded_results_info").at("filename");
  EXPECT_THAT(filename, ::testing::EndsWith("jsonResults.json"));
  EXPECT_THAT(std::string(response.at("uploaded_results_info").at("url")),
              ::testing::StartsWith(assets.server.address() + "/"));
  EXPECT_EQ(stack(), (Names{"HostHome", "HostDetail"}));

  // The stored document: its seal covers the JSON text of "data" followed by the app ID, and the
  // server, recomputing it from the bytes it received, agrees. The local copy is gone.
  Dictionary document = storedJson(filename);
  ASSERT_TRUE(document.is_object());
  EXPECT_EQ(document.at("sha256"), CryptoHelper::hexString(CryptoHelper::sha256(std::string_view(
                                       document.at("data").dump() + "app-0123456789"))));
  EXPECT_EQ(document.at("data").at("tests_results"), results);
  EXPECT_FALSE(document.at("data").contains("uploaded_results_info"));
  EXPECT_EQ(storedJson(filename + ".meta.json").value("seal_valid", false), true);
  EXPECT_FALSE(std::filesystem::exists(documents->path() / "jsonResults.json"));
}

TEST_F(RunUploadTest, TestAgainStartsOverAndOnlyTheLastResultsAreSent) {
  env.setAssetsHost(assets.server.address());
  runToEndScreen();
  press("uiBtTestAgain_TouchUpInside");
  // The identifier is known now, so Start goes straight to the tests.
  press("uiBtNext_TouchUpInside");
  passCombinedScreen();
  passSlideTest();
  passVideoTest();
  const auto& results = finish().at("tests_results");
  EXPECT_EQ(results.at("charging").at("success"), true);
  EXPECT_EQ(results.at("multi_touch").at("success"), true);
  EXPECT_EQ(outcome->calls, 1);
}

TEST_F(RunUploadTest, RetryAlertStillUpWhenALaterFinishDeliversIsNotLeftOverTheHost) {
  env.setAssetsHost("http://127.0.0.1:1");
  runToEndScreen();
  auto endScreen = top();
  press("uiBtDone_TouchUpInside");
  ASSERT_TRUE(waitForAlert());
  // A second Finish reaches the end screen before the alert is answered, and this one delivers.
  env.setAssetsHost(assets.server.address());
  endScreen->sendAction("uiBtDone_TouchUpInside");
  ASSERT_TRUE(waitUntil([&] { return outcome->calls > 0; }));
  EXPECT_EQ(outcome->response->at("status_code"), 200);
  EXPECT_EQ(stack(), (Names{"HostHome", "HostDetail"}));
  EXPECT_FALSE(hostNavigation->presentedViewController());
}

TEST_F(RunUploadTest, AnswerThatIsNotAnObjectLeavesTheRunOpenUnderTheOverlay) {
  ScriptedHttpServer scripted;
  scripted.script({ScriptedHttpServer::Reply::json(200, "[\"stored\"]")});
  env.setAssetsHost(scripted.origin());
  auto http = std::make_shared<ObservingHttpClient>();
  platform().httpClient = http;
  runToEndScreen();
  press("uiBtDone_TouchUpInside");
  ASSERT_TRUE(http->waitForExchanges(1));
  settle();
  EXPECT_TRUE(overlayShown());
  EXPECT_FALSE(alertOn());
  EXPECT_EQ(outcome->calls, 0);
  EXPECT_EQ(topInterface(), "TestsFinishedViewController");
}

TEST_F(RunUploadTest, DocumentThatCannotBeWrittenTakesTheFailurePath) {
  env.setAssetsHost(assets.server.address());
  documents->write("blocker", "a file where the documents folder should be");
  env.device->documents = (documents->path() / "blocker").string();
  runToEndScreen();
  press("uiBtDone_TouchUpInside");
  // The failed upload's alert, with its answers (FailedUploadOffersRetryOrTryLater), and no upload.
  ASSERT_TRUE(waitForAlert());
  EXPECT_FALSE(std::filesystem::exists(assets.server.storage() / "app-0123456789"));
}

TEST_F(RunUploadTest, PhotoOfTheIdentifierIsRetriedAfterAFailureAndItsAddressKept) {
  start(std::vector<std::string>{"multi_touch_v2"});
  press("uiBtNext_TouchUpInside");
  auto entry = std::dynamic_pointer_cast<IMEIViewController>(top());
  ASSERT_TRUE(entry);
  env.picker->next = Image::encoded(quorvel::testing::makePng(40, 30));
  press("uiBtAttachImage_TouchUpInside");
  press("uiBtNext_TouchUpInside");
  ASSERT_TRUE(waitUntil([&] { return alertOn(entry) != nullptr; }));

  env.setAssetsHost(assets.server.address());
  alertOn(entry)->performAction(0);  // try again
  ASSERT_TRUE(waitUntil([&] { return topInterface() == "MultiTouch_v2_ViewController"; }));
  press("uiBtCouldntCompleteTest_TouchUpInside");
  const auto& ids = finish().at("device_info").at("received_ids");
  EXPECT_FALSE(ids.contains("imei_values"));
  std::string url = ids.at("imei_image_url").at(0);
  EXPECT_THAT(url, ::testing::StartsWith(assets.server.address() + "/"));
  EXPECT_TRUE(std::filesystem::exists(assets.stored(url)));
}

// No run the host can start reaches the first-generation screens, so their reports are handed to
// a run controller as the screens make them; what the backend then receives shows where each went.
TEST_F(RunUploadTest, FirstGenerationScreensAreFiledUnderTheirResultKeys) {
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
    run->performTests("app-0123456789", "key-abcdefghijkl",
                      std::vector<std::string>{"multi_touch_v2"}, kValidIMEI, std::nullopt, nullptr,
                      completion());
    report(*run);
    settle();
    ASSERT_EQ(topInterface(), "TestsFinishedViewController");
    EXPECT_EQ(finish().at("tests_results"), (Dictionary{{resultKey, result}}));
  }
}

}  // namespace
