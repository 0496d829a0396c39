#pragma once

#include "quorvel/Export.h"
#include "quorvel/ui/GestureRecognizer.h"

namespace quorvel {

// A drag with between minimumNumberOfTouches and maximumNumberOfTouches fingers. It begins once
// their centroid has travelled minimumTravel, reports every move as changed, and ends when a
// finger lifts. Fewer fingers never begin it; more fail it, or cancel it once it has begun.
class QUORVEL_EXPORT PanGestureRecognizer : public GestureRecognizer {
 public:
  PanGestureRecognizer(int minimumNumberOfTouches, int maximumNumberOfTouches, Action action);

  const char* kind() const override { return "PanGestureRecognizer"; }
  Dictionary toJson() const override;

  int minimumNumberOfTouches() const { return minimumNumberOfTouches_; }
  int maximumNumberOfTouches() const { return maximumNumberOfTouches_; }
  double minimumTravel = 10;

 protected:
  void touchesChanged(TouchPhase phase, Point centroid) override;
  void reset() override { tracking_ = false; }

 private:
  int minimumNumberOfTouches_;
  int maximumNumberOfTouches_;
  // Where the fingers were when their number last came into range.
  bool tracking_ = false;
  Point origin_;
};

}  // namespace quorvel
