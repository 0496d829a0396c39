#include "run/RunController.h"

#include "backend/AssetUploaderWebService.h"
#include "device/DeviceInfoHelper.h"
#include "device/IMEIViewController.h"
#include "quorvel/QuorvelSDK.h"
#include "quorvel/ScreenType.h"
#include "quorvel/StatusCodes.h"
#include "quorvel/platform/Platform.h"
#include "quorvel/ui/AlertController.h"
#include "quorvel/ui/Application.h"
#include "quorvel/ui/LoadingView.h"
#include "run/ScreenTable.h"
#include "run/TestSelection.h"
#include "screens/StartViewController.h"
#include "screens/TestsFinishedViewController.h"
#include "support/JsonText.h"
#include "support/Logging.h"
#include "support/Utf8.h"
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

// What a host may ask a run for: the screens the list offers in runs, and the rows of the combined
// screen, which the run gathers onto it.
std::vector<std::string> supportedTests() {
  std::vector<std::string> tests = ScreenTable::runKeys();
  const auto& rows = MultipleTests_v2_ViewController::supportedTests();
  tests.insert(tests.end(), rows.begin(), rows.end());
  return tests;
}

}  // namespace

RunController::RunController(const QuorvelSDK& settings)
    : settings_(settings),
      allSupportedTests_(supportedTests()),
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
  // compat: this and the run's other log lines are word for word what support tools search for.
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

  submission_ = makeSubmission();
  navigation_.takeOver(*platform().application);

  if (!settings_.hideStartScreen) {
    pushStartScreen();
  } else {
    begin();
  }
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
  context.multipleTestsList = multipleTestsList_;
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
  navigation_.push(std::move(screen));
}

std::shared_ptr<ResultsSubmission> RunController::makeSubmission() {
  std::weak_ptr<RunController> weak = weak_from_this();
  ResultsSubmission::Run run;
  run.awaitsAnswer = [weak] {
    auto self = weak.lock();
    return self && self->testsCompletionHandler_ != nullptr;
  };
  run.uploaded = [weak](Dictionary info) {
    if (auto self = weak.lock()) self->resultsUploaded(std::move(info));
  };
  run.alertClosed = [weak] {
    if (auto self = weak.lock()) self->loadingView_->fadeOutAndRemove(0.1);
  };
  run.givenUp = [weak] {
    if (auto self = weak.lock()) self->resultsGivenUp();
  };
  run.present = [weak](std::shared_ptr<AlertController> alert) {
    if (auto self = weak.lock()) self->navigation_.present(std::move(alert));
  };
  return std::make_shared<ResultsSubmission>(platform(), settings_.language, std::move(run));
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
  if (!identified) {
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
    auto screen = ScreenTable::makeScreen(key, screenContext(key), shared_from_this());
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
  logLine(std::string("navigationController is: ") +
          (navigation_.isTakenOver() ? "not nil" : "nil"));
  if (navigation_.isTakenOver()) {
    logLine("navigationController RootVC: " + navigation_.describeRoot());
  }
  navigation_.giveBack();
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

void RunController::submitResults() {
  // The document is sealed with the app ID the run was started with.
  submission_->submit(finalResponseObject_, appID_.value_or(""), uploader());
}

void RunController::resultsUploaded(Dictionary uploadedResultsInfo) {
  finalResponseObject_["uploaded_results_info"] = std::move(uploadedResultsInfo);
  finalResponseObject_["status_code"] = StatusCodes::testFinished;
  finalResponseObject_["status_message"] = StatusCodes::getDescription(StatusCodes::testFinished);
  deliver(finalResponseObject_);
}

void RunController::resultsGivenUp() {
  finalResponseObject_ = {
      {"status_code", StatusCodes::serverError},
      {"status_message", StatusCodes::getDescription(StatusCodes::serverError)}};
  deliver(finalResponseObject_);
}

void RunController::deliver(Dictionary response) {
  logLine("tests uploaded to server: " + jsonText(response).value_or("{}"));
  std::weak_ptr<RunController> weak = weak_from_this();
  platform().mainQueue->async([weak] {
    auto self = weak.lock();
    if (!self) return;
    self->loadingView_->fadeOutAndRemove(0.1);
    logLine("Navigating to RootVC: " + self->navigation_.describeRoot());
    self->navigation_.giveBack();
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
