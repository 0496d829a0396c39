// The sound screens on the test platform, on virtual time: the heard-word rule and its shared
// lists, where each word test plays, the recording tests' recorder, upload and clean-up.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "quorvel/ScreenType.h"
#include "quorvel/ui/AlertController.h"
#include "support/TestScreenFixture.h"
#include "tests/audio/Earspeaker_v1_ViewController.h"
#include "tests/audio/Loudspeaker_v1_ViewController.h"
#include "tests/audio/ReadText_v1_ViewController.h"
#include "tests/audio/SpeakerRecording_v1_ViewController.h"
#include "tests/audio/WordLists.h"

namespace quorvel::testing {
namespace {

class AudioScreensTest : public TestScreenFixture {
 protected:
  void SetUp() override {
    TestScreenFixture::SetUp();
    serveAssets();
  }

  std::string alertMessage(ViewController& screen) const {
    auto alert = std::dynamic_pointer_cast<AlertController>(screen.presentedViewController());
    return alert ? alert->message() : "";
  }
  void type(ViewController& screen, const std::string& text) {
    screen.textFieldDidChange("uiTfWord", text);
    press("uiTfWord_EditingDidEnd");
  }
};

TEST(HeardWordViewController, WordsMatchTrimmedAndLowerCasedAndNothingMore) {
  struct Case {
    const char* typed;
    const char* expected;
    bool match;
  } cases[] = {{"dog", "dog", true},   {"  Dog\n", "dog", true}, {"DOGS", "dog", false},
               {"dóg", "dog", false},  {"d og", "dog", false},   {"TELEFONE ", "telefone", true},
               {"ÉCRÃ", "écrã", true}, {"", "dog", false}};
  for (const auto& each : cases) {
    EXPECT_EQ(HeardWordViewController::wordsMatch(each.typed, each.expected), each.match)
        << '"' << each.typed << "\" against " << each.expected;
  }
}

TEST_F(AudioScreensTest, AHeardWordPassesAfterAMismatchAndLeavesTheSharedList) {
  auto screen = show<Loudspeaker_v1_ViewController>();
  const std::string word = screen->word();
  EXPECT_TRUE(screen->outlet<Button>("uiBtNext").hidden);
  type(*screen, " \n ");
  EXPECT_TRUE(screen->outlet<Button>("uiBtNext").hidden) << "white space is no word";

  type(*screen, word + "s");
  EXPECT_FALSE(screen->outlet<Button>("uiBtNext").hidden);
  press("uiBtNext_TouchUpInside");
  EXPECT_EQ(alertMessage(*screen), context.copy("alert_words_dont_match"));
  EXPECT_TRUE(delegate->reports.empty());
  screen->dismiss(false);

  std::string typed = "  " + word + "\n";
  typed[2] = static_cast<char>(std::toupper(typed[2]));
  type(*screen, typed);
  press("uiBtNext_TouchUpInside");
  const auto& report = onlyReport();
  EXPECT_EQ(report.result["success"], true);
  EXPECT_EQ(report.result["audio_word"], word);
  EXPECT_EQ(report.result["input_word"], typed) << "kept as typed";
  EXPECT_EQ(report.result["version"], "1");
  EXPECT_TRUE(report.result.contains("timestamp"));

  // The next word test of the process, through the earpiece, never plays it again.
  const auto left = WordLists::heardWords(SupportedLanguage::english);
  EXPECT_EQ(left.size(), 4u);
  EXPECT_EQ(std::count(left.begin(), left.end(), word), 0);
  auto next = std::make_shared<Earspeaker_v1_ViewController>(context);
  next->loadViewIfNeeded();
  EXPECT_EQ(next->words(), left);
  // The read-word test keeps all five.
  EXPECT_EQ(WordLists::readWords(SupportedLanguage::english).size(), 5u);
}

TEST_F(AudioScreensTest, EachWordTestPlaysOnItsOwnRouteUntilTheLastPlayEndsAndChangesWord) {
  for (const auto& [key, route] : {std::pair{ScreenType::loudspeaker_v1, AudioRoute::loudspeaker},
                                   std::pair{ScreenType::earspeaker_v1, AudioRoute::earpiece}}) {
    env.sounds->played.clear();
    auto screen = std::dynamic_pointer_cast<HeardWordViewController>(showKey(key));
    const auto& play = screen->outlet<Button>("uiBtPlay");
    press("uiBtPlay_TouchUpInside");
    EXPECT_EQ(env.sounds->names(), std::vector<std::string>{"en-US-" + screen->word()});
    EXPECT_EQ(env.volume.session->category(), AudioCategory::playAndRecord);
    EXPECT_EQ(env.volume.session->outputRoute(), route);
    EXPECT_EQ(play.backgroundColor, context.themeColor);
    EXPECT_EQ(play.tintColor, Color::white());
    env.queue->advance(0.5);
    press("uiBtPlay_TouchUpInside");  // played again: the first one's end is not this one's
    env.queue->advance(0.7);
    EXPECT_TRUE(screen->isPlaying());
    env.queue->advance(0.5);
    EXPECT_FALSE(screen->isPlaying());
    EXPECT_EQ(play.backgroundColor, std::nullopt);
    EXPECT_EQ(play.tintColor, context.themeColor);
    EXPECT_EQ(env.sounds->played.size(), 2u);
    // Change word never draws the same word twice in a row.
    for (int i = 0; i < 30; ++i) {
      const std::string before = screen->word();
      press("uiBtChangeWord_TouchUpInside");
      ASSERT_NE(screen->word(), before);
    }
  }
}

// The screens that play to the person warn of a low volume; the read-word test only records.
TEST_F(AudioScreensTest, PlayingScreensWarnBelowHalfVolumeAndEveryOneReportsOnceWhenLeft) {
  for (const std::string& key : {ScreenType::loudspeaker_v1, ScreenType::earspeaker_v1,
                                 ScreenType::speaker_recording_v1, ScreenType::read_text_v1}) {
    SCOPED_TRACE(key);
    for (const float level : {0.49f, 0.5f}) {
      delegate->reports.clear();
      env.volume.session->outputVolumeDidChange(level);
      auto screen = showKey(key);
      const bool plays = key != ScreenType::read_text_v1;
      EXPECT_EQ(alertMessage(*screen),
                plays && level < 0.5f ? context.copy("alert_sound_level_ios") : "")
          << "at " << level;
      screen->dismiss(false);
      // Given up once, cancelled the other time; pressed twice, either ends the test once.
      const bool cancel = level == 0.5f;
      const std::string leave = cancel ? "uiBtCancel" : "uiBtCouldntCompleteTest";
      press(leave + "_TouchUpInside");
      press(leave + "_TouchUpInside");
      // What a give-up reports is WayOutWalk's check.
      EXPECT_EQ(onlyReport().cancelled, cancel);
      cover();
    }
  }
}

TEST_F(AudioScreensTest, SpeakerRecordingRecordsWhileTheSoundPlaysThenUploadsAndDeletesIt) {
  // An earpiece left by an earlier screen: the sound is for the loudspeaker all the same.
  env.volume.session->setCategory(AudioCategory::playAndRecord, AudioMode::standard, {false});
  auto screen = show<SpeakerRecording_v1_ViewController>();
  press("uiBtStartTest_TouchUpInside");
  press("recordTapped");  // a second start does nothing
  ASSERT_EQ(env.recorder->recordings.size(), 1u);
  const auto& recording = *env.recorder->recordings.front();
  EXPECT_EQ(recording.path, (documents->path() / "recording.m4a").string());
  EXPECT_EQ(recording.settings.sampleRate, 12000);
  EXPECT_EQ(recording.settings.channels, 1);
  EXPECT_EQ(env.sounds->names(), std::vector<std::string>{"testfile"});
  EXPECT_EQ(env.sounds->played.front().route, AudioRoute::loudspeaker);
  EXPECT_FALSE(screen->outlet<Button>("uiBtStartTest").enabled);
  EXPECT_TRUE(delegate->reports.empty());

  env.queue->advance(1.0);  // the test sound ends
  EXPECT_FALSE(recording.isRecording());
  const auto& result = awaitReport().result;
  EXPECT_EQ(result["success"], true);
  EXPECT_EQ(result["version"], "1");
  std::ifstream uploaded(assets->stored(result.value("url", "")));
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(uploaded), {}), "recorded sound");
  EXPECT_FALSE(std::filesystem::exists(recording.path)) << "the local recording is deleted";
}

