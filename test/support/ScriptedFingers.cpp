#include "support/ScriptedFingers.h"

namespace quorvel::testing {

ScriptedFingers::ScriptedFingers(std::shared_ptr<ViewController> screen, std::string outletName)
    : screen_(std::move(screen)), outletName_(std::move(outletName)) {}

std::vector<Touch> ScriptedFingers::placed(Point centroid) const {
  std::vector<Touch> touches;
  double first = centroid.x - 20.0 * (count_ - 1);
  for (int i = 0; i < count_; ++i) touches.push_back({i + 1, {first + 40.0 * i, centroid.y}});
  return touches;
}

void ScriptedFingers::down(int count, Point centroid) {
  count_ = count;
  at_ = centroid;
  screen_->handleTouches(outletName_, TouchPhase::began, placed(at_));
}

void ScriptedFingers::moveTo(Point centroid) {
  at_ = centroid;
  screen_->handleTouches(outletName_, TouchPhase::moved, placed(at_));
}

void ScriptedFingers::lift() {
  screen_->handleTouches(outletName_, TouchPhase::ended, placed(at_));
}

void ScriptedFingers::cancel() {
  screen_->handleTouches(outletName_, TouchPhase::cancelled, placed(at_));
}

void ScriptedFingers::slide(int count, Point from, Point to, int steps) {
  down(count, from);
  for (int i = 1; i <= steps; ++i) {
    double t = static_cast<double>(i) / steps;
    moveTo({from.x + (to.x - from.x) * t, from.y + (to.y - from.y) * t});
  }
  lift();
}

void ScriptedFingers::tap(int count, Point at) {
  down(count, at);
  lift();
}

}  // namespace quorvel::testing
