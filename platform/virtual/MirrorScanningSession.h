#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "MirrorFilm.h"
#include "media/QrFrameReader.h"
#include "quorvel/platform/Camera.h"

namespace quorvel {

// The mirror camera's scanning session: films the window and reports the QR codes it reads on
// the main queue until it stops. Made, used and released on the GUI thread.
class MirrorScanningSession : public CameraSession {
 public:
  MirrorScanningSession(std::function<QQuickWindow*()> window, std::shared_ptr<MainQueue> mainQueue,
                        QrFrameReader::CodesRead codesRead);
  ~MirrorScanningSession() override;

  void stop() override;
  bool startRecording(const std::string&,
                      std::function<void(std::optional<std::string>)>) override {
    return false;
  }
  void stopRecording() override {}

 private:
  std::unique_ptr<QrFrameReader> reader_;
  MirrorFilm film_;
};

}  // namespace quorvel
