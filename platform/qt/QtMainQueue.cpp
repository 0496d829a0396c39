#include "qt/QtMainQueue.h"

#include <QCoreApplication>
#include <QThread>
#include <QTimer>
#include <cmath>

#include "quorvel/Fatal.h"

namespace quorvel {

QtMainQueue::QtMainQueue(QObject* context)
    : context_(context ? context : QCoreApplication::instance()) {
  if (!context_) QUORVEL_FATAL("QtMainQueue needs a QCoreApplication");
}

void QtMainQueue::async(std::function<void()> work) {
  // Queued even on the GUI thread: work submitted now runs on a later turn, in order.
  QMetaObject::invokeMethod(context_, std::move(work), Qt::QueuedConnection);
}

void QtMainQueue::schedule(double delaySeconds, std::shared_ptr<WorkItem> item) {
  const auto milliseconds = static_cast<int>(std::lround(std::max(0.0, delaySeconds) * 1000.0));
  QPointer<QObject> context = context_;
  // The timer must start on the queue's own thread, so hop there first.
  async([context, milliseconds, item = std::move(item)] {
    if (!context) return;
    QTimer::singleShot(milliseconds, Qt::PreciseTimer, context, [item] { item->perform(); });
  });
}

}  // namespace quorvel

namespace quorvel {

bool QtMainQueue::isCurrent() const {
  return context_ && QThread::currentThread() == context_->thread();
}

}  // namespace quorvel
