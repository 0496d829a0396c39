#include "qt/QtAudioPlayer.h"

#include <QAudioOutput>
#include <QFileInfo>
#include <QMediaDevices>
#include <QMediaPlayer>

#include "quorvel/Fatal.h"
#include "support/Logging.h"

namespace quorvel {

QtAudioPlayer::QtAudioPlayer(std::shared_ptr<MainQueue> mainQueue,
                             std::shared_ptr<AudioSession> session)
    : mainQueue_(std::move(mainQueue)), session_(std::move(session)) {
  if (!mainQueue_) QUORVEL_FATAL("the sound player needs a main queue");
}

QtAudioPlayer::~QtAudioPlayer() { stop(); }

QString QtAudioPlayer::assetPath(const std::string& name) {
  return ":/Quorvel/sounds/" + QString::fromStdString(name) + ".wav";
}

QAudioDevice QtAudioPlayer::outputFor(AudioRoute route) {
  if (route == AudioRoute::earpiece) {
    for (const QAudioDevice& device : QMediaDevices::audioOutputs()) {
      const QString name = device.description() + " " + QString::fromUtf8(device.id());
      for (const char* word : {"earpiece", "handset", "receiver"}) {
        if (name.contains(QLatin1String(word), Qt::CaseInsensitive)) return device;
      }
    }
  }
  return QMediaDevices::defaultAudioOutput();
}

void QtAudioPlayer::playAsset(const std::string& assetName,
                              std::function<void(bool successfully)> finished) {
  play(assetPath(assetName), "sound asset " + assetName, std::move(finished));
}

void QtAudioPlayer::playFile(const std::string& path,
                             std::function<void(bool successfully)> finished) {
  play(QString::fromStdString(path), "sound file " + path, std::move(finished));
}

void QtAudioPlayer::play(const QString& localPath, const std::string& what,
                         std::function<void(bool successfully)> finished) {
  stop();
  finished_ = std::move(finished);
  if (!QFileInfo(localPath).isFile()) {
    logLine("no " + what);
    finish(false);
    return;
  }
  auto* player = new QMediaPlayer;
  const AudioRoute route = session_ ? session_->outputRoute() : AudioRoute::loudspeaker;
  player->setAudioOutput(new QAudioOutput(outputFor(route), player));
  QObject::connect(player, &QMediaPlayer::mediaStatusChanged, player,
                   [this](QMediaPlayer::MediaStatus status) {
                     if (status == QMediaPlayer::EndOfMedia) finish(true);
                     if (status == QMediaPlayer::InvalidMedia) finish(false);
                   });
  QObject::connect(player, &QMediaPlayer::errorOccurred, player,
                   [this, what](QMediaPlayer::Error, const QString& message) {
                     logLine("could not play the " + what + ": " + message.toStdString());
                     finish(false);
                   });
  player_ = player;
  // Resources are read by Qt's own file layer; a qrc: URL reaches the backend as a device.
  player->setSource(localPath.startsWith(":") ? QUrl("qrc" + localPath)
                                              : QUrl::fromLocalFile(localPath));
  player->play();
}

void QtAudioPlayer::stop() {
  if (player_ || finished_) finish(false);
}

double QtAudioPlayer::currentTime() const {
  return player_ ? static_cast<double>(player_->position()) / 1000.0 : 0.0;
}

void QtAudioPlayer::finish(bool successfully) {
  if (QMediaPlayer* player = player_) {
    player_ = nullptr;
    QObject::disconnect(player, nullptr, player, nullptr);
    player->stop();
    // This may run inside one of the player's own signals.
    player->deleteLater();
  }
  auto finished = std::exchange(finished_, nullptr);
  if (!finished) return;
  mainQueue_->async([finished = std::move(finished), successfully] { finished(successfully); });
}

}  // namespace quorvel
