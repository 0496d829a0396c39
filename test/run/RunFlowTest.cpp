#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "AssetsServer.h"
#include "device/CryptoHelper.h"
#include "device/IMEIViewController.h"
#include "quorvel/StatusCodes.h"
#include "quorvel/ui/AlertController.h"
#include "quorvel/ui/LoadingView.h"
#include "support/ObservingHttpClient.h"
#include "support/ScriptedHttpServer.h"
#include "support/ScriptedTestScreen.h"
#include "support/SdkFixture.h"
#include "support/TestImages.h"

namespace {

using namespace quorvel;
using quorvel::testing::kValidIMEI;
using quorvel::testing::ObservingHttpClient;
using quorvel::testing::ScriptedHttpServer;
using quorvel::testing::ScriptedTestScreen;
using quorvel::testing::TemporaryTree;

Dictionary cancelled() { return {{"status_code", 301}, {"message", "Test was canceled by user"}}; }

class RunFlowTest : public quorvel::testing::SdkFixture {
 protected:
  std::vector<std::string> stack() const {
    std::vector<std::string> names;
    for (const auto& screen : sdk.navigationController->viewControllers()) {
      auto scripted = std::dynamic_pointer_cast<ScriptedTestScreen>(screen);
      names.push_back(scripted ? scripted->key() : screen->interfaceName());
    }
    return names;
  }

  void finishTest(Dictionary result = {{"success", true}, {"version", "2"}}) {
    auto screen = std::dynamic_pointer_cast<ScriptedTestScreen>(top());
    ASSERT_TRUE(screen) << "top is " << topInterface();
    screen->result = std::move(result);
    press("finish");
  }

  void enterIMEI(const std::string& text) {
    ASSERT_EQ(topInterface(), "IMEIViewController");
    top()->textFieldDidChange("uiTfIMEI", text);
    press("uiBtNext_TouchUpInside");
  }

  std::shared_ptr<AlertController> presentedAlert() const {
    return std::dynamic_pointer_cast<AlertController>(
        sdk.navigationController->presentedViewController());
  }

  bool waitForAlert() {
    return waitUntil([&] { return presentedAlert() != nullptr; });
  }

