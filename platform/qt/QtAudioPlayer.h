#pragma once

#include <QAudioDevice>
#include <QPointer>
#include <QString>
#include <QUrl>
#include <functional>
#include <memory>
#include <string>

#include "quorvel/platform/AudioPlayer.h"
#include "quorvel/platform/AudioSession.h"
#include "quorvel/platform/MainQueue.h"

QT_BEGIN_NAMESPACE
class QMediaPlayer;
QT_END_NAMESPACE

namespace quorvel {

// Plays the SDK's sounds (compiled into the module Quorvel as sounds/<name>.wav) and sound files
// with Qt Multimedia. Not QSoundEffect: without an audio device it never reports an end, while a
// media player still plays to the end at real-time pace. Sound goes where the audio session routes
// it: the earpiece is an output whose name says earpiece, handset or receiver (Linux phones have
// one), else the default output. Use it on the GUI thread.
class QtAudioPlayer : public AudioPlayer {
 public:
  // Without a session, everything plays on the default output.
  QtAudioPlayer(std::shared_ptr<MainQueue> mainQueue, std::shared_ptr<AudioSession> session = {});
  ~QtAudioPlayer() override;

  void playAsset(const std::string& assetName,
                 std::function<void(bool successfully)> finished) override;
  void playFile(const std::string& path, std::function<void(bool successfully)> finished) override;
  void stop() override;
  double currentTime() const override;

  // Where the module keeps the sound asset name.
  static QString assetPath(const std::string& name);
  // The output that route plays on.
  static QAudioDevice outputFor(AudioRoute route);

 private:
  void play(const QString& localPath, const std::string& what,
            std::function<void(bool successfully)> finished);
  void finish(bool successfully);

  std::shared_ptr<MainQueue> mainQueue_;
  std::shared_ptr<AudioSession> session_;
  // A player per sound, so that late signals of a stopped sound never reach the next one.
  QPointer<QMediaPlayer> player_;
  std::function<void(bool successfully)> finished_;
};

}  // namespace quorvel
