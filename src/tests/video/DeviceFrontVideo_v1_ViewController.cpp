#include "tests/video/DeviceFrontVideo_v1_ViewController.h"

#include "quorvel/ScreenType.h"
#include "quorvel/platform/Platform.h"

namespace quorvel {

DeviceFrontVideo_v1_ViewController::DeviceFrontVideo_v1_ViewController(ScreenContext context)
    : DeviceFrontVideoViewController("DeviceFrontVideo_v1_ViewController",
                                     ScreenType::device_front_video_v1, "1", false,
                                     std::move(context)) {
  registerAction("uiBtNext_TouchUpInside", [this] { showInstructions(); });
}

void DeviceFrontVideo_v1_ViewController::viewDidLoad() {
  DeviceFrontVideoViewController::viewDidLoad();
  warnIfVolumeLow(ports().audioSession->outputVolume());
}

void DeviceFrontVideo_v1_ViewController::showInstructions() {
  if (step() != Step::initial) return;
  setStep(Step::instructions);
  lbTitle_->text = look().copy("screen_test_title_instructions");
  lbDescription_->text = look().copy("screen_test_description_instructions_start_ios");
  btNext_->hidden = true;
  showStartCode();
  startScanning();
}

void DeviceFrontVideo_v1_ViewController::startScanning() {
  auto session = ports().camera->startScanning(whileAlive<const std::vector<std::string>&>(
      [this](const std::vector<std::string>& codes) { codesRead(codes); }));
  if (!session) {
    showScanningNotSupported();
    return;
  }
  scanning_ = session;
  setSession(std::move(session));
}

void DeviceFrontVideo_v1_ViewController::codesRead(const std::vector<std::string>& codes) {
  // Only the scanning session that runs now may move the test on.
  if (!session() || scanning_.lock() != session()) return;
  // One reading per session: whatever was read, this session is done.
  session()->stop();
  if (codes.empty()) {
    dismiss(true);
    return;
  }
  // The person feels that a code was read, whichever it was.
  if (!codes.front().empty()) ports().feedback->vibrate();
  if (codes.front() == startQRCode() && step() == Step::instructions) {
    startCodeRead();
  } else if (codes.front() == endQRCode() && step() == Step::endCode) {
    endCodeRead();
  }
  dismiss(true);
}

void DeviceFrontVideo_v1_ViewController::startCodeRead() {
  setStep(Step::recording);
  playSound("beep");
  setSession(ports().camera->startCapture(false));
  startRecording();
  after(kColoursDelay, [this] {
    playSound("testfile");
    runColourSequence(
        [this] { lbDescription_->text = look().copy("screen_test_description_instructions_end"); },
        [this] {
          stopRecording();
          startScanning();
        });
  });
}

void DeviceFrontVideo_v1_ViewController::endCodeRead() {
  // The recording ended at 5.5 s; this second stop finds nothing to stop.
  stopRecording();
  playSound("beep");
  showReviewStep();
}

std::string DeviceFrontVideo_v1_ViewController::infoText() const {
  return look().copy("screen_test_info_ios");
}

void DeviceFrontVideo_v1_ViewController::report(const Dictionary& result) {
  if (auto target = delegate.lock())
    target->DeviceFrontVideo_v1_ViewControllerFinished(*this, result);
}

void DeviceFrontVideo_v1_ViewController::reportCancelled() {
  if (auto target = delegate.lock()) target->DeviceFrontVideo_v1_ViewControllerCancelled(*this);
}

}  // namespace quorvel
