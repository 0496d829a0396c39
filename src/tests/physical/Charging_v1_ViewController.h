#pragma once

#include <memory>
#include <optional>
#include <string>

#include "tests/TestViewController.h"
#include "tests/physical/Charging_v1_ViewControllerDelegate.h"

namespace quorvel {

// Asks for the charging cable and detects it from the battery state, at load or from a battery
// notification. Once detected it stays detected, whatever the cable does afterwards.
class Charging_v1_ViewController : public TestViewController {
 public:
  explicit Charging_v1_ViewController(ScreenContext context);
  ~Charging_v1_ViewController() override;

  std::weak_ptr<Charging_v1_ViewControllerDelegate> delegate;

  void viewDidLoad() override;

 private:
  void showDetectionState(bool detected);
  void startMonitoring();
  void batteryStateDidChange();
  void chargingDetected();
  void next();
  void couldNotCompleteTest() override;
  void cancelTest() override;
  // One builder for both outcomes; absent inputs leave their keys out.
  static Dictionary result(bool success, std::optional<std::string> batteryState,
                           std::optional<float> batteryLevel);

  bool hasChargingBeenDetected_ = false;

  Outlet<Label> lbTitle_{*this, "uiLbTitle"};
  Outlet<Label> lbDescription_{*this, "uiLbDescription"};
  Outlet<ImageView> image_{*this, "uiImage"};
  Outlet<Button> btNext_{*this, "uiBtNext"};
};

}  // namespace quorvel
