#include "quorvel/virtual/VirtualSpeaker.h"

#include <QFile>
#include <QTimer>
#include <algorithm>

#include "media/IsoMovieReader.h"
#include "media/WaveDecoder.h"
#include "quorvel/Fatal.h"

namespace quorvel {

VirtualSpeaker::VirtualSpeaker(std::shared_ptr<AudioPlayer> speaker,
                               std::shared_ptr<VirtualRoom> room)
    : speaker_(std::move(speaker)), room_(std::move(room)) {
  if (!speaker_ || !room_) QUORVEL_FATAL("a virtual speaker needs a real player and a room");
}

VirtualSpeaker::Samples VirtualSpeaker::assetSamples(const std::string& assetName) {
  QFile file(QStringLiteral(":/Quorvel/sounds/%1.wav").arg(QString::fromStdString(assetName)));
  if (!file.open(QIODevice::ReadOnly)) return nullptr;
  const QByteArray bytes = file.readAll();
  auto decoded = WaveDecoder::decode(std::vector<std::uint8_t>(bytes.begin(), bytes.end()),
                                     VirtualRoom::kSampleRate);
  if (!decoded) return nullptr;
  return std::make_shared<const std::vector<std::int16_t>>(std::move(*decoded));
}

VirtualSpeaker::Samples VirtualSpeaker::fileSamples(const std::string& path) {
  if (auto decoded = WaveDecoder::decodeFile(path, VirtualRoom::kSampleRate)) {
    return std::make_shared<const std::vector<std::int16_t>>(std::move(*decoded));
  }
  // A recording (AAC in a movie file) keeps its time in the room, in silence: the only AAC
  // decoder at hand, FAAD2, is GPL and would bind every program that links these devices.
  std::string error;
  auto movie = IsoMovieReader::open(path, error);
  const IsoMovieReader::Track* track = movie ? movie->first("soun") : nullptr;
  if (track == nullptr || track->timescale == 0) return nullptr;
  constexpr std::uint64_t kAacFrame = 1024;
  const std::uint64_t coded = track->sizes.size() * kAacFrame;
  const std::uint64_t length =
      track->played > 0 ? track->played : coded - std::min(coded, track->skipped);
  return std::make_shared<const std::vector<std::int16_t>>(
      static_cast<std::size_t>(length * VirtualRoom::kSampleRate / track->timescale), 0);
}

void VirtualSpeaker::playAsset(const std::string& assetName,
                               std::function<void(bool successfully)> finished) {
  auto cached = assets_.find(assetName);
  // An asset that is not there stays silent here; the real player reports it.
  if (cached == assets_.end()) cached = assets_.emplace(assetName, assetSamples(assetName)).first;
  if (listener_ && cached->second) listener_(assetName);
  speaker_->playAsset(assetName, sound(cached->second, std::move(finished)));
}

void VirtualSpeaker::playFile(const std::string& path,
                              std::function<void(bool successfully)> finished) {
  speaker_->playFile(path, sound(fileSamples(path), std::move(finished)));
}

void VirtualSpeaker::stop() {
  if (playing_) room_->cut(*playing_);
  playing_.reset();
  // A sound that still had time left in the room is stopped, not finished.
  if (auto pending = pending_.lock()) {
    QTimer::singleShot(0, [pending] { pending->answer(false); });
  }
  speaker_->stop();
}

std::function<void(bool)> VirtualSpeaker::sound(const Samples& samples,
                                                std::function<void(bool)> finished) {
  if (playing_) room_->cut(*playing_);
  playing_ = room_->play(samples);
  const double end =
      room_->now() +
      (samples ? static_cast<double>(samples->size()) / VirtualRoom::kSampleRate : 0);
  // A sound waiting out its time in the room is replaced, as a playing one is.
  if (auto before = pending_.lock()) QTimer::singleShot(0, [before] { before->answer(false); });
  auto pending = std::make_shared<Pending>(Pending{std::move(finished)});
  pending_ = pending;
  // The room outlives this speaker if need be; cutting a sound that has ended does nothing.
  return [room = room_, id = *playing_, pending, end](bool successfully) {
    if (!successfully) {
      room->cut(id);
      pending->answer(false);
      return;
    }
    // A player without a sound device may say it is done before the sound has had its time in
    // the room; the room's clock decides.
    const double left = end - room->now();
    if (left <= 0) {
      pending->answer(true);
      return;
    }
    QTimer::singleShot(static_cast<int>(left * 1000) + 1, [pending] { pending->answer(true); });
  };
}

}  // namespace quorvel
