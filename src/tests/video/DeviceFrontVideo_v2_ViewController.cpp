#include "tests/video/DeviceFrontVideo_v2_ViewController.h"

#include "quorvel/ScreenCustomizationKeys.h"
#include "quorvel/ScreenType.h"
#include "quorvel/platform/Platform.h"

namespace quorvel {

namespace keys = ScreenCustomizationKeys::device_front_video_v2;

DeviceFrontVideo_v2_ViewController::DeviceFrontVideo_v2_ViewController(ScreenContext context)
    : DeviceFrontVideoViewController("DeviceFrontVideo_v2_ViewController",
                                     ScreenType::device_front_video_v2, "2", true,
                                     std::move(context)) {
  registerAction("uiBtNext_TouchUpInside", [this] { next(); });
  registerAction("uiBtStartRecording_TouchUpInside", [this] { startRecordingPressed(); });
  registerAction("uiCheckBoxTerms_TouchUpInside", [this] { termsToggled(); });
}

void DeviceFrontVideo_v2_ViewController::viewDidLoad() {
  DeviceFrontVideoViewController::viewDidLoad();
  auto& session = *ports().audioSession;
  currentVolume_ = session.outputVolume();
  volumeObservation_ = session.observeOutputVolume(
      whileAlive<float>([this](float volume) { currentVolume_ = volume; }));
  // A round record button, as cameras have: it needs no words on screen, only for a screen reader.
  auto& record = *btStartRecording_;
  record.image = Image::asset("record.circle");
  record.accessibilityLabel = look().copy("accessibility_start_recording");
  auto& box = *checkBoxTerms_;
  box.title = text(keys::Copy::video_review_checkbox_text, "screen_test_review_checkbox_text");
  box.tintColor = look().themeColor();
  box.textColor = look().textColor();
}

void DeviceFrontVideo_v2_ViewController::initialShown() {
  viewVideoPreview_->hidden = true;
  videoOverlay_->hidden = true;
  btStartRecording_->hidden = true;
}

void DeviceFrontVideo_v2_ViewController::next() {
  if (step() != Step::initial) return;
  if (warnIfVolumeLow(currentVolume_)) return;
  showPreview();
}

void DeviceFrontVideo_v2_ViewController::showPreview() {
  setStep(Step::preview);
  auto session = ports().camera->startCapture(true);
  lbTitle_->text = text(keys::Copy::preview_title, "screen_test_title_preview");
  lbDescription_->text = text(keys::Copy::preview_description, "screen_test_description_preview");
  btNext_->hidden = true;
  image_->hidden = true;
  if (!session) {
    showScanningNotSupported();
    return;
  }
  setSession(std::move(session));
  viewVideoPreview_->hidden = false;
  videoOverlay_->hidden = false;
  btStartRecording_->hidden = false;
}

void DeviceFrontVideo_v2_ViewController::startRecordingPressed() {
  if (step() != Step::preview || !session()) return;
  setStep(Step::recording);
  lbTitle_->text.clear();
  lbDescription_->text.clear();
  btNext_->hidden = true;
  btCouldntCompleteTest_->hidden = true;
  btStartRecording_->hidden = true;
  viewVideoPreview_->hidden = true;
  videoOverlay_->hidden = true;
  showStartCode();
  // The alert says why; the first step is back, with its way out and another try.
  if (!startRecording()) {
    showInitialStep();
    return;
  }
  playSound("beep");
  after(kColoursDelay, [this] {
    playSound(look().context().language == SupportedLanguage::portuguese ? "video_test_audio_PT"
                                                                         : "video_test_audio_EN");
    runColourSequence([this] { lbDescription_->text.clear(); },
                      [this] {
                        playSound("beep");
                        stopRecording();
                        showReviewStep();
                      });
  });
}

void DeviceFrontVideo_v2_ViewController::reviewShown() {
  termsAccepted_ = false;
  auto& box = *checkBoxTerms_;
  box.isChecked = false;
  auto& next = *btVideoReviewNext_;
  next.enabled = false;
  next.alpha = 0.3;
}

void DeviceFrontVideo_v2_ViewController::termsToggled() {
  if (step() != Step::review) return;
  termsAccepted_ = !termsAccepted_;
  checkBoxTerms_->isChecked = termsAccepted_;
  auto& next = *btVideoReviewNext_;
  next.enabled = termsAccepted_;
  next.alpha = termsAccepted_ ? 1.0 : 0.3;
}

std::string DeviceFrontVideo_v2_ViewController::infoText() const {
  return text(keys::Copy::info_button_copy, "screen_test_info");
}

void DeviceFrontVideo_v2_ViewController::report(const Dictionary& result) {
  if (auto target = delegate.lock())
    target->DeviceFrontVideo_v2_ViewControllerFinished(*this, result);
}

void DeviceFrontVideo_v2_ViewController::reportCancelled() {
  if (auto target = delegate.lock()) target->DeviceFrontVideo_v2_ViewControllerCancelled(*this);
}

}  // namespace quorvel
