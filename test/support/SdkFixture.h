#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>

#include "quorvel/QuorvelSDK.h"
#include "quorvel/ui/AlertController.h"
#include "quorvel/ui/NavigationController.h"
#include "quorvel/ui/Window.h"
#include "support/TemporaryTree.h"
#include "support/TestPlatform.h"
#include "widgets/ScreenContext.h"

namespace quorvel::testing {

// The SDK on a scripted platform, with a host window to take over. Runs are observed as a host
// sees them: the screens on its window, the completion's response, the log and the uploads.
class SdkFixture : public ::testing::Test {
 protected:
  using Completion = std::function<void(std::optional<Dictionary>)>;

  struct Outcome {
    int calls = 0;
    std::optional<Dictionary> response;
  };

  void SetUp() override;
  void TearDown() override;
  // Starts over within a test, as a fresh process.
  void restart() {
    TearDown();
    SetUp();
  }

  // The three ways a host's window can look when a run starts.
  void hostWithNavigation();    // key window whose root is a navigation stack of two screens
  void hostWithPlainScreen();   // key window whose root is a plain screen
  void hostWithoutKeyWindow();  // a window that is not key, with a plain root screen

  Completion completion();
  // A run on the host's window: its own navigation stack unless the test set up another.
  void start(std::optional<std::vector<std::string>> tests = std::nullopt,
             std::optional<std::string> imei = std::nullopt,
             std::optional<std::string> serial = std::nullopt,
             std::shared_ptr<Customization> customization = nullptr);

  // The navigation stack on the host's window (the run's, once it has taken over).
  std::shared_ptr<NavigationController> navigation() const;
  std::shared_ptr<ViewController> top() const;
  std::string topInterface() const;
  // Interface names of the screens on the stack, bottom first.
  std::vector<std::string> stack() const;
  // The alert presented on screen, or on the stack shown when no screen is named; null if none.
  std::shared_ptr<AlertController> alertOn(
      const std::shared_ptr<ViewController>& screen = nullptr) const;
  bool overlayShown() const { return window && !window->overlays().empty(); }
  // Sends action to the top screen and lets the main queue settle.
  void press(const std::string& action);
  void settle() { env.queue->runUntilIdle(); }
  // A screen's context outside a run: the installed ports and the defaults.
  static ScreenContext portsOnly() {
    ScreenContext context;
    context.ports = platform();
    return context;
  }
  // Runs the main queue until done() holds, while answers arrive from other threads; false
  // after ten seconds without it.
  bool waitUntil(const std::function<bool()>& done);

  QuorvelSDK& sdk = QuorvelSDK::shared();
  TestPlatform env;
  std::shared_ptr<Window> window;
  std::shared_ptr<NavigationController> hostNavigation;
  std::shared_ptr<ViewController> hostRoot;
  std::shared_ptr<Outcome> outcome = std::make_shared<Outcome>();
  // The host's documents folder, fresh for every test.
  std::unique_ptr<TemporaryTree> documents;
};

inline constexpr const char* kValidIMEI = "490154203237518";

}  // namespace quorvel::testing
