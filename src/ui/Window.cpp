#include "quorvel/ui/Window.h"

#include <algorithm>

#include "quorvel/ui/LoadingView.h"
#include "support/Logging.h"

namespace quorvel {

void Window::setRootViewController(std::shared_ptr<ViewController> root) {
  root_ = std::move(root);
  if (root_) root_->loadViewIfNeeded();
  setNeedsUpdate();
}

std::string Window::description() const {
  std::string text = "<Window: " + addressText(this);
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
