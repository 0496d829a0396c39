#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "device/IMEIViewControllerDelegate.h"
#include "quorvel/Customization.h"
#include "quorvel/Dictionary.h"
#include "quorvel/Environment.h"
#include "quorvel/Localization.h"
#include "run/ScreenTable.h"
#include "screens/StartViewControllerDelegate.h"
#include "screens/TestsFinishedViewControllerDelegate.h"
#include "tests/physical/Buttons_v1_ViewControllerDelegate.h"
#include "tests/physical/Charging_v1_ViewControllerDelegate.h"
#include "tests/physical/MultiTouch_v1_ViewControllerDelegate.h"
#include "tests/physical/MultiTouch_v2_ViewControllerDelegate.h"
#include "tests/physical/MultipleTests_v2_ViewControllerDelegate.h"

namespace quorvel {

class LoadingView;
class NavigationController;
class ViewController;

// The SDK's entry point. The host sets the four settings, then calls performTests on the main
// queue; the SDK takes over the navigation, runs the screens, gives the navigation back and calls
// completion exactly once: synchronously, before performTests returns, for an argument error, and
// on the main queue for every other outcome.
class QuorvelSDK : public std::enable_shared_from_this<QuorvelSDK>,
                   public StartViewControllerDelegate,
                   public IMEIViewControllerDelegate,
                   public TestsFinishedViewControllerDelegate,
                   public Buttons_v1_ViewControllerDelegate,
                   public Charging_v1_ViewControllerDelegate,
                   public MultiTouch_v1_ViewControllerDelegate,
                   public MultiTouch_v2_ViewControllerDelegate,
                   public MultipleTests_v2_ViewControllerDelegate {
 public:
  using Completion = std::function<void(std::optional<Dictionary>)>;

  static QuorvelSDK& shared();

  // Host settings; set them before performTests.
  Environment environment = Environment::production;
  SupportedLanguage language = SupportedLanguage::english;
  bool hideStartScreen = false;
  std::optional<Color> themeColor;

  void performTests(const std::string& appID, const std::string& apiKey,
                    std::optional<std::vector<std::string>> testsToPerform,
                    std::optional<std::string> imei, std::optional<std::string> serialNumber,
                    std::shared_ptr<Customization> customization,
                    std::function<void(std::optional<Dictionary>)> completion);

  // This device's information record for the identifiers (its digest is kept), or an error
  // dictionary with "status_code" 403 (invalid IMEI) or 407 (blank serial number).
  std::optional<Dictionary> getDeviceInfo(std::optional<std::string> imei,
                                          std::optional<std::string> serialNumber);

  // State of the run; the SDK's screens read it.
  bool requestIdentifier = true;
  std::shared_ptr<Customization> customization;
  std::shared_ptr<LoadingView> loadingView;
  Completion testsCompletionHandler;
  std::string lastDeviceInfoSHA256Value;
  int nextTestIndex = -1;
  Dictionary testResults = Dictionary::object();
  Dictionary finalResponseObject = Dictionary::object();
  std::vector<std::shared_ptr<ViewController>> rootViewControllerVCS;
  std::optional<std::string> appID;
  std::optional<std::string> apiKey;
  std::optional<std::string> imei;
  std::optional<std::string> imei_image_url;
  std::optional<std::string> serialNumber;
  std::optional<std::string> serialNumber_image_url;
  const std::vector<std::string> allSupportedTests;
  const std::vector<std::string> defaultTests;
  std::vector<std::string> selectedTests;
  std::vector<std::string> multipleTestsList;
  bool isAppNavigationBarHidden = false;
  std::shared_ptr<NavigationController> navigationController;
  // Test screens by key.
  ScreenTable screenTable;

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
  void Buttons_v1_ViewControllerFinished(Buttons_v1_ViewController& vc,
                                         const Dictionary& results) override;
  void Buttons_v1_ViewControllerCancelled(Buttons_v1_ViewController& vc) override;
  void Charging_v1_ViewControllerFinished(Charging_v1_ViewController& vc,
                                          const Dictionary& result) override;
  void Charging_v1_ViewControllerCancelled(Charging_v1_ViewController& vc) override;
  void MultiTouch_v1_ViewControllerFinished(MultiTouch_v1_ViewController& vc,
                                            const Dictionary& result) override;
  void MultiTouch_v1_ViewControllerCancelled(MultiTouch_v1_ViewController& vc) override;
  void MultiTouch_v2_ViewControllerFinished(MultiTouch_v2_ViewController& vc,
                                            const Dictionary& result) override;
  void MultiTouch_v2_ViewControllerCancelled(MultiTouch_v2_ViewController& vc) override;
  void MultipleTests_v2_ViewControllerFinished(MultipleTests_v2_ViewController& vc,
                                               const Dictionary& result) override;
  void MultipleTests_v2_ViewControllerCancelled(MultipleTests_v2_ViewController& vc) override;

  // What every test screen's delegate operations come down to: file the result under its key
  // (replacing an earlier one) and show the next screen, or end the run without results.
  void testFinished(const std::string& resultKey, Dictionary result);
  // The combined screen's result: its "charging" and "buttons" entries, each removed when absent.
  void multipleTestsFinished(const Dictionary& result);
  void testCancelled();

 private:
  QuorvelSDK();

  void setUpNavigation();
  void begin();
  void recordDeviceInfo();
  void nextScreen();
  void cancelTests(std::optional<Dictionary> response = std::nullopt);
  void repeatTests();
  void giveNavigationBack();
  void submitResults();
  // The uploaded document: {"sha256": seal of the JSON text of finalResponseObject + appID,
  // "data": finalResponseObject}.
  std::string resultsDocumentText() const;
  void uploadFailed();
  void deliver(Dictionary response);
  void clearRunIdentifiers();
  std::shared_ptr<ViewController> makeStartScreen();
};

}  // namespace quorvel
