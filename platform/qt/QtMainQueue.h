#pragma once

#include <QObject>
#include <QPointer>

#include "quorvel/platform/MainQueue.h"

namespace quorvel {

// The core's main queue on the Qt event loop of the GUI thread. async and schedule may be called
// from any thread; the work runs on the thread of context (the application object by default).
class QtMainQueue : public MainQueue {
 public:
  explicit QtMainQueue(QObject* context = nullptr);

  void async(std::function<void()> work) override;
  void schedule(double delaySeconds, std::shared_ptr<WorkItem> item) override;
  bool isCurrent() const override;

 private:
  QPointer<QObject> context_;
};

}  // namespace quorvel
