#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "device/DeviceInfoHelper.h"
#include "device/IMEIViewControllerDelegate.h"
#include "quorvel/Customization.h"
#include "quorvel/Dictionary.h"
#include "run/HostNavigation.h"
#include "run/ResultsSubmission.h"
#include "run/TestScreensDelegate.h"
#include "screens/StartViewControllerDelegate.h"
#include "screens/TestsFinishedViewControllerDelegate.h"
#include "widgets/ScreenContext.h"

namespace quorvel {

class AssetUploaderWebService;
class LoadingView;
class NavigationController;
class QuorvelSDK;
class ViewController;

// One run of the SDK, behind QuorvelSDK: it checks the host's arguments, takes over the navigation,
// makes every screen with what the screen reads of the run, files the results, submits them, gives
// the navigation back and calls the host's completion exactly once. It is the delegate of every
// screen. Private to the SDK: hosts see only QuorvelSDK.
class RunController : public std::enable_shared_from_this<RunController>,
                      public StartViewControllerDelegate,
                      public IMEIViewControllerDelegate,
                      public TestsFinishedViewControllerDelegate,
                      public TestScreensDelegate {
 public:
  using Completion = std::function<void(std::optional<Dictionary>)>;

  // settings are the host's settings, read when a run starts and whenever a screen is made.
  explicit RunController(const QuorvelSDK& settings);
  ~RunController() override;

  void performTests(const std::string& appID, const std::string& apiKey,
                    std::optional<std::vector<std::string>> testsToPerform,
                    std::optional<std::string> imei, std::optional<std::string> serialNumber,
                    std::shared_ptr<Customization> customization, Completion completion);
  std::optional<Dictionary> getDeviceInfo(std::optional<std::string> imei,
                                          std::optional<std::string> serialNumber);
  // The host ends the run in progress as the person's cancel does (301, the navigation given
  // back), at any step, the results' upload included: a late answer to it is dropped. False when
  // no run is in progress.
  bool cancelByHost();

  // What a screen made now reads of the run; key places it in the header.
  ScreenContext screenContext(const std::string& key) const;

  // Screen delegates.
  void StartViewControlllerViewPressedStart(StartViewController& vc) override;
  void StartViewControlllerViewPressedCancel(StartViewController& vc) override;
  void IMEIViewControllerIMEIInputSuccessful(IMEIViewController& vc,
                                             std::optional<std::string> imei,
                                             std::optional<std::string> imeiUrl,
                                             std::optional<std::string> serialNumber,
                                             std::optional<std::string> serialNumberUrl) override;
  void IMEIViewControllerErrorOccurred(IMEIViewController& vc) override;
  void IMEIViewControllerPressedCancel(IMEIViewController& vc) override;
  void TestsFinishedViewControllerTestAgainPressed(TestsFinishedViewController& vc) override;
  void TestsFinishedViewControllerDidFinish(TestsFinishedViewController& vc) override;
  // Each test screen's result is filed under its key without the version ("buttons_v1" files
  // under "buttons"); the combined screen's entries each under their own; a cancel ends the run.
  void testScreenFinished(TestViewController& screen, const Dictionary& result) override;
  void testScreenCancelled(TestViewController& screen) override;

 private:
  void pushStartScreen();
  void begin();
  void recordDeviceInfo();
  DeviceIdentifiers identifiers() const;
  void nextScreen();
  // The combined screen's result: its "charging" and "buttons" entries, each removed when absent.
  void multipleTestsFinished(const Dictionary& result);
  void cancelTests(std::optional<Dictionary> response = std::nullopt);
  void repeatTests();
  std::shared_ptr<ResultsSubmission> makeSubmission();
  void submitResults();
  void resultsUploaded(Dictionary uploadedResultsInfo);
  void resultsGivenUp();
  std::shared_ptr<const AssetUploaderWebService> uploader() const;
  void deliver(Dictionary response);
  void clearRunIdentifiers();
  void push(std::shared_ptr<ViewController> screen);

  const QuorvelSDK& settings_;
  const std::vector<std::string> allSupportedTests_;
  const std::vector<std::string> defaultTests_;
  std::shared_ptr<LoadingView> loadingView_;

  std::shared_ptr<Customization> customization_;
  Completion testsCompletionHandler_;
  std::string lastDeviceInfoSHA256Value_;
  int nextTestIndex_ = -1;
  Dictionary testResults_ = Dictionary::object();
  Dictionary finalResponseObject_ = Dictionary::object();
  std::optional<std::string> appID_;
  std::optional<std::string> apiKey_;
  std::optional<std::string> imei_;
  std::optional<std::string> imeiImageUrl_;
  std::optional<std::string> serialNumber_;
  std::optional<std::string> serialNumberImageUrl_;
  std::vector<std::string> selectedTests_;
  std::vector<std::string> multipleTestsList_;
  HostNavigation navigation_;
  std::shared_ptr<ResultsSubmission> submission_;
};

}  // namespace quorvel
