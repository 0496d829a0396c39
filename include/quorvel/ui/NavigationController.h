#pragma once

#include <memory>
#include <vector>

#include "quorvel/Export.h"
#include "quorvel/ui/ViewController.h"

namespace quorvel {

// A stack of screens with a navigation bar that can be hidden. It calls the lifecycle of the
// screens it shows and hides; the front end animates what lastTransition() describes.
class QUORVEL_EXPORT NavigationController : public ViewController {
 public:
  enum class TransitionKind { none, push, pop, replace };
  struct Transition {
    TransitionKind kind = TransitionKind::none;
    bool animated = false;
  };

  NavigationController();

  // A navigation controller whose stack holds root (if any).
  static std::shared_ptr<NavigationController> make(std::shared_ptr<ViewController> root = nullptr);

  const std::vector<std::shared_ptr<ViewController>>& viewControllers() const { return stack_; }
  std::shared_ptr<ViewController> topViewController() const;
  bool contains(const ViewController& controller) const;

  void setViewControllers(std::vector<std::shared_ptr<ViewController>> controllers, bool animated);
  void pushViewController(std::shared_ptr<ViewController> controller, bool animated);
  std::shared_ptr<ViewController> popViewController(bool animated);
  // Pops everything above controller; nothing happens when it is not on the stack.
  std::vector<std::shared_ptr<ViewController>> popToViewController(const ViewController& controller,
                                                                   bool animated);
  std::vector<std::shared_ptr<ViewController>> popToRootViewController(bool animated);

  bool isNavigationBarHidden() const { return navigationBarHidden_; }
  void setNavigationBarHidden(bool hidden, bool animated);

  Transition lastTransition() const { return lastTransition_; }

  Dictionary snapshot() const override;

 private:
  // Moves the stack to controllers, telling the old and new top screens.
  void changeStack(std::vector<std::shared_ptr<ViewController>> controllers, TransitionKind kind,
                   bool animated);

  std::vector<std::shared_ptr<ViewController>> stack_;
  bool navigationBarHidden_ = false;
  Transition lastTransition_;
};

}  // namespace quorvel
