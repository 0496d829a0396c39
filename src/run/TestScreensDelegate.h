#pragma once

#include "quorvel/Dictionary.h"
#include "run/TestScreens.h"

namespace quorvel {

class TestViewController;

// The first base, so that the list adds each screen's protocol after a comma.
struct ReportsOfTestScreens {
  virtual ~ReportsOfTestScreens() = default;
};

#define QUORVEL_TEST_SCREEN_PROTOCOL(Screen, key, use) , public Screen##Delegate

// Whoever the test screens report to: the run, or a host that shows one screen alone. Each
// screen's own protocol is answered here by the two calls below.
class TestScreensDelegate : public ReportsOfTestScreens QUORVEL_TEST_SCREENS(
                                QUORVEL_TEST_SCREEN_PROTOCOL) {
 public:
  // A screen finished with its result, or the person cancelled on it.
  virtual void testScreenFinished(TestViewController& screen, const Dictionary& result) = 0;
  virtual void testScreenCancelled(TestViewController& screen) = 0;

#define QUORVEL_TEST_SCREEN_CALLS(Screen, key, use)                            \
  void Screen##Finished(Screen& vc, const Dictionary& result) override final { \
    testScreenFinished(vc, result);                                            \
  }                                                                            \
  void Screen##Cancelled(Screen& vc) override final { testScreenCancelled(vc); }
  QUORVEL_TEST_SCREENS(QUORVEL_TEST_SCREEN_CALLS)
#undef QUORVEL_TEST_SCREEN_CALLS
};

#undef QUORVEL_TEST_SCREEN_PROTOCOL

}  // namespace quorvel
