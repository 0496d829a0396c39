#include "run/TestScreensDelegate.h"

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

namespace quorvel {

#define QUORVEL_TEST_SCREEN_FORWARDING(Screen)                                       \
  void TestScreensDelegate::Screen##Finished(Screen& vc, const Dictionary& result) { \
    testScreenFinished(vc, result);                                                  \
  }                                                                                  \
  void TestScreensDelegate::Screen##Cancelled(Screen& vc) { testScreenCancelled(vc); }
QUORVEL_TEST_SCREENS(QUORVEL_TEST_SCREEN_FORWARDING)
#undef QUORVEL_TEST_SCREEN_FORWARDING

}  // namespace quorvel
