#pragma once

// Every test screen: its class, its key (in the order a run's keys are compared) and whether a host
// may ask for it in testsToPerform (inRuns) or it is shown alone. The screen table, its keys, the
// tests a run offers and the run's answers to each screen's delegate protocol all follow from this
// list. Adding a screen is its class and delegate protocol, its QML, its copy in both tables, and
// its include and one line here (the README's checklist).

#include "quorvel/ScreenType.h"
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
enum class TestScreenUse { alone, inRuns };
}  // namespace quorvel

#define QUORVEL_TEST_SCREENS(SCREEN)                                                    \
  SCREEN(Charging_v1_ViewController, ScreenType::charging_v1, alone)                    \
  SCREEN(MultiTouch_v1_ViewController, ScreenType::multi_touch_v1, alone)               \
  SCREEN(Buttons_v1_ViewController, ScreenType::buttons_v1, alone)                      \
  SCREEN(SpeakerRecording_v1_ViewController, ScreenType::speaker_recording_v1, alone)   \
  SCREEN(Earspeaker_v1_ViewController, ScreenType::earspeaker_v1, alone)                \
  SCREEN(Loudspeaker_v1_ViewController, ScreenType::loudspeaker_v1, alone)              \
  SCREEN(DeviceFrontVideo_v1_ViewController, ScreenType::device_front_video_v1, alone)  \
  SCREEN(ReadText_v1_ViewController, ScreenType::read_text_v1, alone)                   \
  SCREEN(DeviceFrontVideo_v2_ViewController, ScreenType::device_front_video_v2, inRuns) \
  SCREEN(MultipleTests_v2_ViewController, ScreenType::multiple_tests_v2, alone)         \
  SCREEN(MultiTouch_v2_ViewController, ScreenType::multi_touch_v2, inRuns)
