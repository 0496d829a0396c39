#pragma once

#include <memory>
#include <string>
#include <vector>

#include "quorvel/ui/GestureRecognizer.h"
#include "quorvel/ui/ViewController.h"

namespace quorvel::testing {

// Fingers on one outlet of a screen, fed through the entry a front end uses. The fingers sit
// side by side, 40 points apart, centred on the point they are given.
class ScriptedFingers {
 public:
  ScriptedFingers(std::shared_ptr<ViewController> screen, std::string outletName)
      : screen_(std::move(screen)), outletName_(std::move(outletName)) {}

  void down(int count, Point centroid) {
    count_ = count;
    touch(TouchPhase::began, centroid);
  }
  // Moves every finger so that their centroid is at centroid.
  void moveTo(Point centroid) { touch(TouchPhase::moved, centroid); }
  // All fingers lift together.
  void lift() { touch(TouchPhase::ended, at_); }

  // down, moveTo in steps (every step counts), lift.
  void slide(int count, Point from, Point to, int steps = 4) {
    down(count, from);
    for (int i = 1; i <= steps; ++i) {
      const double t = static_cast<double>(i) / steps;
      moveTo({from.x + (to.x - from.x) * t, from.y + (to.y - from.y) * t});
    }
    lift();
  }
  void tap(int count, Point at = {150, 150}) {
    down(count, at);
    lift();
  }

 private:
  void touch(TouchPhase phase, Point centroid) {
    at_ = centroid;
    std::vector<Touch> touches;
    for (int i = 0; i < count_; ++i) {
      touches.push_back({i + 1, {centroid.x - 20.0 * (count_ - 1) + 40.0 * i, centroid.y}});
    }
    screen_->handleTouches(outletName_, phase, touches);
  }

  std::shared_ptr<ViewController> screen_;
  std::string outletName_;
  int count_ = 0;
  Point at_;
};

}  // namespace quorvel::testing
