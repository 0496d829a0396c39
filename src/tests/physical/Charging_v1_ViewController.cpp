#include "tests/physical/Charging_v1_ViewController.h"

#include "quorvel/ScreenType.h"
#include "quorvel/platform/Platform.h"
#include "support/JsonText.h"

namespace quorvel {

namespace {

constexpr const char* kBatteryObservation = "battery";

}  // namespace

Charging_v1_ViewController::Charging_v1_ViewController(ScreenContext context)
    : TestViewController("Charging_v1_ViewController", ScreenType::charging_v1,
                         "uiViewProgressBarBackground", std::move(context)) {
  registerAction("uiBtNext_TouchUpInside", [this] { next(); });
}

Charging_v1_ViewController::~Charging_v1_ViewController() {
  ports().device->setBatteryMonitoringEnabled(false);
}

void Charging_v1_ViewController::viewDidLoad() {
  TestViewController::viewDidLoad();
  hasChargingBeenDetected_ = false;
  view()->backgroundColor = look().backgroundColor();
  auto& title = *lbTitle_;
  title.text = look().copy("charging_test_title");
  look().styleTitle(title);
  look().styleBody(*lbDescription_);
  auto& nextButton = *btNext_;
  nextButton.title = look().copy("next");
  look().styleMainButton(nextButton);
  nextButton.hidden = true;
  startMonitoring();
}

void Charging_v1_ViewController::showDetectionState(bool detected) {
  image_->image = Image::asset(detected ? "power_cable_plugged" : "power_cable_unplugged");
  lbDescription_->text = look().copy(detected ? "charging_test_description_plugged"
                                              : "charging_test_description_unplugged");
  btNext_->hidden = !hasChargingBeenDetected_;
}

void Charging_v1_ViewController::startMonitoring() {
  auto& device = *ports().device;
  device.setBatteryMonitoringEnabled(true);
  if (isCharging(device.batteryState())) {
    chargingDetected();
    return;
  }
  showDetectionState(hasChargingBeenDetected_);
  keepObserving(kBatteryObservation,
                device.observeBattery(whileAlive<BatteryChange>([this](BatteryChange change) {
                  if (change == BatteryChange::state) batteryStateDidChange();
                })));
}

void Charging_v1_ViewController::batteryStateDidChange() {
  if (isCharging(ports().device->batteryState())) {
    chargingDetected();
  } else {
    showDetectionState(hasChargingBeenDetected_);
  }
}

void Charging_v1_ViewController::chargingDetected() {
  hasChargingBeenDetected_ = true;
  showDetectionState(true);
  // The observer stays; with monitoring off no more notifications come.
  ports().device->setBatteryMonitoringEnabled(false);
}

void Charging_v1_ViewController::next() {
  auto target = delegate.lock();
  if (!target) return;
  // Monitoring went off at detection, so this reads what the device reports without it.
  target->Charging_v1_ViewControllerFinished(
      *this, result(true, "charging", ports().device->batteryLevel()));
}

void Charging_v1_ViewController::couldNotCompleteTest() {
  if (auto target = delegate.lock()) {
    target->Charging_v1_ViewControllerFinished(*this, result(false, std::nullopt, std::nullopt));
  }
}

void Charging_v1_ViewController::cancelTest() {
  if (auto target = delegate.lock()) target->Charging_v1_ViewControllerCancelled(*this);
}

Dictionary Charging_v1_ViewController::result(bool success, std::optional<std::string> batteryState,
                                              std::optional<float> batteryLevel) {
  Dictionary values = {{"success", success}, {"version", "1"}};
  if (batteryState) values["battery_state"] = *batteryState;
  if (batteryLevel) values["battery_level"] = floatValue(*batteryLevel);
  return stamped(std::move(values));
}

}  // namespace quorvel
