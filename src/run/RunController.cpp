#include "run/RunController.h"

#include <filesystem>
#include <fstream>

#include "backend/AssetUploaderWebService.h"
#include "device/CryptoHelper.h"
#include "device/DeviceInfoHelper.h"
#include "device/IMEIViewController.h"
#include "quorvel/QuorvelSDK.h"
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
#include "support/MainQueueCheck.h"
#include "support/Utf8.h"
#include "support/Uuid.h"
#include "tests/TestViewController.h"

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

RunController::RunController(const QuorvelSDK& settings)
    : settings_(settings),
      allSupportedTests_{ScreenType::device_front_video_v2, ScreenType::charging_v2,
                         ScreenType::buttons_v2, ScreenType::multi_touch_v2},
      defaultTests_{ScreenType::buttons_v2, ScreenType::charging_v2, ScreenType::multi_touch_v2,
                    ScreenType::device_front_video_v2},
      loadingView_(std::make_shared<LoadingView>()) {}

RunController::~RunController() = default;

void RunController::performTests(const std::string& appIDArgument,
                                 const std::string& apiKeyArgument,
                                 std::optional<std::vector<std::string>> testsToPerform,
                                 std::optional<std::string> imeiArgument,
                                 std::optional<std::string> serialNumberArgument,
                                 std::shared_ptr<Customization> customizationArgument,
                                 Completion completion) {
  logLine("performTests called. APPID: " + masked(appIDArgument) +
          " APIKEY: " + masked(apiKeyArgument));

  finalResponseObject_ = Dictionary::object();
  testResults_ = Dictionary::object();
  lastDeviceInfoSHA256Value_ = "";
  nextTestIndex_ = -1;

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

  // A run left open (its upload never answered) must not lend this one its photo addresses.
  clearRunIdentifiers();
  appID_ = appIDArgument;
  apiKey_ = apiKeyArgument;
  imei_ = std::move(imeiArgument);
  serialNumber_ = std::move(serialNumberArgument);
  customization_ =
      customizationArgument ? std::move(customizationArgument) : std::make_shared<Customization>();
  testsCompletionHandler_ = std::move(completion);
  auto selection = TestSelection::make(testsToPerform, allSupportedTests_, defaultTests_);
  selectedTests_ = std::move(selection.selectedTests);
  multipleTestsList_ = std::move(selection.multipleTestsList);
  std::string list;
  for (const auto& key : selectedTests_) list += (list.empty() ? "" : ", ") + key;
  logLine("selectedTests: [" + list + "]");

  setUpNavigation();

  if (!settings_.hideStartScreen) {
    pushStartScreen();
  } else {
    begin();
  }
}

void RunController::setUpNavigation() {
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
    rootViewControllerVCS_ = hostNavigation->viewControllers();
    navigationController_ = hostNavigation;
    // Given back as found: a run on a plain root before had left this set, hiding the host's bar.
    isAppNavigationBarHidden_ = hostNavigation->isNavigationBarHidden();
  } else if (keyWindow) {
    logLine(" " + describe(root));
    rootViewControllerVCS_.clear();
    if (root) rootViewControllerVCS_.push_back(root);
    logLine("rootvc " + describe(root));
    auto own = root ? root->navigationController() : nullptr;
    logLine("navigationController " + (own ? own->description() : std::string("nil")));
    navigationController_ = own;
    if (!navigationController_) {
      logLine("self.navigationController == nil");
      navigationController_ = NavigationController::make();
    }
    isAppNavigationBarHidden_ = true;
    navigationController_->setNavigationBarHidden(true, false);
    keyWindow->setRootViewController(navigationController_);
    logLine("new rootvc " + navigationController_->description());
  } else {
    std::string windows;
    for (const auto& each : application.windows()) {
      windows += (windows.empty() ? "" : ", ") + each->description();
    }
    logLine("UIApplication.shared.windows: [" + windows + "]");
    logLine("UIApplication.shared.windows.first!: " + window->description());
    rootViewControllerVCS_.clear();
    if (root) rootViewControllerVCS_.push_back(root);
    auto own = root ? root->navigationController() : nullptr;
    navigationController_ = own ? own : NavigationController::make(root);
    isAppNavigationBarHidden_ = true;
    navigationController_->setNavigationBarHidden(true, false);
    window->setRootViewController(navigationController_);
  }
  logLine("setNavigationStructure: true");
}

