#include "support/NotificationCenter.h"

namespace quorvel {

NotificationCenter& NotificationCenter::defaultCenter() {
  // Never destroyed: subscriptions held by static objects may end after it otherwise.
  static auto* center = new NotificationCenter();
  return *center;
}

Subscription NotificationCenter::addObserver(const std::string& name, Observer observer) {
  return observers_[name].add(std::move(observer));
}

void NotificationCenter::post(const std::string& name, Dictionary userInfo) {
  auto it = observers_.find(name);
  if (it == observers_.end()) return;
  it->second.notify(Notification{name, std::move(userInfo)});
}

}  // namespace quorvel
