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

#define QUORVEL_RECORD_REPORTS(Screen)                                \
  void Screen##Finished(Screen&, const Dictionary& result) override { \
    reports.push_back({false, result});                               \
  }                                                                   \
  void Screen##Cancelled(Screen&) override { reports.push_back({true, nullptr}); }
  QUORVEL_RECORD_REPORTS(Buttons_v1_ViewController)
  QUORVEL_RECORD_REPORTS(Charging_v1_ViewController)
  QUORVEL_RECORD_REPORTS(MultiTouch_v1_ViewController)
  QUORVEL_RECORD_REPORTS(MultiTouch_v2_ViewController)
  QUORVEL_RECORD_REPORTS(MultipleTests_v2_ViewController)
  QUORVEL_RECORD_REPORTS(DeviceFrontVideo_v1_ViewController)
  QUORVEL_RECORD_REPORTS(DeviceFrontVideo_v2_ViewController)
#undef QUORVEL_RECORD_REPORTS
};

}  // namespace quorvel::testing
