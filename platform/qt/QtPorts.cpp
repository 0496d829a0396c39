#include "qt/QtPorts.h"

#include "qt/QtAudioPlayer.h"
#include "qt/QtAudioRecorder.h"
#include "qt/QtCamera.h"
#include "qt/QtHardwareKeys.h"
#include "qt/QtImagePicker.h"
#include "qt/QtMainQueue.h"
#include "quorvel/Fatal.h"
#include "quorvel/ui/Application.h"

namespace quorvel {

QtPorts::QtPorts(QObject* owner, FrontEnd frontEnd) : frontEnd_(std::move(frontEnd)) {
  platform_ = makeDefaultPlatform();
  platform_.mainQueue = std::make_shared<QtMainQueue>(owner);
  platform_.application = std::make_shared<Application>();
  platform_.volumeEvents = std::make_shared<VolumeEvents>();
  platform_.screenshotEvents = std::make_shared<ScreenshotEvents>();
  picker_ = std::make_shared<QtImagePicker>([this] { frontEnd_.pickImage(); });
  platform_.imagePicker = picker_;
  keys_ = new QtHardwareKeys(platform_.volumeEvents, platform_.audioSession,
                             platform_.screenshotEvents, owner);
  platform_.audioPlayer =
      std::make_shared<QtAudioPlayer>(platform_.mainQueue, platform_.audioSession);
  platform_.audioRecorder = std::make_shared<QtAudioRecorder>(platform_.mainQueue);
  platform_.videoPlayback =
      std::make_shared<QtVideoPlayback>([this](const QUrl& movie, QtVideoPlayback::Closed closed) {
        frontEnd_.showMovie(movie, std::move(closed));
      });
  auto camera = std::make_shared<QtCamera>(platform_.mainQueue);
  useCamera(camera, camera);
}

QtPorts::~QtPorts() {
  if (pictures_) pictures_->setPictureChanged(nullptr);
}

void QtPorts::useAudioSession(std::shared_ptr<AudioSession> session) {
  if (!session) QUORVEL_FATAL("useAudioSession needs a session");
  Platform installed = quorvel::platform();
  const bool wasInstalled = installed.audioSession == platform_.audioSession;
  const bool playerInstalled = installed.audioPlayer == platform_.audioPlayer;
  platform_.audioSession = std::move(session);
  keys_->setSession(platform_.audioSession);
  platform_.audioPlayer =
      std::make_shared<QtAudioPlayer>(platform_.mainQueue, platform_.audioSession);
  if (wasInstalled || playerInstalled) {
    if (wasInstalled) installed.audioSession = platform_.audioSession;
    if (playerInstalled) installed.audioPlayer = platform_.audioPlayer;
    installPlatform(installed);
  }
}

void QtPorts::useCamera(std::shared_ptr<Camera> camera,
                        std::shared_ptr<CameraPictureSource> pictures) {
  if (!camera) QUORVEL_FATAL("useCamera needs a camera");
  const bool installed = platform_.camera && quorvel::platform().camera == platform_.camera;
  if (pictures_) pictures_->setPictureChanged(nullptr);
  platform_.camera = std::move(camera);
  pictures_ = std::move(pictures);
  if (pictures_) pictures_->setPictureChanged([this] { frontEnd_.cameraPictureChanged(); });
  if (installed) {
    Platform changed = quorvel::platform();
    changed.camera = platform_.camera;
    installPlatform(changed);
  }
  frontEnd_.cameraPictureChanged();
}

}  // namespace quorvel
