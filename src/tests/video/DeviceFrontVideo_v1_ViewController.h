#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tests/video/DeviceFrontVideoViewController.h"
#include "tests/video/DeviceFrontVideo_v1_ViewControllerDelegate.h"

namespace quorvel {

// The screen video test started and ended by codes: the camera reads the start code back from the
// mirror to start filming, and the end code to stop.
class DeviceFrontVideo_v1_ViewController : public DeviceFrontVideoViewController {
 public:
  explicit DeviceFrontVideo_v1_ViewController(ScreenContext context);

  std::weak_ptr<DeviceFrontVideo_v1_ViewControllerDelegate> delegate;

  void viewDidLoad() override;

 private:
  void showInstructions();
  void startScanning();
  void codesRead(const std::vector<std::string>& codes);
  void startCodeRead();
  void endCodeRead();
  std::string infoText() const override;
  void report(const Dictionary& result) override;
  void reportCancelled() override;

  std::weak_ptr<CameraSession> scanning_;
};

}  // namespace quorvel
