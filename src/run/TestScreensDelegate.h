#pragma once

#include <string>
#include <vector>

#include "quorvel/Dictionary.h"
#include "tests/audio/Earspeaker_v1_ViewControllerDelegate.h"
#include "tests/audio/Loudspeaker_v1_ViewControllerDelegate.h"
#include "tests/audio/ReadText_v1_ViewControllerDelegate.h"
#include "tests/audio/SpeakerRecording_v1_ViewControllerDelegate.h"
#include "tests/physical/Buttons_v1_ViewControllerDelegate.h"
#include "tests/physical/Charging_v1_ViewControllerDelegate.h"
#include "tests/physical/MultiTouch_v1_ViewControllerDelegate.h"
#include "tests/physical/MultiTouch_v2_ViewControllerDelegate.h"
#include "tests/physical/MultipleTests_v2_ViewControllerDelegate.h"
#include "tests/video/DeviceFrontVideo_v1_ViewControllerDelegate.h"
#include "tests/video/DeviceFrontVideo_v2_ViewControllerDelegate.h"

namespace quorvel {

class TestViewController;

// Every test screen, by its class name.
#define QUORVEL_TEST_SCREENS(SCREEN)         \
  SCREEN(Buttons_v1_ViewController)          \
  SCREEN(Charging_v1_ViewController)         \
  SCREEN(MultiTouch_v1_ViewController)       \
  SCREEN(MultiTouch_v2_ViewController)       \
  SCREEN(MultipleTests_v2_ViewController)    \
  SCREEN(DeviceFrontVideo_v1_ViewController) \
  SCREEN(DeviceFrontVideo_v2_ViewController) \
  SCREEN(Loudspeaker_v1_ViewController)      \
  SCREEN(Earspeaker_v1_ViewController)       \
  SCREEN(SpeakerRecording_v1_ViewController) \
  SCREEN(ReadText_v1_ViewController)

// Whoever the test screens report to: the run, or a host that shows one screen alone. Each
// screen's own protocol is answered here by the two calls below.
class TestScreensDelegate : public Buttons_v1_ViewControllerDelegate,
                            public Charging_v1_ViewControllerDelegate,
                            public MultiTouch_v1_ViewControllerDelegate,
                            public MultiTouch_v2_ViewControllerDelegate,
                            public MultipleTests_v2_ViewControllerDelegate,
                            public DeviceFrontVideo_v1_ViewControllerDelegate,
                            public DeviceFrontVideo_v2_ViewControllerDelegate,
                            public Loudspeaker_v1_ViewControllerDelegate,
                            public Earspeaker_v1_ViewControllerDelegate,
                            public SpeakerRecording_v1_ViewControllerDelegate,
                            public ReadText_v1_ViewControllerDelegate {
 public:
  // The tests the combined screen lists.
  virtual std::vector<std::string> multipleTestsList() const = 0;
  // A screen finished with its result, or the person cancelled on it.
  virtual void testScreenFinished(TestViewController& screen, const Dictionary& result) = 0;
  virtual void testScreenCancelled(TestViewController& screen) = 0;

#define QUORVEL_TEST_SCREEN_CALLS(Screen)                                     \
  void Screen##Finished(Screen& vc, const Dictionary& result) override final; \
  void Screen##Cancelled(Screen& vc) override final;
  QUORVEL_TEST_SCREENS(QUORVEL_TEST_SCREEN_CALLS)
#undef QUORVEL_TEST_SCREEN_CALLS
};

}  // namespace quorvel
