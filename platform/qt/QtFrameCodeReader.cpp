#include "qt/QtFrameCodeReader.h"

#include <atomic>

#include "media/QrCodeReader.h"
#include "qt/QtLuminance.h"
#include "quorvel/Fatal.h"

namespace quorvel {

struct QtFrameCodeReader::State {
  std::shared_ptr<MainQueue> mainQueue;
  CodesRead codesRead;  // called on the main queue only
  std::atomic<bool> busy{false};
  std::atomic<bool> stopped{false};
};

QtFrameCodeReader::QtFrameCodeReader(std::shared_ptr<MainQueue> mainQueue, CodesRead codesRead)
    : state_(std::make_shared<State>()) {
  if (!mainQueue) QUORVEL_FATAL("the QR reader needs a main queue");
  state_->mainQueue = std::move(mainQueue);
  state_->codesRead = std::move(codesRead);
  worker_.setMaxThreadCount(1);
}

QtFrameCodeReader::~QtFrameCodeReader() {
  stop();
  worker_.waitForDone();
}

void QtFrameCodeReader::stop() { state_->stopped = true; }

void QtFrameCodeReader::offer(const QVideoFrame& frame) {
  if (state_->stopped || state_->busy.exchange(true)) return;
  worker_.start([state = state_, frame] {
    const QImage grey = QtLuminance::of(frame);
    std::vector<std::string> codes;
    if (!grey.isNull()) {
      codes = QrCodeReader::read(grey.constBits(), grey.width(), grey.height(),
                                 static_cast<int>(grey.bytesPerLine()));
    }
    state->busy = false;
    if (codes.empty()) return;
    state->mainQueue->async([state, codes = std::move(codes)] {
      if (!state->stopped) state->codesRead(codes);
    });
  });
}

}  // namespace quorvel
