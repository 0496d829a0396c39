#include "run/ScreenTable.h"

#include <algorithm>

#include "quorvel/ScreenType.h"
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

namespace {

// A new Screen that reports to delegate.
template <class Screen>
std::shared_ptr<Screen> reportingTo(ScreenContext context,
                                    const std::shared_ptr<TestScreensDelegate>& delegate) {
  auto screen = std::make_shared<Screen>(std::move(context));
  screen->delegate = delegate;
  return screen;
}

}  // namespace

ScreenTable::ScreenTable() {
  bind(ScreenType::charging_v1, reportingTo<Charging_v1_ViewController>);
  bind(ScreenType::multi_touch_v1, reportingTo<MultiTouch_v1_ViewController>);
  bind(ScreenType::buttons_v1, reportingTo<Buttons_v1_ViewController>);
  bind(ScreenType::multiple_tests_v2,
       [](ScreenContext context, const std::shared_ptr<TestScreensDelegate>& delegate) {
         auto screen = reportingTo<MultipleTests_v2_ViewController>(std::move(context), delegate);
         screen->selectedTests = delegate->multipleTestsList();
         return screen;
       });
  bind(ScreenType::multi_touch_v2, reportingTo<MultiTouch_v2_ViewController>);
  bind(ScreenType::device_front_video_v1, reportingTo<DeviceFrontVideo_v1_ViewController>);
  bind(ScreenType::device_front_video_v2, reportingTo<DeviceFrontVideo_v2_ViewController>);
  bind(ScreenType::loudspeaker_v1, reportingTo<Loudspeaker_v1_ViewController>);
  bind(ScreenType::earspeaker_v1, reportingTo<Earspeaker_v1_ViewController>);
  bind(ScreenType::speaker_recording_v1, reportingTo<SpeakerRecording_v1_ViewController>);
  bind(ScreenType::read_text_v1, reportingTo<ReadText_v1_ViewController>);
}

const std::vector<std::string>& ScreenTable::keys() {
  static const std::vector<std::string> table = {
      ScreenType::charging_v1,
      ScreenType::multi_touch_v1,
      ScreenType::buttons_v1,
      ScreenType::speaker_recording_v1,
      ScreenType::earspeaker_v1,
      ScreenType::loudspeaker_v1,
      ScreenType::device_front_video_v1,
      ScreenType::read_text_v1,
      ScreenType::device_front_video_v2,
      ScreenType::multiple_tests_v2,
      ScreenType::multi_touch_v2,
  };
  return table;
}

void ScreenTable::bind(const std::string& key, Factory factory) {
  const auto& table = keys();
  if (std::find(table.begin(), table.end(), key) == table.end()) {
    QUORVEL_FATAL("no screen key " + key);
  }
  factories_[key] = std::move(factory);
}

void ScreenTable::unbind(const std::string& key) { factories_.erase(key); }

std::shared_ptr<ViewController> ScreenTable::makeScreen(
    const std::string& key, ScreenContext context,
    const std::shared_ptr<TestScreensDelegate>& delegate) const {
  // bind() admits only the table's keys, so any other key finds nothing here.
  auto it = factories_.find(key);
  return it == factories_.end() ? nullptr : it->second(std::move(context), delegate);
}

}  // namespace quorvel
