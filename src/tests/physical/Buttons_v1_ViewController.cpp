#include "tests/physical/Buttons_v1_ViewController.h"

#include "device/DeviceImages.h"
#include "quorvel/ScreenType.h"
#include "quorvel/platform/Platform.h"

namespace quorvel {

namespace {

constexpr const char* kVolumeObservation = "volume";
constexpr const char* kScreenshotObservation = "screenshot";

struct PhaseLook {
  const char* imageKind;
  const char* descriptionKey;
};

PhaseLook lookOf(Buttons_v1_ViewController::TestPhase phase) {
  using Phase = Buttons_v1_ViewController::TestPhase;
  switch (phase) {
    case Phase::VolumeUp:
      return {"volume_up", "buttons_test_volume_up"};
    case Phase::VolumeDown:
      return {"volume_down", "buttons_test_volume_down"};
    case Phase::Screenshot:
      return {"screenshot", "buttons_test_take_screenshot"};
  }
  QUORVEL_FATAL("unknown buttons test phase");
}

}  // namespace

Buttons_v1_ViewController::Buttons_v1_ViewController(ScreenContext context)
    : TestViewController("Buttons_v1_ViewController", ScreenType::buttons_v1,
                         "uiViewProgressBarBackground", std::move(context)),
      volumeListener_(ports()),
      currentVolume_(ports().audioSession->outputVolume()) {}

void Buttons_v1_ViewController::viewDidLoad() {
  TestViewController::viewDidLoad();
  view()->backgroundColor = look().backgroundColor();
  auto& title = *lbTitle_;
  title.text = look().copy("buttons_test_title");
  look().styleTitle(title);
  look().styleBody(*lbDescription_);
  showPhase();
  if (!volumeListener_.hasSetup) {
    volumeListener_.setup();
    volumeListener_.hasSetup = true;
  }
  keepObserving(kVolumeObservation,
                NotificationCenter::defaultCenter().addObserver(
                    VolumeListener::volumeDidChangeNotification,
                    whileAlive<const Notification&>(
                        [this](const Notification& n) { userInteractedWithVolume(n); })));
}

void Buttons_v1_ViewController::showPhase() {
  auto phase = lookOf(currentTestPhase_);
  image_->image = Image::asset(DeviceImages::imageName(phase.imageKind, *ports().device));
  lbDescription_->text = look().copy(phase.descriptionKey);
  // Screenshots count only in their own phase.
  if (currentTestPhase_ == TestPhase::Screenshot) {
    keepObserving(kScreenshotObservation, ports().screenshotEvents->addObserver(
                                              whileAlive<>([this] { userTookScreenshot(); })));
  }
}

void Buttons_v1_ViewController::userInteractedWithVolume(const Notification& notification) {
  const auto& info = notification.userInfo;
  auto it = info.is_object() ? info.find("volume") : info.end();
  if (it == info.end() || !it->is_number_float()) return;
  float volume = it->get<float>();
  // The exact ends let a person whose volume sits at the top or bottom pass, because the system
  // still reports the press there.
  if (currentTestPhase_ == TestPhase::VolumeUp) {
    if (!(volume == 1.0f || currentVolume_ < volume)) {
      currentVolume_ = volume;
      return;
    }
    endPhase(true);
  }
  // The same press is tested again for the next phase.
  if (currentTestPhase_ == TestPhase::VolumeDown && (volume == 0.0f || volume < currentVolume_)) {
    endPhase(true);
  }
  currentVolume_ = volume;
}

void Buttons_v1_ViewController::userTookScreenshot() {
  screenshotResult_ = stamped({{"success", true}});
  finish();
}

void Buttons_v1_ViewController::endPhase(bool success) {
  Dictionary result = stamped({{"success", success}});
  switch (currentTestPhase_) {
    case TestPhase::VolumeUp:
      volumeUpResult_ = std::move(result);
      currentTestPhase_ = TestPhase::VolumeDown;
      break;
    case TestPhase::VolumeDown:
      volumeDownResult_ = std::move(result);
      currentTestPhase_ = TestPhase::Screenshot;
      break;
    case TestPhase::Screenshot:
      screenshotResult_ = std::move(result);
      return;
  }
  showPhase();
}

void Buttons_v1_ViewController::finish() {
  auto target = delegate.lock();
  if (!target) return;
  Dictionary results = stamped({{"volume_up", volumeUpResult_},
                                {"volume_down", volumeDownResult_},
                                {"screenshot", screenshotResult_},
                                {"version", "1"}});
  target->Buttons_v1_ViewControllerFinished(*this, results);
}

void Buttons_v1_ViewController::couldNotCompleteTest() {
  bool lastPhase = currentTestPhase_ == TestPhase::Screenshot;
  endPhase(false);
  if (lastPhase) {
    stopObserving(kScreenshotObservation);
    finish();
  }
}

void Buttons_v1_ViewController::cancelTest() {
  if (auto target = delegate.lock()) target->Buttons_v1_ViewControllerCancelled(*this);
}

}  // namespace quorvel
