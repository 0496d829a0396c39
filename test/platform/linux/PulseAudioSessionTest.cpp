#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <thread>
#include <vector>

#include "linux/PulseAudioSession.h"
#include "support/PrivatePulseAudio.h"
#include "support/TestScreenFixture.h"

namespace quorvel::testing {
namespace {

using ::testing::ElementsAre;

MATCHER_P(Level, expected, "") { return std::fabs(arg - expected) < 0.005f; }
MATCHER_P2(Change, level, explicitChange, "") {
  return std::fabs(arg.volume - level) < 0.005f && arg.explicitChange == explicitChange;
}

// The session against a sound server of the test's own; the platform's main queue is the
// fixture's, run by waitUntil while the server's answers arrive.
class PulseAudioSessionTest : public TestScreenFixture {
 protected:
  PrivatePulseAudio pulse;
};

TEST_F(PulseAudioSessionTest, FollowsTheDefaultSinkAndSetsItFromKeysWithoutHearingItsOwnEchoes) {
  // Without a server from the start: the level is full and only tracked.
  auto alone = std::make_shared<PulseAudioSession>("unix:" + (documents->path() / "no").string());
  EXPECT_EQ(alone->outputVolume(), 1.0f);
  EXPECT_FALSE(alone->hasMixer());

  ASSERT_TRUE(pulse.running()) << pulse.problem();
  ASSERT_TRUE(pulse.setSinkVolume(30));
  auto session = std::make_shared<PulseAudioSession>(pulse.server());
  env.volume.session = session;
  env.install();
  std::vector<float> heard;
  std::vector<VolumeChange> events;
  auto observation = session->observeOutputVolume([&](float level) { heard.push_back(level); });
  auto listening = env.volume.events->addObserver([&](auto& change) { events.push_back(change); });
  // Where the sink stands is where the level starts, not a change.
  EXPECT_TRUE(session->hasMixer());
  EXPECT_THAT(session->outputVolume(), Level(0.3f));

  ASSERT_TRUE(pulse.setSinkVolume(60));
  ASSERT_TRUE(waitUntil([&] { return !heard.empty(); }));
  // Two key presses reach the sink. The server's report of the first is queued behind the second
  // press (the main queue does not run meanwhile), and is no change.
  reportVolumeChange(*env.volume.events, *session, {0.75f, true});
  for (int tries = 0; tries < 100 && pulse.sinkVolume() != 75; ++tries) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  reportVolumeChange(*env.volume.events, *session, {0.8125f, true});
  ASSERT_TRUE(waitUntil([&] { return pulse.sinkVolume() == 81; }));
  ASSERT_TRUE(pulse.setSinkVolume(40));
  ASSERT_TRUE(waitUntil([&] { return std::fabs(heard.back() - 0.4f) < 0.005f; }));
  EXPECT_THAT(heard, ElementsAre(Level(0.6f), Level(0.75f), Level(0.8125f), Level(0.4f)));
  EXPECT_THAT(events, ElementsAre(Change(0.6f, false), Change(0.75f, true), Change(0.8125f, true),
                                  Change(0.4f, false)));

  // Without its server the session keeps the last level and goes on as a tracked one.
  pulse.stop();
  ASSERT_TRUE(waitUntil([&] { return !session->hasMixer(); }));
  EXPECT_THAT(session->outputVolume(), Level(0.4f));
  session->outputVolumeDidChange(0.25f);
  EXPECT_THAT(heard.back(), Level(0.25f));
  EXPECT_THAT(session->outputVolume(), Level(0.25f));
}

}  // namespace
}  // namespace quorvel::testing
