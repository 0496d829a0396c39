#include "quorvel/ui/LoadingView.h"

#include "quorvel/platform/Platform.h"

namespace quorvel {

void LoadingView::show(const std::shared_ptr<Window>& window) {
  if (pendingRemoval_) pendingRemoval_->cancel();
  pendingRemoval_.reset();
  if (auto current = window_.lock(); current && current != window) current->removeOverlay(*this);
  alpha_ = 1.0;
  fadeDuration_ = 0;
  window_ = window;
  if (window) window->addOverlay(shared_from_this());
  setNeedsUpdate();
}

void LoadingView::fadeOutAndRemove(double duration) {
  if (!isShown()) return;
  if (pendingRemoval_) pendingRemoval_->cancel();
  alpha_ = 0;
  fadeDuration_ = duration;
  setNeedsUpdate();
  std::weak_ptr<LoadingView> weak = shared_from_this();
  pendingRemoval_ = platform().mainQueue->asyncAfter(duration, [weak] {
    if (auto self = weak.lock()) self->removeFromWindow();
  });
}

void LoadingView::removeFromWindow() {
  if (pendingRemoval_) pendingRemoval_->cancel();
  pendingRemoval_.reset();
  if (auto window = window_.lock()) window->removeOverlay(*this);
  window_.reset();
  fadeDuration_ = 0;
  setNeedsUpdate();
}

}  // namespace quorvel
