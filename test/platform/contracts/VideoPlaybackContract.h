#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/contracts/Implementation.h"
#include "quorvel/platform/MainQueue.h"
#include "quorvel/platform/VideoPlayback.h"

namespace quorvel::testing {

// What every VideoPlayback must do, whoever implements it: each play is closed exactly once, on
// the main queue and never from inside the call; a movie that ends, that the person closes or
// that another takes the place of closes without a problem, and a missing one with one.
class VideoPlaybackDriver {
 public:
  virtual ~VideoPlaybackDriver() = default;
  virtual VideoPlayback& playback() = 0;
  virtual std::shared_ptr<MainQueue> queue() = 0;
  // A movie of about the given length that the playback can play.
  virtual std::string movie(int seconds) = 0;
  // The person closes the player showing the current movie.
  virtual void closeByPerson() = 0;
  // Runs the queue until done() holds or the driver gives up; returns done().
  virtual bool runUntil(const std::function<bool()>& done) = 0;
  // Runs the queue a while longer, for answers that should not come.
  virtual void settle() = 0;
};

using VideoPlaybackImplementation = Implementation<VideoPlaybackDriver>;

using VideoPlaybackContract = AnswersContract<VideoPlaybackDriver>;

}  // namespace quorvel::testing

#define QUORVEL_VIDEO_PLAYBACK_CONTRACT_TESTS()                                         \
  TEST_P(VideoPlaybackContract, AMovieThatEndsOrIsClosedClosesOnceWithoutAProblem) {    \
    auto& playback = driver->playback();                                                \
    playback.play(driver->movie(1), answer("ended"));                                   \
    EXPECT_TRUE(answers.empty()) << "answered from inside play";                        \
    ASSERT_TRUE(answersReach(1));                                                       \
    playback.play(driver->movie(60), answer("closed"));                                 \
    driver->closeByPerson();                                                            \
    ASSERT_TRUE(answersReach(2));                                                       \
    driver->settle();                                                                   \
    EXPECT_EQ(answers, (std::vector<std::string>{"ended:", "closed:"}));                \
    EXPECT_EQ(offQueue, 0);                                                             \
  }                                                                                     \
  TEST_P(VideoPlaybackContract, AReplacedMovieClosesQuietlyAndAMissingOneSaysWhy) {     \
    auto& playback = driver->playback();                                                \
    playback.play(driver->movie(60), answer("replaced"));                               \
    playback.play("/nonexistent/movie.mp4", answer("missing"));                         \
    EXPECT_TRUE(answers.empty()) << "answered from inside play";                        \
    ASSERT_TRUE(answersReach(2));                                                       \
    driver->settle();                                                                   \
    ASSERT_EQ(answers.size(), 2u) << "a movie closed twice";                            \
    EXPECT_EQ(answers[0], "replaced:");                                                 \
    EXPECT_GT(answers[1].size(), std::string("missing:").size()) << "no problem given"; \
    EXPECT_EQ(answers[1].rfind("missing:", 0), 0u);                                     \
    EXPECT_EQ(offQueue, 0);                                                             \
  }
