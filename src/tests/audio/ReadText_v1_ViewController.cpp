#include "tests/audio/ReadText_v1_ViewController.h"

#include <cmath>
#include <cstdio>

#include "quorvel/ScreenType.h"
#include "quorvel/platform/Platform.h"
#include "support/Logging.h"
#include "tests/audio/WordLists.h"

namespace quorvel {

namespace {
constexpr double kTimerInterval = 0.5;
}

ReadText_v1_ViewController::ReadText_v1_ViewController(ScreenContext context)
    : RecordingViewController("ReadText_v1_ViewController", ScreenType::read_text_v1,
                              "uiViewProgressBarBackground", "recordingReadWord.m4a",
                              std::move(context)) {
  registerAction("uiBtRecord_TouchUpInside", [this] { record(); });
  registerAction("uiBtPlay_TouchUpInside", [this] { play(); });
  registerAction("uiBtRecordAgain_TouchUpInside", [this] { showIdle(); });
  registerAction("uiBtNext_TouchUpInside", [this] { submit(); });
}

ReadText_v1_ViewController::~ReadText_v1_ViewController() {
  if (timer_) timer_->cancel();
}

void ReadText_v1_ViewController::viewDidLoad() {
  view()->backgroundColor = look().backgroundColor();
  auto& title = *lbTitle_;
  title.text = look().copy("read_word_test_title");
  look().styleTitle(title);
  auto& description = *lbDescription_;
  description.text = look().copy("read_word_test_description");
  look().styleBody(description);
  look().styleTitle(*lbWord_);
  auto& timer = *lbTimer_;
  look().styleBody(timer);
  timer.hidden = true;
  btRecord_->image = Image::asset("record.circle", true);
  showRecordButton(false);
  auto& play = *btPlay_;
  play.image = Image::asset("play.circle.fill", true);
  play.tintColor = look().themeColor();
  play.accessibilityLabel = look().copy("accessibility_play_recording");
  auto& again = *btRecordAgain_;
  again.title = look().copy("record_again");
  again.titleColor = look().themeColor();
  auto& next = *btNext_;
  next.title = look().copy("next");
  look().styleMainButton(next);
  showIdle();
  RecordingViewController::viewDidLoad();
}

void ReadText_v1_ViewController::viewWillDisappear(bool animated) {
  RecordingViewController::viewWillDisappear(animated);
  if (timer_) timer_->cancel();
  timer_ = nullptr;
}

std::string ReadText_v1_ViewController::timerText(double seconds) {
  const long whole = seconds > 0 ? static_cast<long>(std::floor(seconds)) : 0;
  char text[32];
  std::snprintf(text, sizeof text, "%02ld:%02ld", whole / 60, whole % 60);
  return text;
}

void ReadText_v1_ViewController::permissionAnswered() {
  btNext_->hidden = true;
  showIdle();
  const auto& words = WordLists::readWords(look().context().language);
  word_ = words[WordLists::randomIndex(words.size())];
  lbWord_->text = word_;
  tick();
}

void ReadText_v1_ViewController::showIdle() {
  if (finished()) return;
  btRecord_->hidden = false;
  btPlay_->hidden = true;
  btRecordAgain_->hidden = true;
  btNext_->hidden = true;
}

void ReadText_v1_ViewController::record() {
  if (finished()) return;
  if (isRecording()) {
    stopRecording();  // its end shows the review buttons
    return;
  }
  if (!recordAvailable()) return;
  if (playing_) {
    playing_ = false;
    ports().audioPlayer->stop();
  }
  if (!startRecording(
          whileAlive<bool>([this](bool successfully) { recordingEnded(successfully); }))) {
    logLine("The recording could not start");
    return;
  }
  showRecordButton(true);
}

void ReadText_v1_ViewController::showRecordButton(bool recording) {
  // While recording, the same button stops: it shows so, as the play button does while playing.
  auto& button = *btRecord_;
  button.tintColor = recording ? Color::white() : look().themeColor();
  button.backgroundColor = recording ? std::optional<Color>(look().themeColor()) : std::nullopt;
  button.accessibilityLabel =
      look().copy(recording ? "accessibility_stop_recording" : "accessibility_record");
}

void ReadText_v1_ViewController::recordingEnded(bool successfully) {
  if (finished()) return;
  showRecordButton(false);
  if (!successfully) {
    // A spoiled recording is not offered for review: the person records again.
    logLine("The recording failed");
    showIdle();
    return;
  }
  btRecordAgain_->hidden = false;
  btPlay_->hidden = false;
  btNext_->hidden = false;
  btRecord_->hidden = true;
}

void ReadText_v1_ViewController::play() {
  if (finished() || isRecording() || !preparePlayAndRecord(false)) return;
  playing_ = true;
  const unsigned playback = ++playback_;
  ports().audioPlayer->playFile(recordingPath(), whileAlive<bool>([this, playback](bool) {
                                  if (playback == playback_) playing_ = false;
                                }));
}

void ReadText_v1_ViewController::tick() {
  auto& label = *lbTimer_;
  if (playing_) {
    label.text = timerText(ports().audioPlayer->currentTime());
    label.hidden = false;
  } else if (isRecording()) {
    recordingDuration_ = recordedSeconds();
    label.text = timerText(recordingDuration_);
    label.hidden = false;
  } else {
    label.hidden = true;
  }
  timer_ = ports().mainQueue->asyncAfter(kTimerInterval, whileAlive<>([this] { tick(); }));
}

Dictionary ReadText_v1_ViewController::result(bool success,
                                              const std::optional<std::string>& url) const {
  Dictionary values = RecordingViewController::result(success, url);
  values["text"] = word_;
  return values;
}

void ReadText_v1_ViewController::reportFinished(const Dictionary& result) {
  if (timer_) timer_->cancel();
  if (auto target = delegate.lock()) target->ReadText_v1_ViewControllerFinished(*this, result);
}

void ReadText_v1_ViewController::reportCancelled() {
  if (timer_) timer_->cancel();
  if (auto target = delegate.lock()) target->ReadText_v1_ViewControllerCancelled(*this);
}

}  // namespace quorvel
