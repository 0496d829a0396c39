#include "quorvel/ui/PanGestureRecognizer.h"

#include <cmath>

namespace quorvel {

PanGestureRecognizer::PanGestureRecognizer(int minimumNumberOfTouches, int maximumNumberOfTouches,
                                           Action action)
    : GestureRecognizer(std::move(action)),
      minimumNumberOfTouches_(minimumNumberOfTouches),
      maximumNumberOfTouches_(maximumNumberOfTouches) {}

Dictionary PanGestureRecognizer::toJson() const {
  Dictionary json = GestureRecognizer::toJson();
  json["minimumNumberOfTouches"] = minimumNumberOfTouches_;
  json["maximumNumberOfTouches"] = maximumNumberOfTouches_;
  return json;
}

void PanGestureRecognizer::touchesChanged(TouchPhase phase, Point centroid) {
  auto count = static_cast<int>(numberOfTouches());
  bool tooMany = count > maximumNumberOfTouches_;
  switch (state()) {
    case GestureState::possible:
      if (tooMany || phase == TouchPhase::cancelled) return fail();
      if (count < minimumNumberOfTouches_) {
        tracking_ = false;
      } else if (!tracking_ || phase != TouchPhase::moved) {
        // The fingers changed: measure the travel from where they are now.
        tracking_ = true;
        origin_ = centroid;
      } else if (std::hypot(centroid.x - origin_.x, centroid.y - origin_.y) >= minimumTravel) {
        transition(GestureState::began, centroid);
      }
      return;
    case GestureState::began:
    case GestureState::changed:
      if (tooMany || phase == TouchPhase::cancelled) {
        transition(GestureState::cancelled, centroid);
      } else if (count < minimumNumberOfTouches_) {
        transition(GestureState::ended, centroid);
      } else if (phase == TouchPhase::moved) {
        transition(GestureState::changed, centroid);
      }
      return;
    default:
      // Ended, cancelled or failed: nothing more until every finger has lifted.
      return;
  }
}

}  // namespace quorvel
