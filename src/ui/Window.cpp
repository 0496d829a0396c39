#include "ui/Window.h"

#include <algorithm>
#include <cstdio>

#include "ui/LoadingView.h"

namespace quorvel {

void Window::setRootViewController(std::shared_ptr<ViewController> root) {
  root_ = std::move(root);
  if (root_) root_->loadViewIfNeeded();
  setNeedsUpdate();
}

std::string Window::description() const {
  char address[32];
  std::snprintf(address, sizeof address, "%p", static_cast<const void*>(this));
  std::string text = std::string("<Window: ") + address;
  if (root_) text += "; rootViewController = " + root_->description();
  return text + ">";
}

void Window::addOverlay(std::shared_ptr<LoadingView> overlay) {
  removeOverlay(*overlay);
  overlays_.push_back(std::move(overlay));
  setNeedsUpdate();
}

void Window::removeOverlay(const LoadingView& overlay) {
  auto removed =
      std::erase_if(overlays_, [&](const auto& element) { return element.get() == &overlay; });
  if (removed) setNeedsUpdate();
}

}  // namespace quorvel
