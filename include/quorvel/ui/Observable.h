#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "quorvel/Export.h"

namespace quorvel {

// Something a front end draws. Changes are announced to observers once per main-queue turn,
// however many were made in that turn.
class QUORVEL_EXPORT Observable {
 public:
  using Observer = std::function<void()>;

  Observable() = default;
  Observable(const Observable&) = delete;
  Observable& operator=(const Observable&) = delete;
  virtual ~Observable() = default;

  int addObserver(Observer observer);
  void removeObserver(int token);

  // Schedules one notification for this turn of the main queue.
  void setNeedsUpdate();

 private:
  std::vector<std::pair<int, Observer>> observers_;
  int nextToken_ = 1;
  bool updateScheduled_ = false;
  // Lets a scheduled notification see whether this object still exists.
  std::shared_ptr<Observable*> self_ = std::make_shared<Observable*>(this);
};

}  // namespace quorvel
