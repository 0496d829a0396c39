#include "quorvel/QuorvelSDK.h"

#include "run/RunAccess.h"
#include "run/RunController.h"
#include "support/MainQueueCheck.h"

namespace quorvel {

QuorvelSDK& QuorvelSDK::shared() {
  // Never destroyed: screens and queued work may still reach the run while the process exits.
  static auto* instance = new QuorvelSDK();
  return *instance;
}

namespace {

std::weak_ptr<RunController> sharedRun;

}  // namespace

QuorvelSDK::QuorvelSDK() : run_(std::make_shared<RunController>(*this)) { sharedRun = run_; }

bool cancelRunInProgress() {
  checkOnMainQueue("cancelRunInProgress");
  auto run = sharedRun.lock();
  return run && run->cancelByHost();
}

void QuorvelSDK::performTests(const std::string& appID, const std::string& apiKey,
                              std::optional<std::vector<std::string>> testsToPerform,
                              std::optional<std::string> imei,
                              std::optional<std::string> serialNumber,
                              std::shared_ptr<Customization> customization,
                              std::function<void(std::optional<Dictionary>)> completion) {
  checkOnMainQueue("performTests");
  run_->performTests(appID, apiKey, std::move(testsToPerform), std::move(imei),
                     std::move(serialNumber), std::move(customization), std::move(completion));
}

std::optional<Dictionary> QuorvelSDK::getDeviceInfo(std::optional<std::string> imei,
                                                    std::optional<std::string> serialNumber) {
  return run_->getDeviceInfo(std::move(imei), std::move(serialNumber));
}

// A new Customization takes its default colours from the SDK's theme colour at that moment.
Color Customization::currentThemeColor() {
  const auto& theme = QuorvelSDK::shared().themeColor;
  return theme ? theme->withAlpha(1.0) : defaultThemeColor();
}

}  // namespace quorvel
