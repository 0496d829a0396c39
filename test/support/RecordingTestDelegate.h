#pragma once

#include <string>
#include <vector>

#include "quorvel/Dictionary.h"
#include "tests/physical/Buttons_v1_ViewControllerDelegate.h"
#include "tests/physical/Charging_v1_ViewControllerDelegate.h"
#include "tests/physical/MultiTouch_v1_ViewControllerDelegate.h"
#include "tests/physical/MultiTouch_v2_ViewControllerDelegate.h"
#include "tests/physical/MultipleTests_v2_ViewControllerDelegate.h"
#include "tests/video/DeviceFrontVideo_v1_ViewControllerDelegate.h"
#include "tests/video/DeviceFrontVideo_v2_ViewControllerDelegate.h"

namespace quorvel::testing {

// Every test screen's delegate, writing down each report.
class RecordingTestDelegate : public Buttons_v1_ViewControllerDelegate,
                              public Charging_v1_ViewControllerDelegate,
                              public MultiTouch_v1_ViewControllerDelegate,
                              public MultiTouch_v2_ViewControllerDelegate,
                              public MultipleTests_v2_ViewControllerDelegate,
                              public DeviceFrontVideo_v1_ViewControllerDelegate,
                              public DeviceFrontVideo_v2_ViewControllerDelegate {
 public:
  struct Report {
    bool cancelled = false;
    Dictionary result;  // null for a cancel
  };
  std::vector<Report> reports;

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
