#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/contracts/Implementation.h"
#include "quorvel/platform/AudioPlayer.h"
#include "quorvel/platform/MainQueue.h"

namespace quorvel::testing {

// What every AudioPlayer must do, whoever implements it: each play answers exactly once, on the
// main queue and never from inside the call; a sound played to its end answers true, a stopped,
// replaced or missing one false. A driver runs the player's main queue on the test's thread.
class AudioPlayerDriver {
 public:
  virtual ~AudioPlayerDriver() = default;
  virtual AudioPlayer& player() = 0;
  virtual std::shared_ptr<MainQueue> queue() = 0;
  // Runs the queue until done() holds or the driver gives up; returns done().
  virtual bool runUntil(const std::function<bool()>& done) = 0;
  // Runs the queue a while longer, for answers that should not come.
  virtual void settle() = 0;
};

using AudioPlayerImplementation = Implementation<AudioPlayerDriver>;

using AudioPlayerContract = AnswersContract<AudioPlayerDriver>;

}  // namespace quorvel::testing

#define QUORVEL_AUDIO_PLAYER_CONTRACT_TESTS()                                              \
  TEST_P(AudioPlayerContract, ASoundPlayedToItsEndAnswersTrueOnce) {                       \
    driver->player().playAsset("beep", answer("beep"));                                    \
    EXPECT_TRUE(answers.empty()) << "answered from inside playAsset";                      \
    ASSERT_TRUE(answersReach(1));                                                          \
    driver->settle();                                                                      \
    EXPECT_EQ(answers, std::vector<std::string>{"beep:true"});                             \
    EXPECT_EQ(driver->player().currentTime(), 0.0);                                        \
    EXPECT_EQ(offQueue, 0);                                                                \
  }                                                                                        \
  TEST_P(AudioPlayerContract, TheSameSoundAfterItsEndPlaysToItsEndAgain) {                 \
    driver->player().playAsset("beep", answer("first"));                                   \
    ASSERT_TRUE(answersReach(1));                                                          \
    driver->player().playAsset("beep", answer("again"));                                   \
    ASSERT_TRUE(answersReach(2));                                                          \
    EXPECT_EQ(answers, (std::vector<std::string>{"first:true", "again:true"}));            \
  }                                                                                        \
  TEST_P(AudioPlayerContract, ReplacedStoppedAndMissingSoundsAnswerFalse) {                \
    auto& player = driver->player();                                                       \
    player.playAsset("video_test_audio_EN", answer("replaced"));                           \
    player.playAsset("video_test_audio_PT", answer("stopped"));                            \
    player.stop();                                                                         \
    player.stop();                                                                         \
    player.playAsset("no_such_sound", answer("missing"));                                  \
    player.playFile("/nonexistent/sound.wav", answer("missing file"));                     \
    EXPECT_TRUE(answers.empty()) << "answered from inside a call";                         \
    ASSERT_TRUE(answersReach(4));                                                          \
    driver->settle();                                                                      \
    EXPECT_EQ(answers, (std::vector<std::string>{"replaced:false", "stopped:false",        \
                                                 "missing:false", "missing file:false"})); \
    EXPECT_EQ(offQueue, 0);                                                                \
  }
