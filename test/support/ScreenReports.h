#pragma once

#include <algorithm>
#include <map>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "device/IMEIViewController.h"
#include "quorvel/ui/ViewController.h"
#include "run/TestScreensDelegate.h"
#include "screens/StartViewController.h"
#include "screens/TestsFinishedViewController.h"
#include "tests/audio/Earspeaker_v1_ViewController.h"
#include "tests/audio/Loudspeaker_v1_ViewController.h"
#include "tests/audio/ReadText_v1_ViewController.h"
#include "tests/audio/SpeakerRecording_v1_ViewController.h"
#include "tests/physical/Buttons_v1_ViewController.h"
#include "tests/physical/Charging_v1_ViewController.h"
#include "tests/physical/MultiTouch_v1_ViewController.h"
#include "tests/physical/MultiTouch_v2_ViewController.h"
#include "tests/physical/MultipleTests_v2_ViewController.h"
#include "tests/video/DeviceFrontVideo_v1_ViewController.h"
#include "tests/video/DeviceFrontVideo_v2_ViewController.h"

namespace quorvel::testing {

// Counts what screens tell whoever they report to, from outside: a relay takes the place of the
// screen's delegate and passes every call on. A screen's result is what it reports to end its
// part of a run (the start screen's Start or Cancel, the identifier's value, error or Cancel, a
// test's result or Cancel, the end screen's Test again); the end screen's Finish is a press that
// may come again after a failed upload, so it is only counted as a report.
class ScreenReports {
 public:
  // Relays screen's reports; a screen already relayed, or of no kind that reports, is left alone.
  void watch(const std::shared_ptr<ViewController>& screen) {
    auto seen = [&](const auto& relay) { return relay->relays(screen); };
    if (!screen || std::ranges::any_of(relays_, seen)) return;
    auto relay = std::make_shared<Relay>(state_, screen);
    bool relayed = interpose<StartViewController>(screen, relay, relay->start) ||
                   interpose<IMEIViewController>(screen, relay, relay->identifier) ||
                   interpose<TestsFinishedViewController>(screen, relay, relay->end);
#define QUORVEL_RELAY_TEST_SCREEN(Screen, key, use) \
  relayed = relayed || interpose<Screen>(screen, relay, relay->test);
    QUORVEL_TEST_SCREENS(QUORVEL_RELAY_TEST_SCREEN)
#undef QUORVEL_RELAY_TEST_SCREEN
    if (relayed) relays_.push_back(std::move(relay));
  }
  // A new run begins: the screens of earlier runs that still exist must stay silent from now on.
  void newRun() {
    state_ = std::make_shared<State>();
    std::erase_if(relays_, [](const auto& relay) { return !relay->alive(); });
    for (auto& relay : relays_) relay->belongsToEarlierRun(state_);
  }
  // The run has given its answer to the host: no screen of it may report any more.
  void runEnded() { state_->ended = true; }
  // What broke those rules since newRun().
  std::vector<std::string> broken() const { return state_->broken; }
  // How often this run's screens reported what ("Finish", "Cancel" ...).
  int count(const std::string& what) const {
    auto it = state_->counts.find(what);
    return it == state_->counts.end() ? 0 : it->second;
  }

 private:
  struct State {
    bool ended = false;
    std::vector<std::string> broken;
    std::map<std::string, int> counts;
  };

