#pragma once

#include <QAudioDevice>
#include <QString>
#include <QUrl>
#include <functional>
#include <memory>
#include <string>

#include "quorvel/platform/AudioPlayer.h"
#include "quorvel/platform/AudioSession.h"
#include "quorvel/platform/MainQueue.h"

QT_BEGIN_NAMESPACE
class QAudioOutput;
class QMediaPlayer;
QT_END_NAMESPACE

namespace quorvel {

// Plays the SDK's sounds (compiled into the module Quorvel as sounds/<name>.wav) and sound files
// with Qt Multimedia. Not QSoundEffect: without an audio device it never reports an end, while a
// media player still plays to the end at real-time pace. Sound goes where the audio session routes
// it: the earpiece is an output whose name says earpiece, handset or receiver (Linux phones have
// one), else the default output. Use it on the GUI thread.
//
// One media player serves every sound for the adapter's whole life. Qt 6.4's GStreamer player,
// destroyed with a sound loaded, calls back into its own freed members as its pipeline goes, and
// the process dies once that memory has been reused (soon, on a loaded machine); a player that
// is only ever given a new source is never destroyed so, and the last one is emptied first.
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
  // The one player, made on the first sound.
  QMediaPlayer& player();
  void finish(bool successfully);

  std::shared_ptr<MainQueue> mainQueue_;
  std::shared_ptr<AudioSession> session_;
  std::unique_ptr<QMediaPlayer> player_;
  QAudioOutput* output_ = nullptr;  // the player's child
  // What the sound being played is, for the log; empty while none plays.
  std::string playing_;
  std::function<void(bool successfully)> finished_;
};

}  // namespace quorvel
