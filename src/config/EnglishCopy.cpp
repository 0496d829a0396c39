#include "config/EnglishCopy.h"

#include <iterator>
#include <string_view>
#include <utility>

namespace quorvel {

namespace {

constexpr std::pair<std::string_view, std::string_view> kEntries[] = {
    {"back", "Back"},
    {"cancel", "Cancel"},
    {"version", "Version"},
    {"confirm", "Confirm"},
    {"next", "Next"},
    {"ok", "OK"},
    {"done", "Done"},
    {"attach_image", "Attach image"},
    {"or", "Or"},
    {"try_again", "Try again"},
    {"try_later", "Try later"},
    {"retry", "Retry"},
    {"test_later", "Test later"},
    {"test_again", "Test again"},
    {"record_again", "Record again"},
    {"server_error", "A server error occurred."},
    {"change_word", "Change word"},
    {"test_number_of_total", "Test %1$@/%2$@"},
    {"could_not_complete_test", "I couldn't complete this test"},
    {"alert_sound_tests_info_ios",
     "If you're not hearing any sound make sure your volume is on and that the Ring/Silent Switch "
     "is not in silent mode."},
    {"alert_sound_tests_info_android",
     "If you're not hearing any sound make sure your device's Media volume is not in silent mode."},
    {"alert_sound_level_ios",
     "Your current sound volume may be too low to perform the test. Make sure your volume is over "
     "50% and that the Ring/Silent Switch is not in silent mode."},
    {"alert_sound_level_android",
     "Your current sound volume may be too low to perform the test. Make sure your volume is over "
     "50% for the Media volume."},
    {"alert_words_dont_match",
     "The word you entered does not match the one in the audio. Please try again."},
    {"start_screen_title", "Device testing"},
    {"start_screen_description",
     "We will ask you for a series of quick tests to check the physical state and screen state of "
     "your device."},
    {"start_screen_suggestions_title", "What to expect when filling the tests:"},
    {"start_screen_suggestion_charging_cable", "- Have the device charging cable close to you"},
    {"start_screen_suggestion_mirror", "- Stay close to a mirror"},
    {"start_screen_suggestion_noise", "- Stay in an area with little noise"},
    {"start_screen_next_button", "Let's start"},
    {"multi_touch_title", "Multi touch"},
    {"multi_touch_description", "Tap anywhere with 3 fingers."},
    {"charging_test_title", "Power cable"},
    {"charging_test_description_unplugged", "Connect your device's charging cable."},
    {"charging_test_description_plugged",
     "Charging cable was detected. You may now disconnect from the charging cable if you wish and "
     "proceed with the tests."},
    {"earspeaker_test_title", "Sound system: Earspeaker"},
    {"earspeaker_test_description",
     "Press play, hold the device to your ear and type the word you hear."},
    {"earspeaker_test_placeholder", "Enter word..."},
    {"loudspeaker_test_title", "Sound system: Loudspeaker"},
    {"loudspeaker_test_description", "Press play and type the word you hear."},
    {"loudspeaker_test_placeholder", "Enter word..."},
    {"end_screen_title", "Device tests have been concluded!"},
    {"end_screen_done", "Finish"},
    {"error_uploading_results_to_server_message",
     "An error proccessing your request has occurred. Please tap 'Finish' to try again or select "
     "'Try later'."},
    {"speaker_record_title", "Sound system"},
    {"speaker_record_description", "Tap \"%1$@\" to hear the sound"},
    {"speaker_record_start_test", "Start test"},
    {"buttons_test_title", "Physical buttons"},
    {"buttons_test_volume_up", "Press volume up"},
    {"buttons_test_volume_down", "Press volume down"},
    {"buttons_test_take_screenshot", "Take a screenshot"},
    {"screen_test_title_initial", "Understand the physical state of your device"},
    {"screen_test_description_initial",
     "The next step will require you to be near a mirror to make a recording. Please ensure you're "
     "in a well-lit area."},
    {"screen_test_title_instructions", "You'll hear a sound in the beginning and end of the test."},
    {"screen_test_description_instructions_start_ios",
     "Place your device in front of a mirror to start the test. Make sure the entire device screen "
     "is visible and to keep your device facing the mirror until you hear the second sound."},
    {"screen_test_description_instructions_start_android",
     "Hold your device in front of a mirror as still as possible at an approximate distance of 15 "
     "cm to start the test. Make sure the entire device screen is visible and to keep your device "
     "facing the mirror until you hear the second sound."},
    {"screen_test_description_instructions_end",
     "Maintain your device in front of a mirror as still as possible to finish the test."},
    {"screen_test_title_video_review", "Please check your video before you submit"},
    {"screen_test_description_video_review",
     "Note: It's very important for the whole process that the entire device screen to be seen in "
     "the video"},
    {"screen_test_submit", "Submit"},
    {"screen_test_info_ios",
     "- Make sure you keep your device facing the mirror as still as possible. \n\n- If you're not "
     "hearing any sound make sure your volume is on and that the Ring/Silent Switch is not in "
     "silent mode."},
    {"screen_test_info_android",
     "- Make sure you keep your device facing the mirror as still as possible. \n\n- If you're not "
     "hearing any sound make sure your device's Media volume is not in silent mode."},
    {"screen_test_manual_start", "Test isn't starting? Press here to start."},
    {"screen_test_title_preview", "Turn your device to face the mirror"},
    {"screen_test_description_preview",
     "Make sure the entire device screen is visible, hold it still, and then press record."},
    {"screen_test_review_checkbox_text",
     "I confirm that the entire screen of my device is visible throughout the video"},
    {"read_word_test_title", "Sound system"},
    {"read_word_test_description",
     "Tap button to start recording and say the word you see below out loud."},
    {"imei_add_screen_title", "Device verification"},
    {"imei_add_screen_description",
     "Before you start you need to enter your serial number or IMEI number. You can find these in "
     "the original packaging or in your device %1$@ under %2$@."},
    {"imei_settings", "Settings"},
    {"imei_location_path_ios", "General / About"},
    {"imei_location_path_android", "General / About"},
    {"imei_add_screen_attach_text",
     "Attach a photo that displays the number from the original packaging or a screenshot of your "
     "device's settings screen."},
    {"imei_add_screen_placeholder", "Enter IMEI number"},
    {"add_screen_placeholder_serial_number", "Enter serial number"},
    {"imei_confirm_screen_title", "IMEI verification"},
    {"imei_confirm_screen_description",
     "Before you start please confirm that is your IMEI number. You can find the number in the "
     "original packaging or in your device %1$@."},
    {"imei_confirm_screen_not_imei_number", "This is not my IMEI number"},
    {"invalid_imei_number", "The value is not a valid IMEI number"},
    {"imei_number", "IMEI number"},
    {"serial_number", "Serial number"},
    {"serial_number_abbreviation", "S/N"},
    {"imei_confirm_screen_title_multiple", "IMEI verification"},
    {"imei_confirm_screen_description_multiple",
     "Before you start please confirm that these are your IMEI numbers. You can find the numbers "
     "in the original packaging or in your device %1$@"},
    {"imei_confirm_screen_not_imei_number_multiple", "These are not my IMEI numbers"},
    {"permission_text_call",
     "The test requires the serial number, IMEI and network information of your device. Allow "
     "access?"},
    {"permission_text_access_files",
     "The test requires access to photos, media, and files on your device. Allow access?"},
    {"permission_text_record_audio", "The test requires recording audio. Allow access?"},
    {"permission_text_take_picture",
     "The test requires taking pictures and record video. Allow access?"},
    {"permissions_button_cancel_test", "I don't want to do the test"},
    {"multiple_tests_v2_charging_title", "Power cable"},
    {"multiple_tests_v2_charging_description", "Connect the power cable"},
    {"multiple_tests_v2_volume_up_title", "Volume up"},
    {"multiple_tests_v2_volume_up_description", "Press volume up button on the side of the device"},
    {"multiple_tests_v2_volume_down_title", "Volume down"},
    {"multiple_tests_v2_volume_down_description",
     "Press volume down button on the side of the device"},
    {"multi_touch_v2_title", "Slide fingers"},
    {"multi_touch_v2_description", "Slide your two fingers over the lines"},
    // What assistive technology reads for controls drawn as pictures alone.
    {"accessibility_more_information", "More information"},
    {"accessibility_play_word", "Play the word"},
    {"accessibility_play_recording", "Play the recording"},
    {"accessibility_record", "Record"},
    {"accessibility_stop_recording", "Stop recording"},
    {"accessibility_start_recording", "Start recording"},
    {"accessibility_play_video", "Play the video"},
    {"accessibility_remove_image", "Remove image"},
    {"accessibility_test_passed", "Passed"},
    {"accessibility_test_failed", "Failed"},
    {"accessibility_close", "Close"},
};

// Every language table carries the same keys, including those of other platforms.
static_assert(std::size(kEntries) == 111);

}  // namespace

const CopyTable& EnglishCopy::table() {
  static const CopyTable table = [] {
    CopyTable built;
    built.reserve(std::size(kEntries));
    for (const auto& [key, text] : kEntries) built.emplace(key, text);
    return built;
  }();
  return table;
}

}  // namespace quorvel
