#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "quorvel/Dictionary.h"
#include "quorvel/platform/Device.h"
#include "quorvel/platform/Subscription.h"
#include "quorvel/ui/ViewController.h"
#include "widgets/ScreenAppearance.h"

namespace quorvel {

// What every test screen shares: a header with the run's counter and progress bar, shown only
// while the navigation bar is hidden; the could-not-complete and cancel buttons in their colours;
// portrait on every appearance; and observations that end when the screen disappears or is
// cancelled.
class TestViewController : public ViewController {
 public:
  // testKey names the screen's host overrides; headerView is the outlet that holds the header;
  // context is what the screen reads of its run.
  TestViewController(std::string interfaceName, std::string testKey, std::string headerView,
                     ScreenContext context);

  const std::string& testKey() const { return testKey_; }

  void viewDidLoad() override;
  void viewWillAppear(bool animated) override;
  void viewWillDisappear(bool animated) override;

 protected:
  virtual void couldNotCompleteTest() = 0;
  // Cancel was pressed; the observations have already ended.
  virtual void cancelTest() = 0;

  const ScreenAppearance& look() const { return look_; }
  // The ports handed over with the screen's context.
  const Platform& ports() const { return look_.context().ports; }

  // Tests whose own steps take the screen hide or hold this button.
  Outlet<Button> btCouldntCompleteTest_{*this, "uiBtCouldntCompleteTest"};

  // An alert with message and one "ok" button that only closes it.
  void alert(const std::string& title, const std::string& message);
  // Sound tests need the output at half its level or more; below, an alert says so. Advisory:
  // the test goes on. True when it was low.
  bool warnIfVolumeLow(float volume);

  // Keeps subscription under group until stopObserving(group), stopObserving(), disappearance
  // or cancel.
  void keepObserving(const std::string& group, Subscription subscription);
  void stopObserving(const std::string& group);
  void stopObserving();

  // handler as an observer that runs only while this screen exists, and keeps it alive meanwhile
  // (a handler may end the screen's run).
  template <class... Args, class Handler>
  std::function<void(Args...)> whileAlive(Handler handler) {
    std::weak_ptr<ViewController> weak = weak_from_this();
    return [weak, handler](Args... args) {
      if (auto self = weak.lock()) handler(args...);
    };
  }

  // Sets the shared session to play and record (on the loudspeaker with defaultToSpeaker, else
  // the earpiece) and activates it; false, logged, when it cannot.
  bool preparePlayAndRecord(bool defaultToSpeaker) const;
  // The host's documents folder's file of that name, where recordings are made; the folder is
  // made when missing.
  std::string documentsFile(const std::string& name) const;
  // values with "timestamp" set to now.
  static Dictionary stamped(Dictionary values);
  // Only a charging or full battery means the cable is in.
  static bool isCharging(BatteryState state) {
    return state == BatteryState::charging || state == BatteryState::full;
  }

 private:
  void showHeader();

  std::string testKey_;
  ScreenAppearance look_;
  std::map<std::string, std::vector<Subscription>> observations_;
  Outlet<View> header_;
  Outlet<Label> lbTestCounter_{*this, "uiLbTestCounter"};
  Outlet<ProgressBar> stackViewProgressBar_{*this, "uiStackViewProgressBar"};
  Outlet<Button> btCancel_{*this, "uiBtCancel"};
};

}  // namespace quorvel
