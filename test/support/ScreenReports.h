#pragma once

#include <memory>
#include <string>
#include <vector>

#include "quorvel/ui/ViewController.h"

namespace quorvel::testing {

// Counts what screens tell whoever they report to, from outside: a relay takes the place of the
// screen's delegate and passes every call on. A screen's result is what it reports to end its
// part of a run (the start screen's Start or Cancel, the identifier's value, error or Cancel, a
// test's result or Cancel, the end screen's Test again); the end screen's Finish is a press that
// may come again after a failed upload, so it is only counted as a report.
class ScreenReports {
 public:
  ScreenReports();
  ~ScreenReports();

  // Relays screen's reports; a screen already relayed, or of no kind that reports, is left alone.
  void watch(const std::shared_ptr<ViewController>& screen);
  // A new run begins: the screens of earlier runs that still exist must stay silent from now on.
  void newRun();
  // The run has given its answer to the host: no screen of it may report any more.
  void runEnded();
  // What broke those rules since newRun().
  std::vector<std::string> broken() const;
  // How often this run's screens reported what ("Finish", "Cancel" ...).
  int count(const std::string& what) const;

 private:
  class Relay;
  struct State;
  template <class Screen, class Target>
  static bool interpose(const std::shared_ptr<ViewController>& screen,
                        const std::shared_ptr<Relay>& relay, std::weak_ptr<Target>& slot);

  std::shared_ptr<State> state_;
  std::vector<std::shared_ptr<Relay>> relays_;
};

}  // namespace quorvel::testing