  class Relay : public StartViewControllerDelegate,
                public IMEIViewControllerDelegate,
                public TestsFinishedViewControllerDelegate,
                public TestScreensDelegate {
   public:
    Relay(std::shared_ptr<State> state, const std::shared_ptr<ViewController>& screen)
        : state_(std::move(state)), screen_(screen), name_(screen->interfaceName()) {}

    std::weak_ptr<StartViewControllerDelegate> start;
    std::weak_ptr<IMEIViewControllerDelegate> identifier;
    std::weak_ptr<TestsFinishedViewControllerDelegate> end;
    std::weak_ptr<TestScreensDelegate> test;

    bool alive() const { return !screen_.expired(); }
    bool relays(const std::shared_ptr<ViewController>& screen) const {
      return screen_.lock() == screen;
    }
    void belongsToEarlierRun(std::shared_ptr<State> state) {
      state_ = std::move(state);
      earlier_ = true;
    }

    void StartViewControlllerViewPressedStart(StartViewController& vc) override {
      relay("Start", true, start, [&](auto& to) { to.StartViewControlllerViewPressedStart(vc); });
    }
    void StartViewControlllerViewPressedCancel(StartViewController& vc) override {
      relay("Cancel", true, start, [&](auto& to) { to.StartViewControlllerViewPressedCancel(vc); });
    }
    void IMEIViewControllerIMEIInputSuccessful(
        IMEIViewController& vc, std::optional<std::string> imei, std::optional<std::string> imeiUrl,
        std::optional<std::string> serialNumber,
        std::optional<std::string> serialNumberUrl) override {
      relay("an identifier", true, identifier, [&](auto& to) {
        to.IMEIViewControllerIMEIInputSuccessful(vc, imei, imeiUrl, serialNumber, serialNumberUrl);
      });
    }
    void IMEIViewControllerErrorOccurred(IMEIViewController& vc) override {
      relay("an error", true, identifier,
            [&](auto& to) { to.IMEIViewControllerErrorOccurred(vc); });
    }
    void IMEIViewControllerPressedCancel(IMEIViewController& vc) override {
      relay("Cancel", true, identifier, [&](auto& to) { to.IMEIViewControllerPressedCancel(vc); });
    }
    void TestsFinishedViewControllerTestAgainPressed(TestsFinishedViewController& vc) override {
      relay("Test again", true, end,
            [&](auto& to) { to.TestsFinishedViewControllerTestAgainPressed(vc); });
    }
    void TestsFinishedViewControllerDidFinish(TestsFinishedViewController& vc) override {
      relay("Finish", false, end, [&](auto& to) { to.TestsFinishedViewControllerDidFinish(vc); });
    }
    void testScreenFinished(TestViewController& screen, const Dictionary& result) override {
      relay("its result", true, test, [&](auto& to) { to.testScreenFinished(screen, result); });
    }
    void testScreenCancelled(TestViewController& screen) override {
      relay("Cancel", true, test, [&](auto& to) { to.testScreenCancelled(screen); });
    }

   private:
    // Notes what breaks the rules.
    void report(const std::string& what, bool result) {
      ++state_->counts[what];
      std::string line = name_ + " reported " + what;
      if (earlier_) {
        state_->broken.push_back(line + " into a later run");
      } else if (state_->ended) {
        state_->broken.push_back(line + " after the run had answered the host");
      } else if (!lastResult_.empty()) {
        state_->broken.push_back(line + " after it had reported " + lastResult_);
      }
      if (result) lastResult_ = what;
    }
    // Notes the report, then passes the call on all the same, as the screen made it.
    template <class Target, class Call>
    void relay(const std::string& what, bool result, const std::weak_ptr<Target>& weak, Call call) {
      report(what, result);
      if (auto to = weak.lock()) call(*to);
    }

    std::shared_ptr<State> state_;
    std::weak_ptr<ViewController> screen_;
    std::string name_;
    std::string lastResult_;
    bool earlier_ = false;
  };

  // Puts relay in place of screen's delegate when screen is a Screen; false when it is not.
  template <class Screen, class Target>
  static bool interpose(const std::shared_ptr<ViewController>& screen,
                        const std::shared_ptr<Relay>& relay, std::weak_ptr<Target>& slot) {
    auto typed = std::dynamic_pointer_cast<Screen>(screen);
    if (!typed) return false;
    auto original = typed->delegate.lock();
    if constexpr (std::is_same_v<Target, TestScreensDelegate>) {
      slot = std::dynamic_pointer_cast<TestScreensDelegate>(original);
    } else {
      slot = original;
    }
    typed->delegate = relay;
    return true;
  }

  std::shared_ptr<State> state_ = std::make_shared<State>();
  std::vector<std::shared_ptr<Relay>> relays_;
};

}  // namespace quorvel::testing
