#pragma once

#include "quorvel/Export.h"
#include "quorvel/ui/GestureRecognizer.h"

namespace quorvel {

// A single tap with exactly numberOfTouchesRequired fingers: that many touch at once, none moves
// further than allowableMovement, and all lift. More fingers fail the tap, fewer do not make one.
class QUORVEL_EXPORT TapGestureRecognizer : public GestureRecognizer {
 public:
  TapGestureRecognizer(int numberOfTouchesRequired, Action action);

  const char* kind() const override { return "TapGestureRecognizer"; }
  Dictionary toJson() const override;

  int numberOfTouchesRequired() const { return numberOfTouchesRequired_; }
  double allowableMovement = 10;

 protected:
  void touchesChanged(TouchPhase phase, Point centroid) override;
  void reset() override;

 private:
  int numberOfTouchesRequired_;
  std::size_t mostTouches_ = 0;
  std::map<int, Point> starts_;
};

}  // namespace quorvel
