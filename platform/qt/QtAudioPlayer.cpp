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

QtAudioPlayer::~QtAudioPlayer() {
  stop();
  if (player_) {
    QObject::disconnect(player_.get(), nullptr, nullptr, nullptr);
    // An empty source takes the decoder out of the pipeline while the player is still whole.
    player_->setSource(QUrl());
  }
}

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
  QMediaPlayer& media = player();
  const AudioRoute route = session_ ? session_->outputRoute() : AudioRoute::loudspeaker;
  const QAudioDevice device = outputFor(route);
  if (output_->device() != device) output_->setDevice(device);
  playing_ = what;
  // Resources are read by Qt's own file layer; a qrc: URL reaches the backend as a device.
  const QUrl source =
      localPath.startsWith(":") ? QUrl("qrc" + localPath) : QUrl::fromLocalFile(localPath);
  media.setSource(source);
  media.play();
}

QMediaPlayer& QtAudioPlayer::player() {
  if (player_) return *player_;
  player_ = std::make_unique<QMediaPlayer>();
  output_ = new QAudioOutput(player_.get());
  player_->setAudioOutput(output_);
  QObject::connect(player_.get(), &QMediaPlayer::mediaStatusChanged, player_.get(),
                   [this](QMediaPlayer::MediaStatus status) {
                     if (playing_.empty()) return;
                     if (status == QMediaPlayer::EndOfMedia) finish(true);
                     if (status == QMediaPlayer::InvalidMedia) finish(false);
                   });
  QObject::connect(player_.get(), &QMediaPlayer::errorOccurred, player_.get(),
                   [this](QMediaPlayer::Error, const QString& message) {
                     if (playing_.empty()) return;
                     logLine("could not play the " + playing_ + ": " + message.toStdString());
                     finish(false);
                   });
  return *player_;
}

void QtAudioPlayer::stop() {
  if (!playing_.empty() || finished_) finish(false);
}

double QtAudioPlayer::currentTime() const {
  return !playing_.empty() ? static_cast<double>(player_->position()) / 1000.0 : 0.0;
}

void QtAudioPlayer::finish(bool successfully) {
  if (!playing_.empty()) {
    playing_.clear();
    // Stopping is safe inside the player's own signals; the player itself stays.
    player_->stop();
  }
  auto finished = std::exchange(finished_, nullptr);
  if (!finished) return;
  mainQueue_->async([finished = std::move(finished), successfully] { finished(successfully); });
}

}  // namespace quorvel
