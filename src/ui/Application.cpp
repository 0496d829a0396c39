#include "quorvel/ui/Application.h"

#include <algorithm>

namespace quorvel {

std::shared_ptr<Window> Application::keyWindow() const {
  for (const auto& window : windows_) {
    if (window->isKeyWindow()) return window;
  }
  return nullptr;
}

void Application::addWindow(std::shared_ptr<Window> window) {
  if (std::find(windows_.begin(), windows_.end(), window) != windows_.end()) return;
  windows_.push_back(std::move(window));
  setNeedsUpdate();
}

void Application::removeWindow(const Window& window) {
  std::erase_if(windows_, [&](const auto& element) { return element.get() == &window; });
  setNeedsUpdate();
}

void Application::makeKeyWindow(const std::shared_ptr<Window>& window) {
  addWindow(window);
  for (const auto& each : windows_) {
    if (each->isKey_ != (each == window)) {
      each->isKey_ = each == window;
      each->setNeedsUpdate();
    }
  }
  setNeedsUpdate();
}

}  // namespace quorvel
