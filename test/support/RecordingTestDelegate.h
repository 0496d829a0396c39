#pragma once

#include <string>
#include <vector>

#include "quorvel/Dictionary.h"
#include "run/TestScreensDelegate.h"

namespace quorvel::testing {

// Every test screen's delegate, writing down each report.
class RecordingTestDelegate : public TestScreensDelegate {
 public:
  struct Report {
    bool cancelled = false;
    Dictionary result;  // null for a cancel
  };
  std::vector<Report> reports;

  std::vector<std::string> multipleTestsList() const override {
    return {"buttons_v2", "charging_v2"};
  }

  void Buttons_v1_ViewControllerFinished(Buttons_v1_ViewController&,
                                         const Dictionary& results) override {
    reports.push_back({false, results});
  }
  void Buttons_v1_ViewControllerCancelled(Buttons_v1_ViewController&) override {
    reports.push_back({true, nullptr});
  }
  void Charging_v1_ViewControllerFinished(Charging_v1_ViewController&,
                                          const Dictionary& result) override {
    reports.push_back({false, result});
  }
  void Charging_v1_ViewControllerCancelled(Charging_v1_ViewController&) override {
    reports.push_back({true, nullptr});
  }
  void MultiTouch_v1_ViewControllerFinished(MultiTouch_v1_ViewController&,
                                            const Dictionary& result) override {
    reports.push_back({false, result});
  }
  void MultiTouch_v1_ViewControllerCancelled(MultiTouch_v1_ViewController&) override {
    reports.push_back({true, nullptr});
  }
  void MultiTouch_v2_ViewControllerFinished(MultiTouch_v2_ViewController&,
                                            const Dictionary& result) override {
    reports.push_back({false, result});
  }
  void MultiTouch_v2_ViewControllerCancelled(MultiTouch_v2_ViewController&) override {
    reports.push_back({true, nullptr});
  }
  void MultipleTests_v2_ViewControllerFinished(MultipleTests_v2_ViewController&,
                                               const Dictionary& result) override {
    reports.push_back({false, result});
  }
  void MultipleTests_v2_ViewControllerCancelled(MultipleTests_v2_ViewController&) override {
    reports.push_back({true, nullptr});
  }
  void DeviceFrontVideo_v1_ViewControllerFinished(DeviceFrontVideo_v1_ViewController&,
                                                  const Dictionary& result) override {
    reports.push_back({false, result});
  }
  void DeviceFrontVideo_v1_ViewControllerCancelled(DeviceFrontVideo_v1_ViewController&) override {
    reports.push_back({true, nullptr});
  }
  void DeviceFrontVideo_v2_ViewControllerFinished(DeviceFrontVideo_v2_ViewController&,
                                                  const Dictionary& result) override {
    reports.push_back({false, result});
  }
  void DeviceFrontVideo_v2_ViewControllerCancelled(DeviceFrontVideo_v2_ViewController&) override {
    reports.push_back({true, nullptr});
  }
};

}  // namespace quorvel::testing