TEST_F(AudioScreensTest, SpeakerRecordingFailsWithoutARecordingOrAnAddress) {
  // No recording starts; then one that breaks; then an upload that never reaches the backend.
  for (int failure = 0; failure < 3; ++failure) {
    SCOPED_TRACE(failure);
    delegate->reports.clear();
    env.recorder->canRecord = failure != 0;
    if (failure == 2) env.setAssetsHost("http://127.0.0.1:1");
    show<SpeakerRecording_v1_ViewController>();
    press("uiBtStartTest_TouchUpInside");
    if (failure == 1) env.recorder->recordings.back()->end(false);
    if (failure == 2) env.queue->advance(1.0);
    const auto& result = awaitReport().result;
    EXPECT_EQ(result["success"], false);
    EXPECT_FALSE(result.contains("url"));
    EXPECT_FALSE(std::filesystem::exists(documents->path() / "recording.m4a"));
    cover();
  }
}

TEST_F(AudioScreensTest, ReadTextRecordsReviewsAndUploadsTheWordShownAndNothingWithoutPermission) {
  auto screen = show<ReadText_v1_ViewController>();
  const auto& words = WordLists::readWords(SupportedLanguage::english);
  ASSERT_NE(std::find(words.begin(), words.end(), screen->word()), words.end());
  EXPECT_EQ(screen->outlet<Label>("uiLbWord").text, screen->word());
  auto shown = [&](const char* name) { return !screen->outlet<Button>(name).hidden; };
  EXPECT_TRUE(shown("uiBtRecord"));
  EXPECT_FALSE(shown("uiBtNext") || shown("uiBtPlay") || shown("uiBtRecordAgain"));

  press("uiBtRecord_TouchUpInside");
  // The same button stops, and shows so while recording.
  EXPECT_EQ(screen->outlet<Button>("uiBtRecord").backgroundColor, context.themeColor);
  EXPECT_EQ(screen->outlet<Button>("uiBtRecord").tintColor, Color::white());
  env.queue->advance(75.2);
  EXPECT_EQ(screen->outlet<Label>("uiLbTimer").text, "01:15");
  EXPECT_FALSE(screen->outlet<Label>("uiLbTimer").hidden);
  press("uiBtRecord_TouchUpInside");
  EXPECT_EQ(screen->outlet<Button>("uiBtRecord").backgroundColor, std::nullopt);
  EXPECT_TRUE(shown("uiBtPlay") && shown("uiBtRecordAgain") && shown("uiBtNext"));
  EXPECT_FALSE(shown("uiBtRecord"));
  const std::string path = (documents->path() / "recordingReadWord.m4a").string();
  press("uiBtPlay_TouchUpInside");
  EXPECT_EQ(env.sounds->names(), std::vector<std::string>{path});

  press("uiBtRecordAgain_TouchUpInside");
  EXPECT_TRUE(shown("uiBtRecord"));
  press("uiBtRecord_TouchUpInside");
  env.queue->advance(2);
  press("uiBtRecord_TouchUpInside");
  EXPECT_EQ(env.recorder->recordings.size(), 2u);
  press("uiBtNext_TouchUpInside");
  const auto& result = awaitReport().result;
  EXPECT_EQ(result["success"], true);
  EXPECT_EQ(result["text"], screen->word());
  EXPECT_TRUE(std::filesystem::exists(assets->stored(result.value("url", ""))));
  EXPECT_FALSE(std::filesystem::exists(path));

  // Without permission nothing is recorded, and giving up still reports the word shown.
  delegate->reports.clear();
  env.recorder->permission = false;
  screen = show<ReadText_v1_ViewController>();
  EXPECT_FALSE(screen->word().empty());
  press("uiBtRecord_TouchUpInside");
  EXPECT_EQ(env.recorder->recordings.size(), 2u);
  press("uiBtCouldntCompleteTest_TouchUpInside");
  EXPECT_EQ(onlyReport().result["text"], screen->word());
}

}  // namespace
}  // namespace quorvel::testing
