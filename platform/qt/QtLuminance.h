#pragma once

#include <QImage>
#include <QVideoFrame>

namespace quorvel {

// The grey picture of a camera frame, as the QR reader takes it.
class QtLuminance {
 public:
  // A Grayscale8 image of frame's luminance: the Y plane of YUV frames as it is, the weighted
  // channels of RGB ones. A null image for frames whose pixels cannot be read on the CPU. Any
  // thread may call it.
  static QImage of(const QVideoFrame& frame);
};

}  // namespace quorvel
