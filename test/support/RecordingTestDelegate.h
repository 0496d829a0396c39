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

  void testScreenFinished(TestViewController&, const Dictionary& result) override {
    reports.push_back({false, result});
  }
  void testScreenCancelled(TestViewController&) override { reports.push_back({true, nullptr}); }
};

}  // namespace quorvel::testing
