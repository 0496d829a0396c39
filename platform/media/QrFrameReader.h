#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "quorvel/Export.h"
#include "quorvel/platform/MainQueue.h"

namespace quorvel {

// Reads the QR codes in a camera's frames on a thread of its own, one frame at a time: a frame
// offered while one is being read is dropped, so reading never falls behind the camera and never
// piles frames up. The codes of each frame that has some go to codesRead on the main queue, never
// after stop(). Cameras of any toolkit use it; each turns its frames into grey pixels.
class QUORVEL_EXPORT QrFrameReader {
 public:
  using CodesRead = std::function<void(const std::vector<std::string>& codes)>;

  // A frame's luminance, one byte a pixel; owner keeps the bytes alive (a QImage, a buffer).
  struct Grey {
    std::shared_ptr<const void> owner;
    const std::uint8_t* bytes = nullptr;
    int width = 0;
    int height = 0;
    int rowStride = 0;

    // Keeps a grey picture of any type with constBits, width, height and bytesPerLine (QImage).
    template <class Picture>
    static Grey of(Picture picture) {
      auto kept = std::make_shared<const Picture>(std::move(picture));
      return Grey{kept, kept->constBits(), kept->width(), kept->height(),
                  static_cast<int>(kept->bytesPerLine())};
    }
  };
  // Makes the grey picture of a frame; called on the reader's thread, so the camera's thread
  // only hands the frame over.
  using Frame = std::function<Grey()>;

  QrFrameReader(std::shared_ptr<MainQueue> mainQueue, CodesRead codesRead);
  // Stops, and waits for the frame being read.
  ~QrFrameReader();

  // Any thread may offer frames; false when the frame is dropped.
  bool offer(Frame frame);
  // On the main queue: no codes are reported from now on, also none read already.
  void stop();

 private:
  struct Reports;
  void run();

  std::shared_ptr<Reports> reports_;
  std::mutex mutex_;
  std::condition_variable wake_;
  Frame next_;
  bool busy_ = false;
  bool quit_ = false;
  std::thread thread_;  // last: starts once the rest is ready
};

}  // namespace quorvel
