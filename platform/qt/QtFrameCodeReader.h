#pragma once

#include <QThreadPool>
#include <QVideoFrame>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "quorvel/platform/MainQueue.h"

namespace quorvel {

// Reads the QR codes in camera frames, one frame at a time on a worker thread of its own. Frames
// offered while one is being read are dropped, so reading never falls behind the camera. The
// codes of each frame that has some go to codesRead on the main queue, never after stop().
class QtFrameCodeReader {
 public:
  using CodesRead = std::function<void(const std::vector<std::string>& codes)>;

  QtFrameCodeReader(std::shared_ptr<MainQueue> mainQueue, CodesRead codesRead);
  // Stops, and waits for the frame being read.
  ~QtFrameCodeReader();

  // Any thread may offer frames.
  void offer(const QVideoFrame& frame);
  // On the main queue.
  void stop();

 private:
  struct State;

  std::shared_ptr<State> state_;
  QThreadPool worker_;
};

}  // namespace quorvel
