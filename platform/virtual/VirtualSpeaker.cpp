#include "quorvel/virtual/VirtualSpeaker.h"

#include <QFile>

#include "media/SoundDecoder.h"
#include "quorvel/Fatal.h"

namespace quorvel {

VirtualSpeaker::VirtualSpeaker(std::shared_ptr<AudioPlayer> speaker,
                               std::shared_ptr<VirtualRoom> room)
    : speaker_(std::move(speaker)), room_(std::move(room)) {
  if (!speaker_ || !room_) QUORVEL_FATAL("a virtual speaker needs a real player and a room");
}

void VirtualSpeaker::playAsset(const std::string& assetName,
                               std::function<void(bool successfully)> finished) {
  auto cached = assets_.find(assetName);
  if (cached == assets_.end()) {
    Samples samples;
    QFile file(QStringLiteral(":/Quorvel/sounds/%1.wav").arg(QString::fromStdString(assetName)));
    if (file.open(QIODevice::ReadOnly)) {
      const QByteArray bytes = file.readAll();
      auto decoded = SoundDecoder::decode(std::vector<std::uint8_t>(bytes.begin(), bytes.end()),
                                          VirtualRoom::kSampleRate);
      if (decoded) samples = std::make_shared<const std::vector<std::int16_t>>(std::move(*decoded));
    }
    // An asset that is not there stays silent here; the real player reports it.
    cached = assets_.emplace(assetName, samples).first;
  }
  speaker_->playAsset(assetName, sound(cached->second, std::move(finished)));
}

void VirtualSpeaker::playFile(const std::string& path,
                              std::function<void(bool successfully)> finished) {
  Samples samples;
  if (auto decoded = SoundDecoder::decodeFile(path, VirtualRoom::kSampleRate)) {
    samples = std::make_shared<const std::vector<std::int16_t>>(std::move(*decoded));
  }
  speaker_->playFile(path, sound(samples, std::move(finished)));
}

void VirtualSpeaker::stop() {
  if (playing_) room_->cut(*playing_);
  playing_.reset();
  speaker_->stop();
}

std::function<void(bool)> VirtualSpeaker::sound(const Samples& samples,
                                                std::function<void(bool)> finished) {
  if (playing_) room_->cut(*playing_);
  playing_ = room_->play(samples);
  // The room outlives this speaker if need be; cutting a sound that has ended does nothing.
  return [room = room_, id = *playing_, finished = std::move(finished)](bool successfully) {
    if (!successfully) room->cut(id);
    if (finished) finished(successfully);
  };
}

}  // namespace quorvel
