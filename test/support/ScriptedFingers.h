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
  ScriptedFingers(std::shared_ptr<ViewController> screen, std::string outletName);

  void down(int count, Point centroid);
  // Moves every finger so that their centroid is at centroid.
  void moveTo(Point centroid);
  // All fingers lift together.
  void lift();
  void cancel();

  // down, moveTo in steps (every step counts), lift.
  void slide(int count, Point from, Point to, int steps = 4);
  void tap(int count, Point at = {150, 150});

 private:
  std::vector<Touch> placed(Point centroid) const;

  std::shared_ptr<ViewController> screen_;
  std::string outletName_;
  int count_ = 0;
  Point at_;
};

}  // namespace quorvel::testing
