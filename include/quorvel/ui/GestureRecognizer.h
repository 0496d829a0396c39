#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <vector>

#include "quorvel/Dictionary.h"
#include "quorvel/Export.h"
#include "quorvel/ui/Geometry.h"

namespace quorvel {

enum class TouchPhase { began, moved, ended, cancelled };

// One finger on an element, identified for as long as it touches.
struct QUORVEL_EXPORT Touch {
  int id = 0;
  Point location;
};

// Continuous gestures go began → changed … → ended or cancelled; a discrete one (a tap) goes
// straight to ended. failed means the touches cannot make this gesture.
enum class GestureState : int { possible = 0, began, changed, ended, cancelled, failed };

// Turns the raw touches on one element into a gesture. A screen attaches recognisers to its
// outlets; the front end feeds them the outlet's touches through ViewController::handleTouches.
class QUORVEL_EXPORT GestureRecognizer {
 public:
  using Action = std::function<void(GestureRecognizer& sender)>;

  explicit GestureRecognizer(Action action) : action_(std::move(action)) {}
  GestureRecognizer(const GestureRecognizer&) = delete;
  GestureRecognizer& operator=(const GestureRecognizer&) = delete;
  virtual ~GestureRecognizer() = default;

  virtual const char* kind() const = 0;
  virtual Dictionary toJson() const;

  GestureState state() const { return state_; }
  // Where the gesture is: the centroid of its touches when the action was last sent.
  Point location() const { return location_; }
  std::size_t numberOfTouches() const { return touches_.size(); }

  // The touches of one phase, in the element's coordinates.
  void handle(TouchPhase phase, const std::vector<Touch>& touches);

 protected:
  // After each event: centroid is where the event's touches were, lifted ones included;
  // numberOfTouches() already leaves out the lifted ones.
  virtual void touchesChanged(TouchPhase phase, Point centroid) = 0;
  // Once the last touch has lifted, before the recogniser is possible again.
  virtual void reset() {}

  // Moves to state at location; the action runs for every state a gesture reports (not failed).
  void transition(GestureState state, Point location);
  void fail() { state_ = GestureState::failed; }
  const std::map<int, Point>& touches() const { return touches_; }

 private:
  Point centroid() const;

  Action action_;
  GestureState state_ = GestureState::possible;
  Point location_;
  std::map<int, Point> touches_;
};

}  // namespace quorvel