ScreenContext RunController::screenContext(const std::string& key) const {
  ScreenContext context;
  context.ports = platform();
  context.language = settings_.language;
  context.customization = customization_ ? customization_ : std::make_shared<Customization>();
  context.themeColor = Customization::currentThemeColor();
  context.header = HeaderPosition::of(key, selectedTests_);
  context.uploader = uploader();
  context.deviceInfoSHA256 = lastDeviceInfoSHA256Value_;
  context.imei = imei_.value_or("");
  return context;
}

std::shared_ptr<const AssetUploaderWebService> RunController::uploader() const {
  if (!appID_ || !apiKey_) return nullptr;
  // Strict for every upload of the run: a photo or recording the backend did not confirm would
  // leave an address in the results that leads nowhere, so the screens' own failure paths (the
  // photo's retry alert, a recording test that did not pass) take it instead.
  return std::make_shared<AssetUploaderWebService>(platform(), settings_.environment, *appID_,
                                                   *apiKey_, settings_.strictUploads);
}

void RunController::push(std::shared_ptr<ViewController> screen) {
  if (navigationController_) navigationController_->pushViewController(std::move(screen), true);
}

void RunController::pushStartScreen() {
  auto start = std::make_shared<StartViewController>(
      screenContext(ScreenType::start_screen),
      StartViewController::RunOutline{imei_, serialNumber_, selectedTests_, multipleTestsList_});
  start->delegate = weak_from_this();
  push(start);
}

void RunController::begin() {
  bool identified = hasText(imei_) || hasText(imeiImageUrl_) || hasText(serialNumber_) ||
                    hasText(serialNumberImageUrl_);
  if (!identified && requestIdentifier_) {
    auto entry = std::make_shared<IMEIViewController>(screenContext(ScreenType::imei_screen));
    entry->delegate = weak_from_this();
    push(entry);
    return;
  }
  recordDeviceInfo();
  nextScreen();
}

DeviceIdentifiers RunController::identifiers() const {
  return {imei_, imeiImageUrl_, serialNumber_, serialNumberImageUrl_};
}

void RunController::recordDeviceInfo() {
  Dictionary info =
      DeviceInfoHelper::getDeviceInfo(*platform().device, *platform().hostBundle, identifiers());
  lastDeviceInfoSHA256Value_ = jsonDigest(info);
  finalResponseObject_["device_info"] = std::move(info);
}

void RunController::nextScreen() {
  for (;;) {
    nextTestIndex_ += 1;
    if (nextTestIndex_ >= static_cast<int>(selectedTests_.size())) {
      auto finished =
          std::make_shared<TestsFinishedViewController>(screenContext(ScreenType::end_screen));
      finished->delegate = weak_from_this();
      push(finished);
      return;
    }
    const auto& key = selectedTests_[static_cast<std::size_t>(nextTestIndex_)];
    auto screen = screenTable_.makeScreen(key, screenContext(key), shared_from_this());
    if (!screen) {
      // The run goes on without it, but says so: a silently shorter run hides a broken build.
      logLine("No screen for " + key + " in this build; passed over");
      continue;
    }
    push(screen);
    return;
  }
}

void RunController::testScreenFinished(TestViewController& screen, const Dictionary& result) {
  const std::string& key = screen.testKey();
  if (key == ScreenType::multiple_tests_v2) {
    multipleTestsFinished(result);
    return;
  }
  testResults_[key.substr(0, key.rfind("_v"))] = result;
  nextScreen();
}

void RunController::multipleTestsFinished(const Dictionary& result) {
  for (const char* key : {"charging", "buttons"}) {
    auto it = result.is_object() ? result.find(key) : result.end();
    if (it != result.end() && !it->is_null()) {
      testResults_[key] = *it;
    } else {
      testResults_.erase(key);
    }
  }
  nextScreen();
}

void RunController::testScreenCancelled(TestViewController&) {
  testResults_ = Dictionary::object();
  cancelTests();
}

void RunController::clearRunIdentifiers() {
  appID_.reset();
  apiKey_.reset();
  imei_.reset();
  imeiImageUrl_.reset();
  serialNumber_.reset();
  serialNumberImageUrl_.reset();
}

void RunController::cancelTests(std::optional<Dictionary> response) {
  logLine("Cancel Tests function called");
  clearRunIdentifiers();
  if (!response) response = errorResponse(StatusCodes::cancelledByUser);
  logLine(std::string("testsCompletionHandler is: ") +
          (testsCompletionHandler_ ? "not nil" : "nil"));
  logLine(std::string("navigationController is: ") + (navigationController_ ? "not nil" : "nil"));
  if (navigationController_) {
    logLine("navigationController RootVC: " + describeRoot(navigationController_));
  }
  giveNavigationBack();
  if (auto handler = std::move(testsCompletionHandler_)) {
    testsCompletionHandler_ = nullptr;
    handler(response);
  }
  logLine("Cancel Tests function finished");
}

