#pragma once

#include <string>

#include "quorvel/Export.h"

namespace quorvel {

// The identifiers of the SDK's tests and screens. Hosts name tests with them in testsToPerform and
// screens with them in CustomizableScreen::screenType.
struct QUORVEL_EXPORT ScreenType {
  inline static const std::string test = "test";
  inline static const std::string start_screen = "start_screen";
  inline static const std::string imei_screen = "imei_screen";
  inline static const std::string end_screen = "end_screen";
  inline static const std::string device_info_v1 = "device_info_v1";
  inline static const std::string earspeaker_v1 = "earspeaker_v1";
  inline static const std::string loudspeaker_v1 = "loudspeaker_v1";
  inline static const std::string multi_touch_v1 = "multi_touch_v1";
  inline static const std::string buttons_v1 = "buttons_v1";
  inline static const std::string read_text_v1 = "read_text_v1";
  inline static const std::string device_front_video_v1 = "device_front_video_v1";
  inline static const std::string speaker_recording_v1 = "speaker_recording_v1";
  inline static const std::string charging_v1 = "charging_v1";
  inline static const std::string device_front_video_v2 = "device_front_video_v2";
  inline static const std::string multi_touch_v2 = "multi_touch_v2";
  inline static const std::string buttons_v2 = "buttons_v2";
  inline static const std::string charging_v2 = "charging_v2";
  inline static const std::string buttons_v2_volume_up = "buttons_v2_volume_up";
  inline static const std::string buttons_v2_volume_down = "buttons_v2_volume_down";
  inline static const std::string multiple_tests_v2 = "multiple_tests_v2";
};

}  // namespace quorvel
