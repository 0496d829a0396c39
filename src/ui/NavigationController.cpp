#include "quorvel/ui/NavigationController.h"

#include <algorithm>

namespace quorvel {

NavigationController::NavigationController() : ViewController("NavigationController") {}

std::shared_ptr<NavigationController> NavigationController::make(
    std::shared_ptr<ViewController> root) {
  auto navigation = std::make_shared<NavigationController>();
  if (root) navigation->setViewControllers({std::move(root)}, false);
  return navigation;
}

std::shared_ptr<ViewController> NavigationController::topViewController() const {
  return stack_.empty() ? nullptr : stack_.back();
}

bool NavigationController::contains(const ViewController& controller) const {
  return std::any_of(stack_.begin(), stack_.end(),
                     [&](const auto& element) { return element.get() == &controller; });
}

void NavigationController::changeStack(std::vector<std::shared_ptr<ViewController>> controllers,
                                       TransitionKind kind, bool animated) {
  auto oldTop = topViewController();
  auto newTop = controllers.empty() ? nullptr : controllers.back();
  auto self = std::static_pointer_cast<NavigationController>(shared_from_this());

  for (const auto& old : stack_) {
    bool stays = std::find(controllers.begin(), controllers.end(), old) != controllers.end();
    if (!stays) old->navigationController_.reset();
  }
  for (const auto& controller : controllers) controller->navigationController_ = self;

  if (oldTop != newTop && oldTop) oldTop->viewWillDisappear(animated);
  stack_ = std::move(controllers);
  if (oldTop != newTop && newTop) {
    newTop->loadViewIfNeeded();
    newTop->viewWillAppear(animated);
  }
  lastTransition_ = {kind, animated};
  setNeedsUpdate();
}

void NavigationController::setViewControllers(
    std::vector<std::shared_ptr<ViewController>> controllers, bool animated) {
  changeStack(std::move(controllers), TransitionKind::replace, animated);
}

void NavigationController::pushViewController(std::shared_ptr<ViewController> controller,
                                              bool animated) {
  if (!controller || contains(*controller)) QUORVEL_FATAL("pushing a screen that is on the stack");
  auto controllers = stack_;
  controllers.push_back(std::move(controller));
  changeStack(std::move(controllers), TransitionKind::push, animated);
}

std::shared_ptr<ViewController> NavigationController::popViewController(bool animated) {
  if (stack_.size() < 2) return nullptr;
  auto popped = stack_.back();
  auto controllers = stack_;
  controllers.pop_back();
  changeStack(std::move(controllers), TransitionKind::pop, animated);
  return popped;
}

std::vector<std::shared_ptr<ViewController>> NavigationController::popToViewController(
    const ViewController& controller, bool animated) {
  auto it = std::find_if(stack_.begin(), stack_.end(),
                         [&](const auto& element) { return element.get() == &controller; });
  if (it == stack_.end()) return {};
  std::vector<std::shared_ptr<ViewController>> popped(it + 1, stack_.end());
  if (popped.empty()) return popped;
  std::vector<std::shared_ptr<ViewController>> controllers(stack_.begin(), it + 1);
  changeStack(std::move(controllers), TransitionKind::pop, animated);
  return popped;
}

std::vector<std::shared_ptr<ViewController>> NavigationController::popToRootViewController(
    bool animated) {
  if (stack_.empty()) return {};
  return popToViewController(*stack_.front(), animated);
}

void NavigationController::setNavigationBarHidden(bool hidden, bool /*animated*/) {
  navigationBarHidden_ = hidden;
  setNeedsUpdate();
}

Dictionary NavigationController::snapshot() const {
  Dictionary json = ViewController::snapshot();
  Dictionary stack = Dictionary::array();
  for (const auto& controller : stack_) stack.push_back(controller->interfaceName());
  json["stack"] = stack;
  json["navigationBarHidden"] = navigationBarHidden_;
  return json;
}

}  // namespace quorvel
