#include "quorvel/ui/ViewController.h"

#include "support/Logging.h"

namespace quorvel {

ViewController::ViewController(std::string interfaceName)
    : interfaceName_(std::move(interfaceName)) {}

ViewController::~ViewController() = default;

std::string ViewController::description() const {
  return "<" + interfaceName_ + ": " + addressText(this) + ">";
}

void ViewController::loadViewIfNeeded() {
  if (viewLoaded_) return;
  viewLoaded_ = true;
  viewDidLoad();
}

std::vector<std::string> ViewController::outletNames() const {
  std::vector<std::string> names;
  for (const auto& [name, element] : outlets_) names.push_back(name);
  return names;
}

void ViewController::registerAction(const std::string& name, std::function<void()> handler) {
  actions_[name] = std::move(handler);
}

bool ViewController::sendAction(const std::string& name) {
  auto it = actions_.find(name);
  if (it == actions_.end()) return false;
  // The handler may take this screen off the stack; keep it alive until the handler returns.
  auto self = weak_from_this().lock();
  auto handler = it->second;
  handler();
  return true;
}

std::vector<std::string> ViewController::actionNames() const {
  std::vector<std::string> names;
  for (const auto& [name, handler] : actions_) names.push_back(name);
  return names;
}

void ViewController::textFieldDidChange(const std::string& name, std::string text) {
  outlet<TextField>(name).text = std::move(text);
}

void ViewController::addGestureRecognizer(const std::string& outletName,
                                          std::shared_ptr<GestureRecognizer> recognizer) {
  if (!recognizer) QUORVEL_FATAL("adding no gesture recognizer to " + outletName);
  outlet<Element>(outletName).gestureRecognizers.push_back(std::move(recognizer));
}

void ViewController::removeGestureRecognizers(const std::string& outletName) {
  outlet<Element>(outletName).gestureRecognizers.clear();
}

void ViewController::handleTouches(const std::string& outletName, TouchPhase phase,
                                   const std::vector<Touch>& touches) {
  // A recogniser's action may remove recognisers or take this screen off the stack.
  auto self = weak_from_this().lock();
  auto recognizers = findOutlet<Element>(outletName).gestureRecognizers;
  for (const auto& recognizer : recognizers) recognizer->handle(phase, touches);
}

Dictionary ViewController::snapshot() const {
  Dictionary outlets = Dictionary::object();
  for (const auto& [name, element] : outlets_) outlets[name] = element->toJson();
  Dictionary json = {
      {"interface", interfaceName_}, {"outlets", outlets}, {"actions", actionNames()}};
  json["presented"] = presented_ ? presented_->snapshot() : Dictionary(nullptr);
  return json;
}

void ViewController::present(std::shared_ptr<ViewController> controller, bool /*animated*/) {
  if (presented_) {
    logLine("Attempt to present " + controller->description() + " on " + description() +
            " which is already presenting " + presented_->description());
    return;
  }
  controller->loadViewIfNeeded();
  controller->presenting_ = weak_from_this();
  presented_ = std::move(controller);
  setNeedsUpdate();
}

void ViewController::dismiss(bool animated) {
  if (presented_) {
    presented_->presenting_.reset();
    presented_.reset();
    setNeedsUpdate();
    return;
  }
  if (auto presenter = presenting_.lock()) presenter->dismiss(animated);
}

}  // namespace quorvel
