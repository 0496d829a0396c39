#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "quorvel/ui/ViewController.h"
#include "widgets/ScreenContext.h"

namespace quorvel {

class TestScreensDelegate;

// Test screens by key. The factory creates the screen with what it reads of the run and whoever it
// reports to (the run controller, or a host showing the screen alone) as its delegate.
class ScreenTable {
 public:
  using Factory = std::function<std::shared_ptr<ViewController>(
      ScreenContext context, const std::shared_ptr<TestScreensDelegate>& delegate)>;

  // Binds every test screen of this build.
  ScreenTable();

  // The keys a run can show, in the order they are compared.
  static const std::vector<std::string>& keys();

  // Binds key (one of keys(); anything else is a programming error) to factory.
  void bind(const std::string& key, Factory factory);
  void unbind(const std::string& key);

  // The screen for key, or null when key names no screen of this build.
  std::shared_ptr<ViewController> makeScreen(
      const std::string& key, ScreenContext context,
      const std::shared_ptr<TestScreensDelegate>& delegate) const;

 private:
  std::map<std::string, Factory> factories_;
};

}  // namespace quorvel
