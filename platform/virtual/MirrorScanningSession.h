#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "MirrorFilm.h"
#include "QrScanWorker.h"
#include "quorvel/platform/Camera.h"
#include "quorvel/platform/MainQueue.h"

namespace quorvel {

// The mirror camera's scanning session: films the window and reports the QR codes it reads on
// the main queue until it stops. Made, used and released on the GUI thread.
class MirrorScanningSession : public CameraSession {
 public:
  MirrorScanningSession(std::function<QQuickWindow*()> window,
                        std::function<void(const std::vector<std::string>&)> codesRead,
                        std::shared_ptr<MainQueue> mainQueue);
  ~MirrorScanningSession() override;

  void stop() override;
  bool startRecording(const std::string&,
                      std::function<void(std::optional<std::string>)>) override {
    return false;
  }
  void stopRecording() override {}

 private:
  // Reports already on the queue when the session stops must not arrive.
  std::shared_ptr<std::atomic<bool>> running_ = std::make_shared<std::atomic<bool>>(true);
  std::unique_ptr<QrScanWorker> worker_;
  MirrorFilm film_;
};

}  // namespace quorvel
