#include "run/ScreenTable.h"

#include <algorithm>

#include "quorvel/ScreenType.h"

namespace quorvel {

ScreenTable::ScreenTable() = default;

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

std::shared_ptr<ViewController> ScreenTable::makeScreen(const std::string& key,
                                                        QuorvelSDK& run) const {
  // bind() admits only the table's keys, so any other key finds nothing here.
  auto it = factories_.find(key);
  return it == factories_.end() ? nullptr : it->second(run);
}

}  // namespace quorvel
