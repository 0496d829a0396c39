#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTest>

#include "qt/QtMainQueue.h"
#include "support/MainQueueContract.h"

namespace quorvel::testing {
namespace {

// The Qt event loop of the GUI thread, on real time.
class QtDriver : public MainQueueDriver {
 public:
  QtDriver() { clock_.start(); }
  MainQueue& queue() override { return queue_; }
  void pass(double seconds) override {
    QElapsedTimer passed;
    passed.start();
    do {
      QCoreApplication::processEvents(QEventLoop::AllEvents);
      QTest::qSleep(1);
    } while (passed.nsecsElapsed() < static_cast<qint64>(seconds * 1e9));
    QCoreApplication::processEvents(QEventLoop::AllEvents);
  }
  double now() const override { return static_cast<double>(clock_.nsecsElapsed()) / 1e9; }

 private:
  QtMainQueue queue_;
  QElapsedTimer clock_;
};

QUORVEL_MAIN_QUEUE_CONTRACT_TESTS()

INSTANTIATE_TEST_SUITE_P(Implementations, MainQueueContract,
                         ::testing::Values(MainQueueImplementation{
                             "Qt", [] { return std::make_unique<QtDriver>(); }}),
                         implementationName);

}  // namespace
}  // namespace quorvel::testing
