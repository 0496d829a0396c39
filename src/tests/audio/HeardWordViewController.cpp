#include "tests/audio/HeardWordViewController.h"

#include "quorvel/platform/Platform.h"
#include "support/Logging.h"
#include "support/Utf8.h"
#include "tests/audio/WordLists.h"

namespace quorvel {

HeardWordViewController::HeardWordViewController(std::string interfaceName, std::string testKey,
                                                 std::string copyPrefix, bool defaultToSpeaker,
                                                 ScreenContext context)
    : TestViewController(std::move(interfaceName), std::move(testKey),
                         "uiViewProgressBarBackground", std::move(context)),
      copyPrefix_(std::move(copyPrefix)),
      defaultToSpeaker_(defaultToSpeaker) {
  registerAction("uiBtPlay_TouchUpInside", [this] { play(); });
  registerAction("uiBtChangeWord_TouchUpInside", [this] { changeWord(); });
  registerAction("uiBtNext_TouchUpInside", [this] { next(); });
  registerAction("uiBtInfo_TouchUpInside",
                 [this] { alert("", look().copy("alert_sound_tests_info_ios")); });
  registerAction("uiTfWord_EditingDidEnd", [this] { editingEnded(); });
  // A tap anywhere else ends the editing, as it hides a phone's keyboard.
  registerAction("view_Tapped", [this] {
    tfWord_->isFirstResponder = false;
    editingEnded();
  });
}

void HeardWordViewController::viewDidLoad() {
  TestViewController::viewDidLoad();
  view()->backgroundColor = look().backgroundColor();
  auto& title = *lbTitle_;
  title.text = look().copy(copyPrefix_ + "_test_title");
  look().styleTitle(title);
  auto& description = *lbDescription_;
  description.text = look().copy(copyPrefix_ + "_test_description");
  look().styleBody(description);
  auto& field = *tfWord_;
  field.placeholder = look().copy(copyPrefix_ + "_test_placeholder");
  field.textColor = look().textAccentColor();
  field.tintColor = look().themeColor();
  auto& change = *btChangeWord_;
  change.title = look().copy("change_word");
  change.titleColor = look().themeColor();
  auto& next = *btNext_;
  next.title = look().copy("next");
  look().styleMainButton(next);
  auto& info = *btInfo_;
  info.image = Image::asset("info.circle", true);
  info.tintColor = look().themeColor();
  info.accessibilityLabel = look().copy("accessibility_more_information");
  btPlay_->accessibilityLabel = look().copy("accessibility_play_word");
  activityIndicator_->hidden = true;

  words_ = WordLists::heardWords(look().context().language);
  randomIndex_ = WordLists::randomIndex(words_.size());
  showPlayButton();
  warnIfVolumeLow(ports().audioSession->outputVolume());
  editingEnded();
}

void HeardWordViewController::viewWillDisappear(bool animated) {
  TestViewController::viewWillDisappear(animated);
  // Nothing speaks behind the next screen.
  if (playing_) ports().audioPlayer->stop();
}

bool HeardWordViewController::wordsMatch(const std::string& typed, const std::string& expected) {
  return lowercased(trimmingWhitespace(typed)) == lowercased(trimmingWhitespace(expected));
}

void HeardWordViewController::play() {
  auto& player = *ports().audioPlayer;
  if (playing_) player.stop();
  const std::string asset = WordLists::assetName(look().context().language, word());
  if (asset.empty()) return;
  if (!preparePlayAndRecord(defaultToSpeaker_)) return;
  playing_ = true;
  showPlayButton();
  // Each play answers once; only the latest one's end turns the button back.
  const unsigned playback = ++playback_;
  player.playAsset(asset, whileAlive<bool>([this, playback](bool) {
                     if (playback == playback_) playEnded();
                   }));
}

void HeardWordViewController::playEnded() {
  playing_ = false;
  showPlayButton();
}

void HeardWordViewController::showPlayButton() {
  auto& button = *btPlay_;
  button.image = Image::asset("play.circle.fill", true);
  button.tintColor = playing_ ? Color::white() : look().themeColor();
  button.backgroundColor = playing_ ? std::optional<Color>(look().themeColor()) : std::nullopt;
}

void HeardWordViewController::changeWord() {
  if (words_.size() < 2) return;  // no other word to change to
  std::size_t index = randomIndex_;
  while (index == randomIndex_) index = WordLists::randomIndex(words_.size());
  randomIndex_ = index;
}

void HeardWordViewController::editingEnded() {
  btNext_->hidden = trimmingWhitespace(tfWord_->text).empty();
}

void HeardWordViewController::next() {
  if (finished_) return;
  const std::string& typed = tfWord_->text;
  if (!wordsMatch(typed, word())) {
    alert("", look().copy("alert_words_dont_match"));
    return;
  }
  WordLists::removeHeardWord(look().context().language, word());
  finished_ = true;
  reportFinished(result(true));
}

void HeardWordViewController::couldNotCompleteTest() {
  if (finished_) return;
  finished_ = true;
  reportFinished(result(false));
}

void HeardWordViewController::cancelTest() {
  if (finished_) return;
  finished_ = true;
  reportCancelled();
}

Dictionary HeardWordViewController::result(bool success) const {
  return stamped({{"success", success},
                  {"audio_word", word()},
                  {"input_word", tfWord_->text},
                  {"version", "1"}});
}

}  // namespace quorvel
