#include "quorvel/ui/GestureRecognizer.h"

namespace quorvel {

Dictionary GestureRecognizer::toJson() const {
  return {{"kind", kind()}, {"state", static_cast<int>(state_)}};
}

Point GestureRecognizer::centroid() const {
  Point sum;
  if (touches_.empty()) return sum;
  for (const auto& [id, at] : touches_) {
    sum.x += at.x;
    sum.y += at.y;
  }
  auto count = static_cast<double>(touches_.size());
  return {sum.x / count, sum.y / count};
}

void GestureRecognizer::handle(TouchPhase phase, const std::vector<Touch>& touches) {
  for (const auto& touch : touches) touches_[touch.id] = touch.location;
  Point at = centroid();
  if (phase == TouchPhase::ended || phase == TouchPhase::cancelled) {
    for (const auto& touch : touches) touches_.erase(touch.id);
  }
  touchesChanged(phase, at);
  // A new gesture starts with the next first touch.
  if (touches_.empty()) {
    state_ = GestureState::possible;
    reset();
  }
}

void GestureRecognizer::transition(GestureState state, Point location) {
  state_ = state;
  location_ = location;
  if (state != GestureState::failed && state != GestureState::possible && action_) action_(*this);
}

}  // namespace quorvel
