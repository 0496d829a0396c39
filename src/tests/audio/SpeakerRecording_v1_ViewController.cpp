#include "tests/audio/SpeakerRecording_v1_ViewController.h"

#include "quorvel/ScreenType.h"
#include "quorvel/platform/Platform.h"
#include "support/Logging.h"

namespace quorvel {

SpeakerRecording_v1_ViewController::SpeakerRecording_v1_ViewController(ScreenContext context)
    : RecordingViewController("SpeakerRecording_v1_ViewController",
                              ScreenType::speaker_recording_v1, "uiViewProgressBarBackground",
                              "recording.m4a", std::move(context)) {
  registerAction("uiBtStartTest_TouchUpInside", [this] { start(); });
  registerAction("recordTapped", [this] { start(); });
  registerAction("uiBtInfo_TouchUpInside",
                 [this] { alert("", look().copy("alert_sound_tests_info_ios")); });
}

void SpeakerRecording_v1_ViewController::viewDidLoad() {
  view()->backgroundColor = look().backgroundColor();
  auto& title = *lbTitle_;
  title.text = look().copy("speaker_record_title");
  look().styleTitle(title);
  auto& description = *lbDescription_;
  auto& start = *btStartTest_;
  start.title = look().copy("speaker_record_start_test");
  // The description names the button.
  description.text = Localization::format(look().copy("speaker_record_description"), {start.title});
  look().styleBody(description);
  look().styleMainButton(start);
  auto& info = *btInfo_;
  info.image = Image::asset("info.circle", true);
  info.tintColor = look().themeColor();
  info.accessibilityLabel = look().copy("accessibility_more_information");
  warnIfVolumeLow(ports().audioSession->outputVolume());
  RecordingViewController::viewDidLoad();
}

void SpeakerRecording_v1_ViewController::start() {
  if (started_ || finished()) return;
  started_ = true;
  btStartTest_->enabled = false;
  showLoadingView();
  if (!startRecording(whileAlive<bool>([this](bool successfully) {
        if (!successfully) finish(result(false, std::nullopt));
      }))) {
    finish(result(false, std::nullopt));
    return;
  }
  if (!preparePlayAndRecord(playsOnLoudspeaker())) {
    soundEnded(false);
    return;
  }
  ports().audioPlayer->playAsset(
      "testfile", whileAlive<bool>([this](bool successfully) { soundEnded(successfully); }));
}

void SpeakerRecording_v1_ViewController::soundEnded(bool successfully) {
  if (finished()) return;
  if (!successfully) {
    // Without its sound the test never ends by itself: the person must reach the buttons.
    logLine("The test sound could not be played");
    removeLoadingView();
    return;
  }
  ports().audioPlayer->stop();
  submit();
}

void SpeakerRecording_v1_ViewController::reportFinished(const Dictionary& result) {
  if (auto target = delegate.lock())
    target->SpeakerRecording_v1_ViewControllerFinished(*this, result);
}

void SpeakerRecording_v1_ViewController::reportCancelled() {
  if (auto target = delegate.lock()) target->SpeakerRecording_v1_ViewControllerCancelled(*this);
}

}  // namespace quorvel
