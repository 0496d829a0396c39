#include "tests/TestViewController.h"

#include <filesystem>

#include "quorvel/ui/AlertController.h"
#include "support/Logging.h"
#include "support/Timestamp.h"
#include "widgets/HeaderViewHelper.h"

namespace quorvel {

TestViewController::TestViewController(std::string interfaceName, std::string testKey,
                                       std::string headerView, ScreenContext context)
    : ViewController(std::move(interfaceName)),
      testKey_(std::move(testKey)),
      look_(std::move(context), testKey_),
      header_(*this, std::move(headerView)) {
  registerAction("uiBtCouldntCompleteTest_TouchUpInside", [this] { couldNotCompleteTest(); });
  registerAction("uiBtCancel_TouchUpInside", [this] {
    stopObserving();
    cancelTest();
  });
}

void TestViewController::viewDidLoad() {
  const auto& context = look_.context();
  auto& couldNotComplete = *btCouldntCompleteTest_;
  couldNotComplete.title = look_.copy("could_not_complete_test");
  couldNotComplete.titleColor = look_.customization().skipTestButtonColor;
  auto& cancel = *btCancel_;
  cancel.title = look_.copy("cancel");
  cancel.titleColor = look_.themeColor();

  auto& counter = *lbTestCounter_;
  counter.text = HeaderViewHelper::counterText(context.header, context.language);
  look_.styleTitle(counter);
  HeaderViewHelper::progressBar(*stackViewProgressBar_, context.header, look_.customization());
  showHeader();
}

void TestViewController::viewWillAppear(bool) {
  showHeader();
  ports().device->setOrientation(DeviceOrientation::portrait);
}

void TestViewController::viewWillDisappear(bool) { stopObserving(); }

void TestViewController::showHeader() {
  header_->hidden = !HeaderViewHelper::isHeaderVisible(*this);
}

void TestViewController::keepObserving(const std::string& group, Subscription subscription) {
  observations_[group].push_back(std::move(subscription));
}

void TestViewController::stopObserving(const std::string& group) { observations_.erase(group); }

void TestViewController::stopObserving() { observations_.clear(); }

void TestViewController::alert(const std::string& title, const std::string& message) {
  auto controller = AlertController::make(title, message);
  controller->addAction({look_.copy("ok"), AlertActionStyle::standard, nullptr});
  present(controller, true);
}

bool TestViewController::warnIfVolumeLow(float volume) {
  if (volume >= 0.5f) return false;
  // compat: copy keys ending "_ios" keep the names hosts override them by.
  alert("", look_.copy("alert_sound_level_ios"));
  return true;
}

bool TestViewController::preparePlayAndRecord(bool defaultToSpeaker) const {
  auto& session = *ports().audioSession;
  auto error = session.setCategory(AudioCategory::playAndRecord, AudioMode::standard,
                                   AudioCategoryOptions{defaultToSpeaker});
  if (!error) error = session.setActive(true);
  if (error) logLine(*error);
  return !error;
}

std::string TestViewController::documentsFile(const std::string& name) const {
  const std::filesystem::path folder(ports().device->documentsDirectory());
  std::error_code ignored;
  std::filesystem::create_directories(folder, ignored);
  return (folder / name).string();
}

Dictionary TestViewController::stamped(Dictionary values) {
  values["timestamp"] = currentTimestamp();
  return values;
}

}  // namespace quorvel
