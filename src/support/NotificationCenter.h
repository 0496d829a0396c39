#pragma once

#include <functional>
#include <map>
#include <string>

#include "quorvel/Dictionary.h"
#include "quorvel/platform/ObserverList.h"

namespace quorvel {

struct Notification {
  std::string name;
  // Null when the poster gave none.
  Dictionary userInfo;
};

// The application's notifications by name, posted and observed on the main queue. Observing a
// name twice delivers each notification twice.
class NotificationCenter {
 public:
  using Observer = std::function<void(const Notification&)>;

  static NotificationCenter& defaultCenter();

  Subscription addObserver(const std::string& name, Observer observer);
  void post(const std::string& name, Dictionary userInfo = nullptr);

 private:
  std::map<std::string, ObserverList<const Notification&>> observers_;
};

}  // namespace quorvel
