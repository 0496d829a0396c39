#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/contracts/Implementation.h"
#include "quorvel/platform/AudioSession.h"

namespace quorvel::testing {

// What every AudioSession must do, whoever implements it: the route follows the category and its
// options; the output level reads 0...1 and every change the system makes reaches each observer
// until its subscription ends. A driver changes the level as the system would.
class AudioSessionDriver {
 public:
  virtual ~AudioSessionDriver() = default;
  virtual AudioSession& session() = 0;
  // The system sets its output level, and the change has had time to arrive.
  virtual void systemSetsVolume(float level) = 0;
};

using AudioSessionImplementation = Implementation<AudioSessionDriver>;

class AudioSessionContract : public ::testing::TestWithParam<AudioSessionImplementation> {
 protected:
  std::unique_ptr<AudioSessionDriver> driver = GetParam().make();
};

}  // namespace quorvel::testing

#define QUORVEL_AUDIO_SESSION_CONTRACT_TESTS()                                             \
  TEST_P(AudioSessionContract, TheRouteFollowsTheCategoryAndItsSpeakerOption) {            \
    auto& session = driver->session();                                                     \
    const struct {                                                                         \
      AudioCategory category;                                                              \
      bool defaultToSpeaker;                                                               \
      AudioRoute route;                                                                    \
    } cases[] = {{AudioCategory::playAndRecord, false, AudioRoute::earpiece},              \
                 {AudioCategory::playAndRecord, true, AudioRoute::loudspeaker},            \
                 {AudioCategory::playback, false, AudioRoute::loudspeaker},                \
                 {AudioCategory::playAndRecord, false, AudioRoute::earpiece}};             \
    for (const auto& each : cases) {                                                       \
      EXPECT_EQ(session.setCategory(each.category, AudioMode::standard,                    \
                                    AudioCategoryOptions{each.defaultToSpeaker}),          \
                std::nullopt);                                                             \
      EXPECT_EQ(session.category(), each.category);                                        \
      EXPECT_EQ(session.outputRoute(), each.route) << each.defaultToSpeaker;               \
    }                                                                                      \
    EXPECT_EQ(session.setActive(true), std::nullopt);                                      \
    EXPECT_TRUE(session.isActive());                                                       \
    EXPECT_EQ(session.setActive(false), std::nullopt);                                     \
    EXPECT_FALSE(session.isActive());                                                      \
  }                                                                                        \
  TEST_P(AudioSessionContract, EveryLevelTheSystemSetsReachesEachObserverUntilItStops) {   \
    auto& session = driver->session();                                                     \
    std::vector<float> first, second;                                                      \
    auto one = session.observeOutputVolume([&](float level) { first.push_back(level); });  \
    auto two = session.observeOutputVolume([&](float level) { second.push_back(level); }); \
    driver->systemSetsVolume(0.3f);                                                        \
    EXPECT_FLOAT_EQ(session.outputVolume(), 0.3f);                                         \
    driver->systemSetsVolume(0.0f);                                                        \
    two.cancel();                                                                          \
    driver->systemSetsVolume(1.0f);                                                        \
    EXPECT_FLOAT_EQ(session.outputVolume(), 1.0f);                                         \
    EXPECT_EQ(first, (std::vector<float>{0.3f, 0.0f, 1.0f}));                              \
    EXPECT_EQ(second, (std::vector<float>{0.3f, 0.0f}));                                   \
  }
