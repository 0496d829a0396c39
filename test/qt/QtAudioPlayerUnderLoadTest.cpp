#include <gtest/gtest.h>
#include <malloc.h>

#include <QElapsedTimer>
#include <QTest>
#include <atomic>
#include <random>
#include <thread>
#include <vector>

#include "qt/QtAudioPlayer.h"
#include "qt/QtMainQueue.h"

namespace quorvel::testing {
namespace {

// Cores kept busy while the sounds play, as on a phone that updates or backs up during a check.
class BusyCores {
 public:
  explicit BusyCores(unsigned count) {
    for (unsigned i = 0; i < count; ++i) {
      threads_.emplace_back([this] {
        volatile unsigned long spin = 0;
        while (!stop_) spin = spin + 1;
      });
    }
  }
  ~BusyCores() {
    stop_ = true;
    for (auto& thread : threads_) thread.join();
  }

 private:
  std::atomic<bool> stop_{false};
  std::vector<std::thread> threads_;
};

// Freed memory filled with a pattern while it lives, as a loaded process soon reuses it.
class PoisonedFrees {
 public:
  PoisonedFrees() { mallopt(M_PERTURB, 0xa5); }
  ~PoisonedFrees() { mallopt(M_PERTURB, 0); }
};

// Cues are replaced and stopped at every moment of their lives, by several players at once, as
// the screens do (the closing beep comes as the spoken steps end, a screen that leaves stops what
// plays). A Qt 6.4 GStreamer player that is destroyed with a sound loaded leaves its decoder's
// pad-removed handler connected, and its pipeline goes last, with its child video output: the
// decoder's pads are removed then and the handler reads the player's freed members. The process
// dies once that memory has been reused, which load makes likely and the poisoning here makes
// certain: a player released after each sound brings it down within seconds.
TEST(QtAudioPlayerUnderLoad, SoundsEndedReplacedAndStoppedAtAnyMomentNeverCrash) {
  PoisonedFrees poisoned;
  BusyCores busy(2);
  auto queue = std::make_shared<QtMainQueue>();
  std::mt19937 random(20261125);
  const int seconds = qEnvironmentVariableIntValue("QUORVEL_PLAYER_SECONDS") > 0
                          ? qEnvironmentVariableIntValue("QUORVEL_PLAYER_SECONDS")
                          : 10;
  int answers = 0;
  int played = 0;
  {
    std::vector<std::unique_ptr<QtAudioPlayer>> players;
    for (int i = 0; i < 6; ++i) players.push_back(std::make_unique<QtAudioPlayer>(queue));
    const char* sounds[] = {"beep", "en-US-dog", "testfile"};
    QElapsedTimer clock;
    clock.start();
    while (clock.elapsed() < seconds * 1000) {
      auto& player = *players[random() % players.size()];
      if (random() % 4 == 0) {
        player.stop();
      } else {
        player.playAsset(sounds[random() % 3], [&](bool) { ++answers; });
        ++played;
      }
      QTest::qWait(static_cast<int>(random() % 120));
    }
    for (auto& player : players) player->stop();
    EXPECT_TRUE(QTest::qWaitFor([&] { return answers == played; }, 5000));
  }
  // Whatever the last sounds posted must find nothing to call.
  QTest::qWait(300);
  EXPECT_EQ(answers, played) << "every sound answers once, ended, stopped or replaced";
}

}  // namespace
}  // namespace quorvel::testing
