#include "tests/physical/MultipleTests_v2_ViewController.h"

#include <algorithm>

#include "quorvel/ScreenType.h"
#include "quorvel/platform/Platform.h"
#include "support/JsonText.h"

namespace quorvel {

namespace {

constexpr const char* kBatteryObservation = "battery";
constexpr const char* kVolumeObservation = "volume";

bool holds(const std::vector<std::string>& list, const std::string& key) {
  return std::find(list.begin(), list.end(), key) != list.end();
}

// The entries of from under keys, those that from has.
Dictionary copied(const Dictionary& from, std::initializer_list<const char*> keys) {
  Dictionary to = Dictionary::object();
  for (const char* key : keys) {
    if (from.contains(key)) to[key] = from.at(key);
  }
  return to;
}

}  // namespace

MultipleTests_v2_ViewController::MultipleTests_v2_ViewController(ScreenContext context)
    : TestViewController("MultipleTests_v2_ViewController", ScreenType::multiple_tests_v2,
                         "uiHeaderView", context),
      selectedTests(std::move(context.multipleTestsList)) {
  registerAction("uiBtNext_TouchUpInside", [this] { next(); });
}

const std::vector<std::string>& MultipleTests_v2_ViewController::supportedTests() {
  static const std::vector<std::string> tests{ScreenType::buttons_v2, ScreenType::charging_v2};
  return tests;
}

TestViewState MultipleTests_v2_ViewController::state(const std::string& rowKey) const {
  auto it = testsResults_.find(rowKey);
  if (it == testsResults_.end()) QUORVEL_FATAL("no combined-tests row " + rowKey);
  return static_cast<TestViewState>(it->second.at("state").get<int>());
}

void MultipleTests_v2_ViewController::viewDidLoad() {
  TestViewController::viewDidLoad();
  mainBackgroundView_->backgroundColor = look().backgroundColor();
  auto& nextButton = *btNext_;
  nextButton.title = look().copy("next");
  look().styleMainButton(nextButton);
  nextButton.hidden = true;

  currentTestPos_ = -1;
  // Rows keep the display order, whatever the order of the selection; keys this screen does
  // not serve are left out.
  auto selected = [&](const std::string& key) {
    return holds(supportedTests(), key) && holds(selectedTests, key);
  };
  testsToPerform_.clear();
  if (selected(ScreenType::charging_v2)) testsToPerform_.push_back(ScreenType::charging_v2);
  if (selected(ScreenType::buttons_v2)) {
    testsToPerform_.push_back(ScreenType::buttons_v2_volume_up);
    testsToPerform_.push_back(ScreenType::buttons_v2_volume_down);
  }
  for (const auto& row : testsToPerform_) {
    testsResults_[row] = {{"state", static_cast<int>(TestViewState::unfocused)}};
  }
  tableView_->registeredCells = {MultipleTestsTableViewCell::reuseIdentifier};
  // Registers the battery observer ahead of time; nothing can pass before a row is focused.
  if (holds(testsToPerform_, ScreenType::charging_v2)) startChargingDetector();
  moveToNextTest();
}

const std::string* MultipleTests_v2_ViewController::focusedRow() const {
  if (currentTestPos_ < 0 || currentTestPos_ >= static_cast<int>(testsToPerform_.size())) {
    return nullptr;
  }
  return &testsToPerform_[static_cast<std::size_t>(currentTestPos_)];
}

void MultipleTests_v2_ViewController::moveToNextTest() {
  currentTestPos_ += 1;
  const std::string* row = focusedRow();
  if (!row) {
    btNext_->hidden = false;
    btCouldntCompleteTest_->hidden = true;
    reloadTable();
    return;
  }
  testsResults_[*row]["state"] = static_cast<int>(TestViewState::focused);
  reloadTable();
  startDetector(*row);
}

void MultipleTests_v2_ViewController::startDetector(const std::string& rowKey) {
  if (rowKey == ScreenType::charging_v2) {
    startChargingDetector();
  } else {
    startVolumeDetector();
  }
}

void MultipleTests_v2_ViewController::startChargingDetector() {
  auto& device = *ports().device;
  device.setBatteryMonitoringEnabled(true);
  keepObserving(kBatteryObservation,
                device.observeBattery(whileAlive<BatteryChange>([this](BatteryChange change) {
                  if (change == BatteryChange::state) checkCharging();
                })));
  checkCharging();
}

void MultipleTests_v2_ViewController::checkCharging() {
  auto& device = *ports().device;
  const std::string* row = focusedRow();
  if (!row || *row != ScreenType::charging_v2 || !isCharging(device.batteryState())) return;
  device.setBatteryMonitoringEnabled(false);
  // Read after monitoring went off, as the single charging screen does.
  finishRow(*row, true,
            {{"battery_state", "charging"}, {"battery_level", floatValue(device.batteryLevel())}});
}

void MultipleTests_v2_ViewController::startVolumeDetector() {
  auto& session = *ports().audioSession;
  session.setActive(true);
  currentVolume_ = session.outputVolume();
  keepObserving(kVolumeObservation, session.observeOutputVolume(whileAlive<float>(
                                        [this](float volume) { outputVolumeChanged(volume); })));
}

void MultipleTests_v2_ViewController::outputVolumeChanged(float volume) {
  const std::string* row = focusedRow();
  // The exact ends let a person whose volume sits at the top or bottom pass.
  bool passes =
      row &&
      ((*row == ScreenType::buttons_v2_volume_up && (volume == 1.0f || currentVolume_ < volume)) ||
       (*row == ScreenType::buttons_v2_volume_down && (volume == 0.0f || volume < currentVolume_)));
  if (passes) {
    finishRow(*row, true);
  } else {
    currentVolume_ = volume;
  }
}

void MultipleTests_v2_ViewController::finishRow(const std::string& rowKey, bool success,
                                                Dictionary extra) {
  Dictionary& result = testsResults_[rowKey];
  result.update(stamped(std::move(extra)));
  result["state"] = static_cast<int>(success ? TestViewState::success : TestViewState::failed);
  result["success"] = success;
  moveToNextTest();
}

void MultipleTests_v2_ViewController::reloadTable() {
  auto& table = *tableView_;
  table.rows.clear();
  for (const auto& row : testsToPerform_) {
    table.rows.push_back(
        MultipleTestsTableViewCell::make(look().context(), row, state(row)).toJson());
  }
  table.reloadCount += 1;
}

Dictionary MultipleTests_v2_ViewController::combinedResult() const {
  Dictionary result = Dictionary::object();
  if (auto it = testsResults_.find(ScreenType::charging_v2); it != testsResults_.end()) {
    Dictionary charging =
        copied(it->second, {"success", "timestamp", "battery_level", "battery_state"});
    charging["version"] = "1";
    result["charging"] = std::move(charging);
  }
  auto up = testsResults_.find(ScreenType::buttons_v2_volume_up);
  auto down = testsResults_.find(ScreenType::buttons_v2_volume_down);
  if (up != testsResults_.end() && down != testsResults_.end()) {
    result["buttons"] = stamped({{"version", "1"},
                                 {"volume_up", copied(up->second, {"success", "timestamp"})},
                                 {"volume_down", copied(down->second, {"success", "timestamp"})}});
  }
  return result;
}

void MultipleTests_v2_ViewController::next() {
  stopObserving(kBatteryObservation);
  if (auto target = delegate.lock()) {
    target->MultipleTests_v2_ViewControllerFinished(*this, combinedResult());
  }
}

void MultipleTests_v2_ViewController::couldNotCompleteTest() {
  // Once every row is done the button is hidden, and there is no row left to give up.
  if (const std::string* row = focusedRow()) finishRow(*row, false);
}

void MultipleTests_v2_ViewController::cancelTest() {
  ports().device->setBatteryMonitoringEnabled(false);
  if (auto target = delegate.lock()) target->MultipleTests_v2_ViewControllerCancelled(*this);
}

}  // namespace quorvel
