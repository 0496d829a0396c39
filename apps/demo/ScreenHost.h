#pragma once

#include <functional>
#include <string>
#include <vector>

#include "run/TestScreensDelegate.h"

namespace quorvel::demo {

// The host of one test screen shown alone: it hears the screen's report in place of a run.
class ScreenHost : public TestScreensDelegate {
 public:
  // reported runs once, with the screen's result, or null when the person cancelled.
  explicit ScreenHost(std::function<void(const Dictionary& result)> reported)
      : reported_(std::move(reported)) {}

  // Whether a result says the test passed: its "success", or for a result made of several
  // tests' results, every one of them.
  static bool succeeded(const Dictionary& result);

  std::vector<std::string> multipleTestsList() const override;

  void Buttons_v1_ViewControllerFinished(Buttons_v1_ViewController&,
                                         const Dictionary& results) override;
  void Buttons_v1_ViewControllerCancelled(Buttons_v1_ViewController&) override;
  void Charging_v1_ViewControllerFinished(Charging_v1_ViewController&,
                                          const Dictionary& result) override;
  void Charging_v1_ViewControllerCancelled(Charging_v1_ViewController&) override;
  void MultiTouch_v1_ViewControllerFinished(MultiTouch_v1_ViewController&,
                                            const Dictionary& result) override;
  void MultiTouch_v1_ViewControllerCancelled(MultiTouch_v1_ViewController&) override;
  void MultiTouch_v2_ViewControllerFinished(MultiTouch_v2_ViewController&,
                                            const Dictionary& result) override;
  void MultiTouch_v2_ViewControllerCancelled(MultiTouch_v2_ViewController&) override;
  void MultipleTests_v2_ViewControllerFinished(MultipleTests_v2_ViewController&,
                                               const Dictionary& result) override;
  void MultipleTests_v2_ViewControllerCancelled(MultipleTests_v2_ViewController&) override;
  void DeviceFrontVideo_v1_ViewControllerFinished(DeviceFrontVideo_v1_ViewController&,
                                                  const Dictionary& result) override;
  void DeviceFrontVideo_v1_ViewControllerCancelled(DeviceFrontVideo_v1_ViewController&) override;
  void DeviceFrontVideo_v2_ViewControllerFinished(DeviceFrontVideo_v2_ViewController&,
                                                  const Dictionary& result) override;
  void DeviceFrontVideo_v2_ViewControllerCancelled(DeviceFrontVideo_v2_ViewController&) override;

 private:
  void report(const Dictionary& result);

  std::function<void(const Dictionary&)> reported_;
};

}  // namespace quorvel::demo