  // Walks a default run with the host's own navigation stack up to the end screen.
  void runToEndScreen() {
    hostWithNavigation();
    start();
    press("uiBtNext_TouchUpInside");
    enterIMEI(" 49015 42032 37518 ");
    finishTest({{"charging", {{"success", true}}}, {"buttons", {{"success", false}}}});
    finishTest({{"success", true}, {"version", "2"}, {"touches", 2}});
    finishTest();
    ASSERT_EQ(topInterface(), "TestsFinishedViewController");
  }
};

TEST_F(RunFlowTest, DefaultRunWalksEveryScreenAndFilesEachResult) {
  hostWithNavigation();
  start();
  EXPECT_EQ(stack(), (std::vector<std::string>{"HostHome", "HostDetail", "StartViewController"}));
  EXPECT_EQ(outcome->calls, 0);

  // No identifier known: the IMEI screen follows the start screen.
  press("uiBtNext_TouchUpInside");
  ASSERT_EQ(topInterface(), "IMEIViewController");
  EXPECT_FALSE(sdk.finalResponseObject.contains("device_info"));

  enterIMEI(" 49015 42032 37518 ");
  EXPECT_EQ(sdk.imei, "49015 42032 37518");
  const auto& info = sdk.finalResponseObject.at("device_info");
  EXPECT_EQ(info.at("received_ids").at("imei_values"), Dictionary::array({kValidIMEI}));
  EXPECT_EQ(sdk.lastDeviceInfoSHA256Value.size(), 64u);

  ASSERT_EQ(topInterface(), "multiple_tests_v2");
  EXPECT_EQ(top()->outlet<Label>("uiLbTestCounter").text, "Test 1/3");
  finishTest({{"charging", {{"success", true}}}, {"buttons", {{"success", false}}}});
  ASSERT_EQ(topInterface(), "multi_touch_v2");
  EXPECT_EQ(top()->outlet<Label>("uiLbTestCounter").text, "Test 2/3");
  finishTest({{"success", true}, {"version", "2"}});
  ASSERT_EQ(topInterface(), "device_front_video_v2");
  finishTest({{"success", true}, {"url", "https://assets/v.mp4"}});
  ASSERT_EQ(topInterface(), "TestsFinishedViewController");

  EXPECT_EQ(
      sdk.testResults,
      (Dictionary{{"charging", {{"success", true}}},
                  {"buttons", {{"success", false}}},
                  {"multi_touch", {{"success", true}, {"version", "2"}}},
                  {"device_front_video", {{"success", true}, {"url", "https://assets/v.mp4"}}}}));
  EXPECT_EQ(outcome->calls, 0);
}

TEST_F(RunFlowTest, HiddenStartScreenWithIdentifiersOpensOnTheFirstTest) {
  hostWithNavigation();
  sdk.hideStartScreen = true;
  sdk.performTests("app", "key", std::vector<std::string>{"multi_touch_v2"}, kValidIMEI, "C02 XYZ",
                   nullptr, completion());
  // Pushed before performTests returned.
  EXPECT_EQ(stack(), (std::vector<std::string>{"HostHome", "HostDetail", "multi_touch_v2"}));
  const auto& ids = sdk.finalResponseObject.at("device_info").at("received_ids");
  EXPECT_EQ(ids.at("serial_number"), "C02XYZ");
  EXPECT_EQ(top()->outlet<Label>("uiLbTestCounter").text, "Test 1/1");
}

TEST_F(RunFlowTest, RunWithoutAcceptedTestsGoesFromStartToTheEndScreen) {
  hostWithNavigation();
  start(std::vector<std::string>{"charging_v1"}, std::nullopt, "SERIAL1");
  press("uiBtNext_TouchUpInside");
  EXPECT_EQ(topInterface(), "TestsFinishedViewController");
  EXPECT_TRUE(sdk.selectedTests.empty());
}

TEST_F(RunFlowTest, NotAskingForAnIdentifierSkipsTheIMEIScreen) {
  hostWithNavigation();
  sdk.requestIdentifier = false;
  start(std::vector<std::string>{"multi_touch_v2"});
  press("uiBtNext_TouchUpInside");
  EXPECT_EQ(topInterface(), "multi_touch_v2");
  EXPECT_EQ(sdk.finalResponseObject.at("device_info").at("received_ids"), Dictionary::object());
}

TEST_F(RunFlowTest, KeysWithoutAScreenInThisBuildArePassedOver) {
  hostWithNavigation();
  sdk.screenTable.unbind("multi_touch_v2");
  start(std::nullopt, kValidIMEI);
  press("uiBtNext_TouchUpInside");
  finishTest();
  EXPECT_EQ(topInterface(), "device_front_video_v2");
  EXPECT_EQ(sdk.nextTestIndex, 2);
}

TEST_F(RunFlowTest, CancelPathsAnswer301OnceAndGiveTheNavigationBack) {
  struct Path {
    const char* name;
    std::function<void()> reachAndCancel;
  };
  std::vector<Path> paths = {
      {"start screen back", [&] { press("uiBtBack_TouchUpInside"); }},
      {"IMEI screen cancel",
       [&] {
         press("uiBtNext_TouchUpInside");
         press("uiBtCancel_TouchUpInside");
       }},
      {"test screen cancel",
       [&] {
         press("uiBtNext_TouchUpInside");
         enterIMEI(kValidIMEI);
         finishTest({{"charging", {{"success", true}}}});
         ASSERT_EQ(sdk.testResults.size(), 1u);
         press("cancel");
         EXPECT_EQ(sdk.testResults, Dictionary::object());
       }},
  };
  for (const auto& path : paths) {
    SCOPED_TRACE(path.name);
    SetUp();
    hostWithNavigation();
    start();
    auto firstSdkScreen = top();
    path.reachAndCancel();
    ASSERT_EQ(outcome->calls, 1);
    EXPECT_EQ(*outcome->response, cancelled());
    EXPECT_EQ(stack(), (std::vector<std::string>{"HostHome", "HostDetail"}));
    EXPECT_FALSE(sdk.appID || sdk.apiKey || sdk.imei || sdk.serialNumber);
    EXPECT_FALSE(sdk.testsCompletionHandler);
    // A stale screen cannot answer the host a second time.
    firstSdkScreen->sendAction("uiBtBack_TouchUpInside");
    settle();
    EXPECT_EQ(outcome->calls, 1);
    TearDown();
  }
  SetUp();
}

TEST_F(RunFlowTest, StartScreenBackLogsBeforeCancelling) {
  hostWithNavigation();
  start();
  env.log->clear();
  press("uiBtBack_TouchUpInside");
  auto back = env.log->indexOf("Zephyn Log: StartViewController pressed back");
  auto cancel = env.log->indexOf("Zephyn Log: Cancel Tests function called");
  ASSERT_GE(back, 0);
  EXPECT_LT(back, cancel);
  EXPECT_GT(env.log->indexOf("Zephyn Log: Cancel Tests function finished"), cancel);
  EXPECT_TRUE(env.log->contains("Zephyn Log: testsCompletionHandler is: not nil"));
}

TEST_F(RunFlowTest, FailedPhotoUploadGivenUpAnswers406) {
  hostWithNavigation();
  start();
  press("uiBtNext_TouchUpInside");
  auto entry = std::dynamic_pointer_cast<IMEIViewController>(top());
  entry->imageUploader = [](const Image&, IMEIViewController::UploadCompletion done) {
    done(Dictionary{{"url", ""}}, std::nullopt);
  };
  env.picker->next = Image::encoded({1, 2, 3});
  press("uiBtAttachImage_TouchUpInside");
  press("uiBtNext_TouchUpInside");
  auto alert = std::dynamic_pointer_cast<AlertController>(entry->presentedViewController());
  ASSERT_TRUE(alert);
  alert->performAction(1);  // cancel
  settle();
  ASSERT_EQ(outcome->calls, 1);
  EXPECT_EQ(*outcome->response,
            (Dictionary{{"status_code", 406}, {"message", "A server error occurred."}}));
  EXPECT_EQ(stack(), (std::vector<std::string>{"HostHome", "HostDetail"}));
}

TEST_F(RunFlowTest, NavigationIsGivenBackAsEachHostSetUpRequires) {
  // The host's own stack: popped back to its last screen, bar left as the run found it.
  hostWithNavigation();
  start();
  EXPECT_EQ(window->rootViewController(), hostNavigation);
  EXPECT_FALSE(hostNavigation->isNavigationBarHidden());
  press("uiBtBack_TouchUpInside");
  EXPECT_EQ(hostNavigation->topViewController(), hostDetail);
  TearDown();

  // A plain root screen in a key window: a new, empty stack becomes the root with its bar hidden;
  // the host's screen is not on it, so giving back pops to the stack's own root.
  SetUp();
  hostWithPlainScreen();
  start();
  auto navigation = std::dynamic_pointer_cast<NavigationController>(window->rootViewController());
  ASSERT_TRUE(navigation);
  EXPECT_EQ(sdk.navigationController, navigation);
  EXPECT_TRUE(navigation->isNavigationBarHidden());
  EXPECT_TRUE(env.log->contains("Zephyn Log: self.navigationController == nil"));
  press("uiBtNext_TouchUpInside");  // IMEI screen
  press("uiBtCancel_TouchUpInside");
  EXPECT_EQ(stack(), (std::vector<std::string>{"StartViewController"}));
  EXPECT_TRUE(navigation->isNavigationBarHidden());
  EXPECT_EQ(outcome->calls, 1);
  TearDown();

  // No key window: the first window gets a stack rooted at its former root screen.
  SetUp();
  hostWithoutKeyWindow();
  start();
  navigation = std::dynamic_pointer_cast<NavigationController>(window->rootViewController());
  ASSERT_TRUE(navigation);
  EXPECT_EQ(stack(), (std::vector<std::string>{"HostHome", "StartViewController"}));
  press("uiBtBack_TouchUpInside");
  EXPECT_EQ(stack(), (std::vector<std::string>{"HostHome"}));
  EXPECT_TRUE(env.log->contains("Zephyn Log: pushed rootViewControllerVCS.last"));
}

TEST_F(RunFlowTest, TestAgainRepeatsFromTheStartScreenAndReplacesResults) {
  runToEndScreen();
  auto firstDigest = sdk.lastDeviceInfoSHA256Value;
  press("uiBtTestAgain_TouchUpInside");
  EXPECT_EQ(topInterface(), "StartViewController");
  EXPECT_EQ(sdk.testResults, Dictionary::object());
  EXPECT_EQ(sdk.nextTestIndex, -1);
  EXPECT_EQ(sdk.lastDeviceInfoSHA256Value, firstDigest);
  EXPECT_EQ(sdk.imei, "49015 42032 37518");

  // The identifier is known now, so Start goes straight to the tests.
  press("uiBtNext_TouchUpInside");
  // No "buttons" this time, and a null "charging": both keys go.
  finishTest({{"charging", nullptr}});
  EXPECT_FALSE(sdk.testResults.contains("charging"));
  EXPECT_FALSE(sdk.testResults.contains("buttons"));
  finishTest({{"success", false}});
  EXPECT_EQ(sdk.testResults.at("multi_touch"), (Dictionary{{"success", false}}));
}

TEST_F(RunFlowTest, FailedUploadOffersRetryOrTryLater) {
  runToEndScreen();
  press("uiBtDone_TouchUpInside");
  EXPECT_EQ(sdk.loadingView->window(), window);
  EXPECT_EQ(sdk.finalResponseObject.at("tests_results"), sdk.testResults);
  // Nothing listens on the test platform's assets host.
  ASSERT_TRUE(waitForAlert());
  auto alert = presentedAlert();
  EXPECT_EQ(alert->title(), "");
  EXPECT_EQ(alert->message(),
            "An error proccessing your request has occurred. Please tap 'Finish' to try again or "
            "select 'Try later'.");
  ASSERT_EQ(alert->actions().size(), 2u);
  EXPECT_EQ(alert->actions()[0].title, "OK");
  EXPECT_EQ(alert->actions()[1].title, "Try later");
  EXPECT_EQ(alert->actions()[1].style, AlertActionStyle::destructive);

  // OK: the overlay fades out over 0.1 s and the end screen stays for another try.
  alert->performAction(0);
  settle();
  EXPECT_TRUE(env.log->contains("Zephyn Log: Error uploading tests results"));
  EXPECT_EQ(env.queue->pendingDelays(), std::vector<double>{0.1});
  env.queue->advance(0.1);
  EXPECT_FALSE(sdk.loadingView->isShown());
  EXPECT_EQ(topInterface(), "TestsFinishedViewController");
  EXPECT_EQ(outcome->calls, 0);

  // Try later: the host hears 406 under "status_message" and gets its navigation back.
  press("uiBtDone_TouchUpInside");
  ASSERT_TRUE(waitForAlert());
  presentedAlert()->performAction(1);
  settle();
  ASSERT_EQ(outcome->calls, 1);
  EXPECT_EQ(*outcome->response,
            (Dictionary{{"status_code", 406}, {"status_message", "A server error occurred."}}));
  EXPECT_EQ(stack(), (std::vector<std::string>{"HostHome", "HostDetail"}));
  EXPECT_FALSE(sdk.appID);
  env.queue->advance(0.1);
  EXPECT_FALSE(sdk.loadingView->isShown());
}

TEST_F(RunFlowTest, FinishAfterTheRunEndedOnlyShowsTheOverlay) {
  runToEndScreen();
  auto endScreen = top();
  press("uiBtDone_TouchUpInside");
  ASSERT_TRUE(waitForAlert());
  presentedAlert()->performAction(1);
  settle();
  env.queue->advance(0.1);
  ASSERT_EQ(outcome->calls, 1);
  endScreen->sendAction("uiBtDone_TouchUpInside");
  settle();
  EXPECT_TRUE(sdk.loadingView->isShown());
  EXPECT_FALSE(presentedAlert());
  EXPECT_EQ(outcome->calls, 1);
}

TEST_F(RunFlowTest, GetDeviceInfoChecksItsArgumentsAndKeepsTheDigest) {
  EXPECT_EQ(sdk.getDeviceInfo("490154203237519", std::nullopt)->at("status_code"), 403);
  EXPECT_EQ(sdk.getDeviceInfo(std::nullopt, " \n")->at("status_code"), 407);
  auto info = sdk.getDeviceInfo("49015 42032 37518", "SN 1");
  ASSERT_TRUE(info);
  EXPECT_EQ(info->at("received_ids").at("imei_values"), Dictionary::array({kValidIMEI}));
  EXPECT_EQ(info->at("received_ids").at("serial_number"), "SN1");
  EXPECT_EQ(sdk.lastDeviceInfoSHA256Value.size(), 64u);
}

// Uploads: the reference assets server in-process on 127.0.0.1, the real libcurl client.
class RunUploadTest : public RunFlowTest {
 protected:
  void SetUp() override {
    RunFlowTest::SetUp();
    server.start();
  }
  void TearDown() override {
    server.stop();
    RunFlowTest::TearDown();
  }

