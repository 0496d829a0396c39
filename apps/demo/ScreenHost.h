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

  void testScreenFinished(TestViewController& screen, const Dictionary& result) override;
  void testScreenCancelled(TestViewController& screen) override;

 private:
  void report(const Dictionary& result);

  std::function<void(const Dictionary&)> reported_;
};

}  // namespace quorvel::demo
