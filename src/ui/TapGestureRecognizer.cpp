#include "quorvel/ui/TapGestureRecognizer.h"

#include <algorithm>
#include <cmath>

namespace quorvel {

TapGestureRecognizer::TapGestureRecognizer(int numberOfTouchesRequired, Action action)
    : GestureRecognizer(std::move(action)), numberOfTouchesRequired_(numberOfTouchesRequired) {}

Dictionary TapGestureRecognizer::toJson() const {
  Dictionary json = GestureRecognizer::toJson();
  json["numberOfTouchesRequired"] = numberOfTouchesRequired_;
  return json;
}

void TapGestureRecognizer::touchesChanged(TouchPhase phase, Point centroid) {
  if (state() != GestureState::possible) return;
  for (const auto& [id, at] : touches()) {
    auto start = starts_.try_emplace(id, at).first->second;
    if (std::hypot(at.x - start.x, at.y - start.y) > allowableMovement) return fail();
  }
  mostTouches_ = std::max(mostTouches_, numberOfTouches());
  if (phase == TouchPhase::cancelled ||
      mostTouches_ > static_cast<std::size_t>(numberOfTouchesRequired_)) {
    return fail();
  }
  bool allLifted = numberOfTouches() == 0;
  if (allLifted && mostTouches_ == static_cast<std::size_t>(numberOfTouchesRequired_)) {
    transition(GestureState::ended, centroid);
  }
}

void TapGestureRecognizer::reset() {
  mostTouches_ = 0;
  starts_.clear();
}

}  // namespace quorvel
