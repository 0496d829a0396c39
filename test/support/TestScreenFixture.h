#pragma once

#include <functional>
#include <memory>
#include <string>

#include "support/RecordingTestDelegate.h"
#include "support/SdkFixture.h"

namespace quorvel::testing {

// One test screen shown on the host's navigation stack, as the only screen of the run, reporting
// to a recording delegate.
class TestScreenFixture : public SdkFixture {
 protected:
  void SetUp() override {
    SdkFixture::SetUp();
    hostWithNavigation();
    sdk.customization = std::make_shared<Customization>();
    delegate = std::make_shared<RecordingTestDelegate>();
  }

  // configure runs before the screen loads.
  template <class Screen>
  std::shared_ptr<Screen> show(const std::string& key,
                               const std::function<void(Screen&)>& configure = nullptr) {
    sdk.selectedTests = {key};
    auto screen = std::make_shared<Screen>();
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

  std::shared_ptr<RecordingTestDelegate> delegate = std::make_shared<RecordingTestDelegate>();
};

}  // namespace quorvel::testing
