#include "quorvel/QuorvelSDK.h"

#include <filesystem>
#include <fstream>

#include "backend/AssetUploaderWebService.h"
#include "device/CryptoHelper.h"
#include "device/DeviceInfoHelper.h"
#include "device/IMEIViewController.h"
#include "quorvel/ScreenType.h"
#include "quorvel/StatusCodes.h"
#include "quorvel/platform/Platform.h"
#include "quorvel/ui/AlertController.h"
#include "quorvel/ui/Application.h"
#include "quorvel/ui/LoadingView.h"
#include "quorvel/ui/NavigationController.h"
#include "run/TestSelection.h"
#include "screens/StartViewController.h"
#include "screens/TestsFinishedViewController.h"
#include "support/JsonText.h"
#include "support/Logging.h"
#include "support/Utf8.h"
#include "support/Uuid.h"

namespace quorvel {

namespace {

// First six and last six characters, so that a log shows which credential was used but not it.
std::string masked(const std::string& text) {
  std::vector<std::size_t> starts;  // byte offset of each character
  for (std::size_t i = 0; i < text.size(); ++i) {
    if ((static_cast<unsigned char>(text[i]) & 0xC0) != 0x80) starts.push_back(i);
  }
  if (starts.size() < 6) return text + "..." + text;
  std::size_t headEnd = starts.size() > 6 ? starts[6] : text.size();
  return text.substr(0, headEnd) + "..." + text.substr(starts[starts.size() - 6]);
}

Dictionary errorResponse(int code) {
  return {{"status_code", code}, {"message", StatusCodes::getDescription(code)}};
}

std::string describe(const std::shared_ptr<ViewController>& controller) {
  return controller ? controller->description() : "nil";
}

std::string describe(const std::vector<std::shared_ptr<ViewController>>& controllers) {
  std::string text = "[";
  for (std::size_t i = 0; i < controllers.size(); ++i) {
    if (i) text += ", ";
    text += describe(controllers[i]);
  }
  return text + "]";
}

// The first screen of the stack, for log lines.
std::string describeRoot(const std::shared_ptr<NavigationController>& navigation) {
  if (!navigation || navigation->viewControllers().empty()) return "nil";
  return navigation->viewControllers().front()->description();
}

}  // namespace

QuorvelSDK& QuorvelSDK::shared() {
  // Never destroyed: screens and queued work may still reach it while the process exits.
  static auto* instance = new std::shared_ptr<QuorvelSDK>(new QuorvelSDK());
  return **instance;
}

QuorvelSDK::QuorvelSDK()
    : loadingView(std::make_shared<LoadingView>()),
      allSupportedTests{ScreenType::device_front_video_v2, ScreenType::charging_v2,
                        ScreenType::buttons_v2, ScreenType::multi_touch_v2},
      defaultTests{ScreenType::buttons_v2, ScreenType::charging_v2, ScreenType::multi_touch_v2,
                   ScreenType::device_front_video_v2} {}

void QuorvelSDK::performTests(const std::string& appIDArgument, const std::string& apiKeyArgument,
                              std::optional<std::vector<std::string>> testsToPerform,
                              std::optional<std::string> imeiArgument,
                              std::optional<std::string> serialNumberArgument,
                              std::shared_ptr<Customization> customizationArgument,
                              std::function<void(std::optional<Dictionary>)> completion) {
  logLine("performTests called. APPID: " + masked(appIDArgument) +
          " APIKEY: " + masked(apiKeyArgument));

  finalResponseObject = Dictionary::object();
  testResults = Dictionary::object();
  lastDeviceInfoSHA256Value = "";
  nextTestIndex = -1;

  auto fail = [&](int code) {
    if (completion) completion(errorResponse(code));
  };
  const auto& host = *platform().hostBundle;
  if (trimmingWhitespace(appIDArgument).empty()) return fail(StatusCodes::invalidAppID);
  if (trimmingWhitespace(apiKeyArgument).empty()) return fail(StatusCodes::invalidAPIKey);
  if (imeiArgument && trimmingWhitespace(*imeiArgument).empty()) {
    return fail(StatusCodes::invalidIMEI);
  }
  if (serialNumberArgument && trimmingWhitespace(*serialNumberArgument).empty()) {
    return fail(StatusCodes::invalidSerialNumber);
  }
  if (!host.string("NSCameraUsageDescription")) {
    return fail(StatusCodes::missingCameraUsageDescription);
  }
  if (!host.string("NSMicrophoneUsageDescription")) {
    return fail(StatusCodes::missingMicrophoneUsageDescription);
  }
  if (imeiArgument && !IMEIViewController::isValidIMEI(*imeiArgument)) {
    return fail(StatusCodes::invalidIMEI);
  }

  appID = appIDArgument;
  apiKey = apiKeyArgument;
  imei = std::move(imeiArgument);
  serialNumber = std::move(serialNumberArgument);
  customization =
      customizationArgument ? std::move(customizationArgument) : std::make_shared<Customization>();
  testsCompletionHandler = std::move(completion);
  auto selection = TestSelection::make(testsToPerform, allSupportedTests, defaultTests);
  selectedTests = std::move(selection.selectedTests);
  multipleTestsList = std::move(selection.multipleTestsList);
  std::string list;
  for (const auto& key : selectedTests) list += (list.empty() ? "" : ", ") + key;
  logLine("selectedTests: [" + list + "]");

  setUpNavigation();

  if (!hideStartScreen) {
    if (navigationController) navigationController->pushViewController(makeStartScreen(), true);
  } else {
    begin();
  }
}

void QuorvelSDK::setUpNavigation() {
  auto& application = *platform().application;
  auto keyWindow = application.keyWindow();
  auto window = keyWindow;
  if (keyWindow) {
    logLine("UIApplication.shared.keyWindow: " + keyWindow->description());
  } else if (!application.windows().empty()) {
    window = application.windows().front();
  } else {
    QUORVEL_FATAL("performTests needs a window: install a front end's Platform first");
  }

  auto root = window->rootViewController();
  if (auto hostNavigation = std::dynamic_pointer_cast<NavigationController>(root)) {
    logLine("UIApplication.shared.keyWindow?.rootViewController is UINavigationController");
    rootViewControllerVCS = hostNavigation->viewControllers();
    navigationController = hostNavigation;
  } else if (keyWindow) {
    logLine(" " + describe(root));
    rootViewControllerVCS.clear();
    if (root) rootViewControllerVCS.push_back(root);
    logLine("rootvc " + describe(root));
    auto own = root ? root->navigationController() : nullptr;
    logLine("navigationController " + (own ? own->description() : std::string("nil")));
    navigationController = own;
    if (!navigationController) {
      logLine("self.navigationController == nil");
      navigationController = NavigationController::make();
    }
    isAppNavigationBarHidden = true;
    navigationController->setNavigationBarHidden(true, false);
    keyWindow->setRootViewController(navigationController);
    logLine("new rootvc " + navigationController->description());
  } else {
    std::string windows;
    for (const auto& each : application.windows()) {
      windows += (windows.empty() ? "" : ", ") + each->description();
    }
    logLine("UIApplication.shared.windows: [" + windows + "]");
    logLine("UIApplication.shared.windows.first!: " + window->description());
    rootViewControllerVCS.clear();
    if (root) rootViewControllerVCS.push_back(root);
    auto own = root ? root->navigationController() : nullptr;
    navigationController = own ? own : NavigationController::make(root);
    isAppNavigationBarHidden = true;
    navigationController->setNavigationBarHidden(true, false);
    window->setRootViewController(navigationController);
  }
  logLine("setNavigationStructure: true");
}

std::shared_ptr<ViewController> QuorvelSDK::makeStartScreen() {
  auto start = std::make_shared<StartViewController>();
  start->delegate = weak_from_this();
  return start;
}

void QuorvelSDK::begin() {
  bool identified = hasText(imei) || hasText(imei_image_url) || hasText(serialNumber) ||
                    hasText(serialNumber_image_url);
  if (!identified && requestIdentifier) {
    auto entry = std::make_shared<IMEIViewController>();
    entry->delegate = weak_from_this();
    if (navigationController) navigationController->pushViewController(entry, true);
    return;
  }
  recordDeviceInfo();
  nextScreen();
}

void QuorvelSDK::recordDeviceInfo() {
  Dictionary info = DeviceInfoHelper::getDeviceInfo(imei, serialNumber);
  lastDeviceInfoSHA256Value = jsonDigest(info);
  finalResponseObject["device_info"] = std::move(info);
}

void QuorvelSDK::nextScreen() {
  for (;;) {
    nextTestIndex += 1;
    if (nextTestIndex >= static_cast<int>(selectedTests.size())) {
      auto finished = std::make_shared<TestsFinishedViewController>();
      finished->delegate = weak_from_this();
      if (navigationController) navigationController->pushViewController(finished, true);
      return;
    }
    // A key that names no screen of this build is passed over.
    auto screen =
        screenTable.makeScreen(selectedTests[static_cast<std::size_t>(nextTestIndex)], *this);
    if (!screen) continue;
    if (navigationController) navigationController->pushViewController(screen, true);
    return;
  }
}

void QuorvelSDK::testFinished(const std::string& resultKey, Dictionary result) {
  testResults[resultKey] = std::move(result);
  nextScreen();
}

void QuorvelSDK::multipleTestsFinished(const Dictionary& result) {
  for (const char* key : {"charging", "buttons"}) {
    auto it = result.is_object() ? result.find(key) : result.end();
    if (it != result.end() && !it->is_null()) {
      testResults[key] = *it;
    } else {
      testResults.erase(key);
    }
  }
  nextScreen();
}

void QuorvelSDK::testCancelled() {
  testResults = Dictionary::object();
  cancelTests();
}

void QuorvelSDK::clearRunIdentifiers() {
  appID.reset();
  apiKey.reset();
  imei.reset();
  imei_image_url.reset();
  serialNumber.reset();
  serialNumber_image_url.reset();
}

void QuorvelSDK::cancelTests(std::optional<Dictionary> response) {
  logLine("Cancel Tests function called");
  clearRunIdentifiers();
  if (!response) response = errorResponse(StatusCodes::cancelledByUser);
  logLine(std::string("testsCompletionHandler is: ") +
          (testsCompletionHandler ? "not nil" : "nil"));
  logLine(std::string("navigationController is: ") + (navigationController ? "not nil" : "nil"));
  if (navigationController) {
    logLine("navigationController RootVC: " + describeRoot(navigationController));
  }
  giveNavigationBack();
  if (auto handler = std::move(testsCompletionHandler)) {
    testsCompletionHandler = nullptr;
    handler(response);
  }
  logLine("Cancel Tests function finished");
}

void QuorvelSDK::giveNavigationBack() {
  if (!navigationController) return;
  auto navigation = navigationController;
  navigation->setNavigationBarHidden(isAppNavigationBarHidden, false);
  if (!rootViewControllerVCS.empty() && navigation->contains(*rootViewControllerVCS.back())) {
    logLine("rootViewControllerVCS: " + describe(rootViewControllerVCS));
    logLine("rootViewControllerVCS.last: " + describe(rootViewControllerVCS.back()));
    navigation->popToViewController(*rootViewControllerVCS.back(), false);
    logLine("pushed rootViewControllerVCS.last");
  } else {
    logLine("poppedToRootViewController " + describeRoot(navigation));
    navigation->popToRootViewController(false);
  }
}

void QuorvelSDK::repeatTests() {
  recordDeviceInfo();
  nextTestIndex = -1;
  testResults = Dictionary::object();
  if (!hideStartScreen) {
    if (navigationController) navigationController->pushViewController(makeStartScreen(), true);
  } else {
    begin();
  }
}

// Screen delegates.

void QuorvelSDK::StartViewControlllerViewPressedStart(StartViewController&) { begin(); }

void QuorvelSDK::StartViewControlllerViewPressedCancel(StartViewController&) { cancelTests(); }

void QuorvelSDK::IMEIViewControllerIMEIInputSuccessful(IMEIViewController&,
                                                       std::optional<std::string> imeiValue,
                                                       std::optional<std::string> imeiUrl,
                                                       std::optional<std::string> serialValue,
                                                       std::optional<std::string> serialUrl) {
  imei = std::move(imeiValue);
  imei_image_url = std::move(imeiUrl);
  serialNumber = std::move(serialValue);
  serialNumber_image_url = std::move(serialUrl);
  recordDeviceInfo();
  nextScreen();
}

void QuorvelSDK::IMEIViewControllerErrorOccurred(IMEIViewController&) {
  cancelTests(errorResponse(StatusCodes::serverError));
}

void QuorvelSDK::IMEIViewControllerPressedCancel(IMEIViewController&) { cancelTests(); }

void QuorvelSDK::TestsFinishedViewControllerTestAgainPressed(TestsFinishedViewController&) {
  repeatTests();
}

void QuorvelSDK::TestsFinishedViewControllerDidFinish(TestsFinishedViewController&) {
  logLine("Upload tests results start");
  std::weak_ptr<QuorvelSDK> weak = weak_from_this();
  platform().mainQueue->async([weak] {
    auto self = weak.lock();
    if (!self) return;
    self->loadingView->show(platform().application->keyWindow());
  });
  if (!testsCompletionHandler) return;
  finalResponseObject["tests_results"] = testResults;
  submitResults();
}

namespace {

// The JSON text every writer of the run uses: compact, keys sorted, invalid UTF-8 replaced.
std::string documentText(const Dictionary& value) {
  return value.dump(-1, ' ', false, Dictionary::error_handler_t::replace);
}

// Writes text to path through a temporary file in the same folder, so a reader never sees a
// half-written document and an earlier one is replaced in one step.
bool writeAtomically(const std::filesystem::path& path, const std::string& text) {
  std::error_code failure;
  std::filesystem::create_directories(path.parent_path(), failure);
  if (failure) return false;
  std::filesystem::path temporary = path;
  temporary += ".part-" + makeUUIDString();
  {
    std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
    out.write(text.data(), static_cast<std::streamsize>(text.size()));
    out.close();
    if (!out) {
      std::filesystem::remove(temporary, failure);
      return false;
    }
  }
  std::filesystem::rename(temporary, path, failure);
  if (failure) std::filesystem::remove(temporary, failure);
  return !failure;
}

}  // namespace

std::string QuorvelSDK::resultsDocumentText() const {
  std::string text = documentText(finalResponseObject);
  std::string seal =
      CryptoHelper::hexString(CryptoHelper::sha256(std::string_view(text + appID.value_or(""))));
  return documentText(Dictionary{{"sha256", seal}, {"data", finalResponseObject}});
}

void QuorvelSDK::submitResults() {
  std::filesystem::path path =
      std::filesystem::path(platform().device->documentsDirectory()) / "jsonResults.json";
  if (!writeAtomically(path, resultsDocumentText())) {
    logLine("Cannot write " + path.string());
    uploadFailed();
    return;
  }
  std::weak_ptr<QuorvelSDK> weak = weak_from_this();
  AssetUploaderWebService::uploadFile(path.string(), [weak](std::optional<Dictionary> response,
                                                            std::optional<std::string> error) {
    platform().mainQueue->async([weak, response = std::move(response), error] {
      auto self = weak.lock();
      if (!self) return;
      if (error) {
        self->uploadFailed();
        return;
      }
      // Neither an error nor an answer: the run stays open under the overlay.
      if (!response) return;
      self->finalResponseObject["uploaded_results_info"] = {
          {"filename", stringValue(*response, "filename")}, {"url", stringValue(*response, "url")}};
      self->finalResponseObject["status_code"] = StatusCodes::testFinished;
      self->finalResponseObject["status_message"] =
          StatusCodes::getDescription(StatusCodes::testFinished);
      self->deliver(self->finalResponseObject);
    });
  });
}

void QuorvelSDK::uploadFailed() {
  std::weak_ptr<QuorvelSDK> weak = weak_from_this();
  platform().mainQueue->async([weak] {
    auto self = weak.lock();
    if (!self || !self->navigationController) return;
    auto alert =
        AlertController::make("", Localization::copy("error_uploading_results_to_server_message"));
    alert->addAction({Localization::copy("ok"), AlertActionStyle::standard, [weak] {
                        logLine("Error uploading tests results");
                        platform().mainQueue->async([weak] {
                          if (auto sdk = weak.lock()) sdk->loadingView->fadeOutAndRemove(0.1);
                        });
                      }});
    alert->addAction(
        {Localization::copy("try_later"), AlertActionStyle::destructive, [weak] {
           auto sdk = weak.lock();
           if (!sdk) return;
           sdk->finalResponseObject = {
               {"status_code", StatusCodes::serverError},
               {"status_message", StatusCodes::getDescription(StatusCodes::serverError)}};
           sdk->deliver(sdk->finalResponseObject);
         }});
    self->navigationController->present(alert, true);
  });
}

void QuorvelSDK::deliver(Dictionary response) {
  logLine("tests uploaded to server: " + jsonText(response).value_or("{}"));
  std::weak_ptr<QuorvelSDK> weak = weak_from_this();
  platform().mainQueue->async([weak] {
    auto self = weak.lock();
    if (!self) return;
    self->loadingView->fadeOutAndRemove(0.1);
    logLine("Navigating to RootVC: " + describeRoot(self->navigationController));
    self->giveNavigationBack();
  });
  if (auto handler = std::move(testsCompletionHandler)) {
    testsCompletionHandler = nullptr;
    handler(response);
  }
  logLine("Called tests finished completion handler");
  clearRunIdentifiers();
}

std::optional<Dictionary> QuorvelSDK::getDeviceInfo(std::optional<std::string> imeiArgument,
                                                    std::optional<std::string> serialArgument) {
  if (imeiArgument && !IMEIViewController::isValidIMEI(*imeiArgument)) {
    return errorResponse(StatusCodes::invalidIMEI);
  }
  if (serialArgument && trimmingWhitespace(*serialArgument).empty()) {
    return errorResponse(StatusCodes::invalidSerialNumber);
  }
  Dictionary info = DeviceInfoHelper::getDeviceInfo(imeiArgument, serialArgument);
  lastDeviceInfoSHA256Value = jsonDigest(info);
  return info;
}

}  // namespace quorvel
