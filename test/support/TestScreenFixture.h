#pragma once

#include <functional>
#include <memory>
#include <string>

#include "support/RecordingTestDelegate.h"
#include "support/SdkFixture.h"
#include "widgets/ScreenContext.h"

namespace quorvel::testing {

// One test screen shown on the host's navigation stack, as the only screen of the run, reporting
// to a recording delegate.
class TestScreenFixture : public SdkFixture {
 protected:
  void SetUp() override {
    SdkFixture::SetUp();
    hostWithNavigation();
    context = ScreenContext{};
    delegate = std::make_shared<RecordingTestDelegate>();
  }

  // configure runs before the screen loads.
  template <class Screen>
  std::shared_ptr<Screen> show(const std::function<void(Screen&)>& configure = nullptr) {
    // The only screen of its run, with the ports installed now.
    context.header = {0, 1};
    context.ports = platform();
    auto screen = std::make_shared<Screen>(context);
    screen->delegate = delegate;
    if (configure) configure(*screen);
    hostNavigation->pushViewController(screen, false);
    settle();
    return screen;
  }

  // Pushes a host screen over the test screen, so that it disappears.
  void cover() {
    hostNavigation->pushViewController(std::make_shared<ViewController>("Over"), false);
  }

  const RecordingTestDelegate::Report& onlyReport() const {
    EXPECT_EQ(delegate->reports.size(), 1u);
    static const RecordingTestDelegate::Report none;
    return delegate->reports.empty() ? none : delegate->reports.back();
  }

  // What the screen reads of its run; set before show().
  ScreenContext context;
  std::shared_ptr<RecordingTestDelegate> delegate = std::make_shared<RecordingTestDelegate>();
};

}  // namespace quorvel::testing