  // The stored asset's metadata, found by the name the server answered with.
  Dictionary metadataOf(const std::string& filename) const {
    std::ifstream in(storage.path() / "app-0123456789" / (filename + ".meta.json"));
    return Dictionary::parse(in, nullptr, false);
  }

  TemporaryTree storage{"quorvel-assets"};
  AssetsServer server{AssetsServer::Options{storage.path(), {"key-abcdefghijkl"}}};
};

TEST_F(RunUploadTest, FailedThenRetriedUploadDeliversTheSealedDocument) {
  runToEndScreen();
  press("uiBtDone_TouchUpInside");
  ASSERT_TRUE(waitForAlert());
  presentedAlert()->performAction(0);  // ok: the end screen stays for another try
  settle();

  env.setAssetsHost(server.address());
  press("uiBtDone_TouchUpInside");
  ASSERT_TRUE(waitUntil([&] { return outcome->calls > 0; }));
  ASSERT_EQ(outcome->calls, 1);
  const Dictionary& response = *outcome->response;
  EXPECT_EQ(response.at("status_code"), 200);
  EXPECT_EQ(response.at("status_message"), "Test finished");
  EXPECT_EQ(response.at("tests_results"), sdk.testResults);
  EXPECT_TRUE(response.at("device_info").is_object());
  std::string filename = response.at("uploaded_results_info").at("filename");
  std::string url = response.at("uploaded_results_info").at("url");
  EXPECT_THAT(filename, ::testing::EndsWith("jsonResults.json"));
  EXPECT_THAT(url, ::testing::StartsWith(server.address() + "/"));
  EXPECT_EQ(stack(), (std::vector<std::string>{"HostHome", "HostDetail"}));
  EXPECT_FALSE(sdk.appID || sdk.apiKey || sdk.imei);

  // The written document: its seal covers the JSON text of "data" followed by the app ID, and
  // the server, recomputing it from the bytes it received, agrees.
  std::ifstream written(documents->path() / "jsonResults.json");
  Dictionary document = Dictionary::parse(written, nullptr, false);
  ASSERT_TRUE(document.is_object());
  EXPECT_EQ(document.at("sha256"), CryptoHelper::hexString(CryptoHelper::sha256(std::string_view(
                                       document.at("data").dump() + "app-0123456789"))));
  EXPECT_EQ(document.at("data").at("tests_results"), sdk.testResults);
  EXPECT_FALSE(document.at("data").contains("uploaded_results_info"));
  EXPECT_EQ(metadataOf(filename).value("seal_valid", false), true);
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
  EXPECT_TRUE(sdk.loadingView->isShown());
  EXPECT_FALSE(presentedAlert());
  EXPECT_EQ(outcome->calls, 0);
  EXPECT_EQ(topInterface(), "TestsFinishedViewController");
}

TEST_F(RunUploadTest, DocumentThatCannotBeWrittenTakesTheFailurePath) {
  env.setAssetsHost(server.address());
  documents->write("blocker", "a file where the documents folder should be");
  env.device->documents = (documents->path() / "blocker").string();
  runToEndScreen();
  press("uiBtDone_TouchUpInside");
  ASSERT_TRUE(waitForAlert());
  presentedAlert()->performAction(1);  // try later
  settle();
  ASSERT_EQ(outcome->calls, 1);
  EXPECT_EQ(outcome->response->at("status_code"), 406);
  EXPECT_TRUE(std::filesystem::is_empty(storage.path()) ||
              !std::filesystem::exists(storage.path() / "app-0123456789"));
}

TEST_F(RunUploadTest, PhotoOfTheIdentifierIsRetriedAfterAFailureAndItsAddressKept) {
  hostWithNavigation();
  start();
  press("uiBtNext_TouchUpInside");
  auto entry = std::dynamic_pointer_cast<IMEIViewController>(top());
  ASSERT_TRUE(entry);
  env.picker->next = Image::encoded(quorvel::testing::makePng(40, 30));
  press("uiBtAttachImage_TouchUpInside");
  press("uiBtNext_TouchUpInside");
  auto alert = [&] {
    return std::dynamic_pointer_cast<AlertController>(entry->presentedViewController());
  };
  ASSERT_TRUE(waitUntil([&] { return alert() != nullptr; }));
  EXPECT_EQ(alert()->title(), "A server error occurred.");

  env.setAssetsHost(server.address());
  alert()->performAction(0);  // try again
  ASSERT_TRUE(waitUntil([&] { return sdk.imei_image_url.has_value(); }));
  EXPECT_THAT(*sdk.imei_image_url, ::testing::StartsWith(server.address() + "/"));
  EXPECT_FALSE(sdk.imei);
  EXPECT_NE(topInterface(), "IMEIViewController");
  std::string stored = sdk.imei_image_url->substr(sdk.imei_image_url->rfind('/') + 1);
  EXPECT_THAT(stored, ::testing::EndsWith("image.png"));
  EXPECT_EQ(metadataOf(stored).value("size", 0),
            std::filesystem::file_size(storage.path() / "app-0123456789" / stored));
  EXPECT_EQ(quorvel::testing::decodedSize([&] {
              std::ifstream in(storage.path() / "app-0123456789" / stored, std::ios::binary);
              return std::vector<std::uint8_t>(std::istreambuf_iterator<char>(in), {});
            }())
                .width,
            40);
}

}  // namespace