bool RunController::cancelByHost() {
  if (!testsCompletionHandler_) return false;
  logLine("The host cancelled the run");
  if (loadingView_) loadingView_->fadeOutAndRemove(0.1);
  cancelTests();
  return true;
}

void RunController::giveNavigationBack() {
  if (!navigationController_) return;
  auto navigation = navigationController_;
  navigation->setNavigationBarHidden(isAppNavigationBarHidden_, false);
  // The retry alert of an earlier Finish can still be up when a later one's upload answers; it
  // must not stay over the host's screens.
  if (std::dynamic_pointer_cast<AlertController>(navigation->presentedViewController())) {
    navigation->dismiss(false);
  }
  if (!rootViewControllerVCS_.empty() && navigation->contains(*rootViewControllerVCS_.back())) {
    logLine("rootViewControllerVCS: " + describe(rootViewControllerVCS_));
    logLine("rootViewControllerVCS.last: " + describe(rootViewControllerVCS_.back()));
    navigation->popToViewController(*rootViewControllerVCS_.back(), false);
    logLine("pushed rootViewControllerVCS.last");
  } else {
    logLine("poppedToRootViewController " + describeRoot(navigation));
    navigation->popToRootViewController(false);
  }
}

void RunController::repeatTests() {
  recordDeviceInfo();
  nextTestIndex_ = -1;
  testResults_ = Dictionary::object();
  if (!settings_.hideStartScreen) {
    pushStartScreen();
  } else {
    begin();
  }
}

// Screen delegates.

void RunController::StartViewControlllerViewPressedStart(StartViewController&) { begin(); }

void RunController::StartViewControlllerViewPressedCancel(StartViewController&) { cancelTests(); }

void RunController::IMEIViewControllerIMEIInputSuccessful(IMEIViewController&,
                                                          std::optional<std::string> imeiValue,
                                                          std::optional<std::string> imeiUrl,
                                                          std::optional<std::string> serialValue,
                                                          std::optional<std::string> serialUrl) {
  imei_ = std::move(imeiValue);
  imeiImageUrl_ = std::move(imeiUrl);
  serialNumber_ = std::move(serialValue);
  serialNumberImageUrl_ = std::move(serialUrl);
  recordDeviceInfo();
  nextScreen();
}

void RunController::IMEIViewControllerErrorOccurred(IMEIViewController&) {
  cancelTests(errorResponse(StatusCodes::serverError));
}

void RunController::IMEIViewControllerPressedCancel(IMEIViewController&) { cancelTests(); }

void RunController::TestsFinishedViewControllerTestAgainPressed(TestsFinishedViewController&) {
  repeatTests();
}

