#pragma once

#include <string>

// Keys that a host uses in CustomizableScreen: Copy keys index copyStrings, Elements keys index
// images or name the colour properties. Each key equals its name, except the start screen's
// testsWarning_charging/_camera/_audio, whose values begin "testsHelper_" (hosts must use the
// values), and imei_screen::Copy::or_, which holds "or".
namespace quorvel::ScreenCustomizationKeys {

namespace start_screen {
inline const std::string start_screen = "start_screen";
namespace Copy {
inline const std::string title = "title";
inline const std::string text = "text";
inline const std::string testsWarning_title = "testsWarning_title";
// compat: the values begin "testsHelper_", the keys hosts already send.
inline const std::string testsWarning_charging = "testsHelper_charging";
inline const std::string testsWarning_camera = "testsHelper_camera";
inline const std::string testsWarning_audio = "testsHelper_audio";
}  // namespace Copy
namespace Elements {
inline const std::string image = "image";
inline const std::string backgroundColor = "backgroundColor";
inline const std::string textColor = "textColor";
inline const std::string textAccentColor = "textAccentColor";
}  // namespace Elements
}  // namespace start_screen

namespace end_screen {
inline const std::string end_screen = "end_screen";
namespace Copy {
inline const std::string text = "text";
inline const std::string buttonFinish = "buttonFinish";
inline const std::string buttonTestAgain = "buttonTestAgain";
}  // namespace Copy
namespace Elements {
inline const std::string image = "image";
inline const std::string backgroundColor = "backgroundColor";
inline const std::string textColor = "textColor";
inline const std::string textAccentColor = "textAccentColor";
}  // namespace Elements
}  // namespace end_screen

namespace imei_screen {
inline const std::string imei_screen = "imei_screen";
namespace Copy {
inline const std::string title = "title";
inline const std::string text = "text";
inline const std::string textfield_placeholder = "textfield_placeholder";
inline const std::string attach_text_label = "attach_text_label";
inline const std::string attach_button = "attach_button";
// compat: "or_" because "or" is a C++ keyword; the value is the key hosts send.
inline const std::string or_ = "or";
}  // namespace Copy
namespace Elements {
inline const std::string backgroundColor = "backgroundColor";
inline const std::string textColor = "textColor";
inline const std::string textAccentColor = "textAccentColor";
}  // namespace Elements
}  // namespace imei_screen

namespace multi_touch_v2 {
inline const std::string multi_touch_v2 = "multi_touch_v2";
namespace Copy {
inline const std::string title = "title";
inline const std::string text = "text";
}  // namespace Copy
namespace Elements {
inline const std::string imageOff = "imageOff";
inline const std::string imageOn = "imageOn";
inline const std::string backgroundColor = "backgroundColor";
inline const std::string textColor = "textColor";
inline const std::string textAccentColor = "textAccentColor";
}  // namespace Elements
}  // namespace multi_touch_v2

namespace charging_v2 {
inline const std::string charging_v2 = "charging_v2";
namespace Copy {
inline const std::string title = "title";
inline const std::string text = "text";
}  // namespace Copy
namespace Elements {
inline const std::string image = "image";
inline const std::string backgroundColor = "backgroundColor";
inline const std::string textColor = "textColor";
inline const std::string textAccentColor = "textAccentColor";
}  // namespace Elements
}  // namespace charging_v2

namespace buttons_v2 {
inline const std::string buttons_v2 = "buttons_v2";
namespace Copy {
inline const std::string title_volume_up = "title_volume_up";
inline const std::string description_volume_up = "description_volume_up";
inline const std::string title_volume_down = "title_volume_down";
inline const std::string description_volume_down = "description_volume_down";
}  // namespace Copy
namespace Elements {
inline const std::string image_volume_up = "image_volume_up";
inline const std::string image_volume_down = "image_volume_down";
inline const std::string backgroundColor = "backgroundColor";
inline const std::string textColor = "textColor";
inline const std::string textAccentColor = "textAccentColor";
}  // namespace Elements
}  // namespace buttons_v2

namespace device_front_video_v2 {
inline const std::string device_front_video_v2 = "device_front_video_v2";
namespace Copy {
inline const std::string initial_title = "initial_title";
inline const std::string initial_description = "initial_description";
inline const std::string initial_next_button = "initial_next_button";
inline const std::string info_button_copy = "info_button_copy";
inline const std::string preview_title = "preview_title";
inline const std::string preview_description = "preview_description";
inline const std::string video_review_title = "video_review_title";
inline const std::string video_review_description = "video_review_description";
inline const std::string video_review_try_again = "video_review_try_again";
inline const std::string video_review_checkbox_text = "video_review_checkbox_text";
inline const std::string video_review_next_button = "video_review_next_button";
}  // namespace Copy
namespace Elements {
inline const std::string image_initial_screen = "image_initial_screen";
}  // namespace Elements
}  // namespace device_front_video_v2

}  // namespace quorvel::ScreenCustomizationKeys
