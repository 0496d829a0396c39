#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/contracts/Implementation.h"
#include "quorvel/platform/AudioRecorder.h"
#include "quorvel/platform/MainQueue.h"
#include "support/TemporaryTree.h"

namespace quorvel::testing {

// What every AudioRecorder must do, whoever implements it: the permission and each recording's
// end answer once, on the main queue and never from inside the call; a stopped recording's file
// is complete when stop returns, replaces an older one and answers true; a recording that cannot
// start is null and never answers. A driver runs the recorder's main queue on the test's thread.
class AudioRecorderDriver {
 public:
  virtual ~AudioRecorderDriver() = default;
  virtual AudioRecorder& recorder() = 0;
  virtual std::shared_ptr<MainQueue> queue() = 0;
  // Runs the queue for about seconds (in the recorder's time).
  virtual void run(double seconds) = 0;
};

using AudioRecorderImplementation = Implementation<AudioRecorderDriver>;

class AudioRecorderContract : public AnswersContract<AudioRecorderDriver> {
 protected:
  TemporaryTree folder{"quorvel-recorder-contract"};
};

}  // namespace quorvel::testing

#define QUORVEL_AUDIO_RECORDER_CONTRACT_TESTS()                                                   \
  TEST_P(AudioRecorderContract, ARecordingStoppedIsCompleteAtOnceAndAnswersTrueOnce) {            \
    auto& recorder = driver->recorder();                                                          \
    recorder.requestRecordPermission(answer("permission"));                                       \
    EXPECT_TRUE(answers.empty()) << "answered from inside requestRecordPermission";               \
    const auto path = folder.path() / "recording.m4a";                                            \
    folder.write("recording.m4a", "an older recording");                                          \
    auto recording = recorder.record(path.string(), {}, answer("recording"));                     \
    ASSERT_NE(recording, nullptr);                                                                \
    EXPECT_TRUE(recording->isRecording());                                                        \
    driver->run(1.0);                                                                             \
    EXPECT_GT(recording->currentTime(), 0.5);                                                     \
    recording->stop();                                                                            \
    recording->stop();                                                                            \
    EXPECT_FALSE(recording->isRecording());                                                       \
    const double recorded = recording->currentTime();                                             \
    EXPECT_GT(recorded, 0.5);                                                                     \
    EXPECT_GT(std::filesystem::file_size(path), 0u);                                              \
    EXPECT_NE(fileContents(path), "an older recording");                                          \
    EXPECT_EQ(answers, std::vector<std::string>{"permission:true"}) << "answered inside stop";    \
    driver->run(0.5);                                                                             \
    EXPECT_EQ(answers, (std::vector<std::string>{"permission:true", "recording:true"}));          \
    EXPECT_EQ(recording->currentTime(), recorded) << "time went on after the stop";               \
    EXPECT_EQ(offQueue, 0);                                                                       \
  }                                                                                               \
  TEST_P(AudioRecorderContract, ARecordingThatCannotBeWrittenIsNullAndNeverAnswers) {             \
    auto recording =                                                                              \
        driver->recorder().record("/nonexistent/folder/recording.m4a", {}, answer("unwritable")); \
    EXPECT_EQ(recording, nullptr);                                                                \
    driver->run(0.5);                                                                             \
    EXPECT_TRUE(answers.empty());                                                                 \
  }