void RunController::TestsFinishedViewControllerDidFinish(TestsFinishedViewController&) {
  logLine("Upload tests results start");
  std::weak_ptr<RunController> weak = weak_from_this();
  platform().mainQueue->async([weak] {
    auto self = weak.lock();
    if (!self) return;
    self->loadingView_->show(platform().application->keyWindow());
  });
  if (!testsCompletionHandler_) return;
  finalResponseObject_["tests_results"] = testResults_;
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

std::string RunController::resultsDocumentText() const {
  std::string text = documentText(finalResponseObject_);
  std::string seal =
      CryptoHelper::hexString(CryptoHelper::sha256(std::string_view(text + appID_.value_or(""))));
  return documentText(Dictionary{{"sha256", seal}, {"data", finalResponseObject_}});
}

void RunController::submitResults() {
  std::filesystem::path path =
      std::filesystem::path(platform().device->documentsDirectory()) / "jsonResults.json";
  if (!writeAtomically(path, resultsDocumentText())) {
    logLine("Cannot write " + path.string());
    uploadFailed();
    return;
  }
  std::weak_ptr<RunController> weak = weak_from_this();
  // Taken here: the answer arrives on the HTTP client's thread, which never reads the platform.
  std::shared_ptr<MainQueue> queue = platform().mainQueue;
  // Whichever comes first, the answer or the strict wait, settles this press; the other is dropped.
  auto settled = std::make_shared<bool>(false);
  auto uploads = uploader();
  auto task = uploads->uploadFile(path.string(), [weak, path, queue, settled](
                                                     std::optional<Dictionary> response,
                                                     std::optional<std::string> error) {
    queue->async([weak, path, settled, response = std::move(response), error] {
      checkOnMainQueue("the results upload's answer");
      // Too late: the strict wait gave up on it, and a new press may own the document by now.
      if (*settled) return;
      // Answered: the document leaves the device as every captured file does. A new press writes
      // it anew from the results, which stay with the run.
      std::error_code ignored;
      std::filesystem::remove(path, ignored);
      auto self = weak.lock();
      // The host has had its answer (a second Finish's upload answered first): a late failure
      // would put the retry alert over the host's own screens.
      if (!self || !self->testsCompletionHandler_) return;
      // Neither an error nor an answer: the run stays open under the overlay, and settles nothing,
      // so an answer that still comes for the same upload can end it.
      if (!error && !response) return;
      *settled = true;
      if (error) {
        self->uploadFailed();
        return;
      }
      self->finalResponseObject_["uploaded_results_info"] = {
          {"filename", stringValue(*response, "filename")}, {"url", stringValue(*response, "url")}};
      self->finalResponseObject_["status_code"] = StatusCodes::testFinished;
      self->finalResponseObject_["status_message"] =
          StatusCodes::getDescription(StatusCodes::testFinished);
      self->deliver(self->finalResponseObject_);
    });
  });
  if (!uploads->isStrict()) return;
  queue->asyncAfter(strictAnswerWaitSeconds, [weak, path, settled, task] {
    if (*settled) return;
    *settled = true;
    logLine("No answer to the results upload in time");
    if (task) task->cancel();
    std::error_code ignored;
    std::filesystem::remove(path, ignored);
    // As for a late answer: once the host has had its answer, no alert goes over its screens.
    if (auto self = weak.lock(); self && self->testsCompletionHandler_) self->uploadFailed();
  });
}

void RunController::uploadFailed() {
  std::weak_ptr<RunController> weak = weak_from_this();
  platform().mainQueue->async([weak] {
    auto self = weak.lock();
    if (!self || !self->navigationController_) return;
    auto copy = [language = self->settings_.language](std::string_view key) {
      return Localization::copy(key, language);
    };
    auto alert = AlertController::make("", copy("error_uploading_results_to_server_message"));
    alert->addAction({copy("ok"), AlertActionStyle::standard, [weak] {
                        logLine("Error uploading tests results");
                        platform().mainQueue->async([weak] {
                          if (auto sdk = weak.lock()) sdk->loadingView_->fadeOutAndRemove(0.1);
                        });
                      }});
    alert->addAction(
        {copy("try_later"), AlertActionStyle::destructive, [weak] {
           auto sdk = weak.lock();
           if (!sdk) return;
           sdk->finalResponseObject_ = {
               {"status_code", StatusCodes::serverError},
               {"status_message", StatusCodes::getDescription(StatusCodes::serverError)}};
           sdk->deliver(sdk->finalResponseObject_);
         }});
    self->navigationController_->present(alert, true);
  });
}

void RunController::deliver(Dictionary response) {
  logLine("tests uploaded to server: " + jsonText(response).value_or("{}"));
  std::weak_ptr<RunController> weak = weak_from_this();
  platform().mainQueue->async([weak] {
    auto self = weak.lock();
    if (!self) return;
    self->loadingView_->fadeOutAndRemove(0.1);
    logLine("Navigating to RootVC: " + describeRoot(self->navigationController_));
    self->giveNavigationBack();
  });
  if (auto handler = std::move(testsCompletionHandler_)) {
    testsCompletionHandler_ = nullptr;
    handler(response);
  }
  logLine("Called tests finished completion handler");
  clearRunIdentifiers();
}

std::optional<Dictionary> RunController::getDeviceInfo(std::optional<std::string> imeiArgument,
                                                       std::optional<std::string> serialArgument) {
  if (imeiArgument && !IMEIViewController::isValidIMEI(*imeiArgument)) {
    return errorResponse(StatusCodes::invalidIMEI);
  }
  if (serialArgument && trimmingWhitespace(*serialArgument).empty()) {
    return errorResponse(StatusCodes::invalidSerialNumber);
  }
  // Inside a run, the run's identifiers win over the caller's.
  DeviceIdentifiers ids = identifiers();
  if (!hasText(ids.imei)) ids.imei = std::move(imeiArgument);
  if (!hasText(ids.serialNumber)) ids.serialNumber = std::move(serialArgument);
  Dictionary info =
      DeviceInfoHelper::getDeviceInfo(*platform().device, *platform().hostBundle, ids);
  lastDeviceInfoSHA256Value_ = jsonDigest(info);
  return info;
}

}  // namespace quorvel
