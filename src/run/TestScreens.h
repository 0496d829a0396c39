#pragma once

// Every test screen a run can show: its class and its key, in the order a run's keys are compared.
// The screen table, its keys and the run's answers to each screen's delegate protocol all follow
// from this list. Adding a screen is its class and delegate protocol, its QML, its copy in both
// tables, and its include and one line here (the README's checklist).

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

#define QUORVEL_TEST_SCREENS(SCREEN)                                            \
  SCREEN(Charging_v1_ViewController, ScreenType::charging_v1)                   \
  SCREEN(MultiTouch_v1_ViewController, ScreenType::multi_touch_v1)              \
  SCREEN(Buttons_v1_ViewController, ScreenType::buttons_v1)                     \
  SCREEN(SpeakerRecording_v1_ViewController, ScreenType::speaker_recording_v1)  \
  SCREEN(Earspeaker_v1_ViewController, ScreenType::earspeaker_v1)               \
  SCREEN(Loudspeaker_v1_ViewController, ScreenType::loudspeaker_v1)             \
  SCREEN(DeviceFrontVideo_v1_ViewController, ScreenType::device_front_video_v1) \
  SCREEN(ReadText_v1_ViewController, ScreenType::read_text_v1)                  \
  SCREEN(DeviceFrontVideo_v2_ViewController, ScreenType::device_front_video_v2) \
  SCREEN(MultipleTests_v2_ViewController, ScreenType::multiple_tests_v2)        \
  SCREEN(MultiTouch_v2_ViewController, ScreenType::multi_touch_v2)
