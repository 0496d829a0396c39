#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "quorvel/Export.h"
#include "quorvel/platform/AudioPlayer.h"
#include "quorvel/virtual/VirtualRoom.h"

namespace quorvel {

// The app's speaker as a virtual room hears it: it plays through the real player it wraps and
// also puts each sound into the room, where a virtual microphone (the mirror camera's) picks it
// up. Assets are the WAV files at ":/Quorvel/sounds/<name>.wav" in the Qt resources; files are
// WAV sounds, or recordings (AAC in QuickTime or MPEG-4 files) that keep their length in the room
// but sound silent there. Stopping, a new sound and a sound the real player cannot play all end
// the sound in the room too. Used on the main queue, like any AudioPlayer.
class QUORVEL_EXPORT VirtualSpeaker : public AudioPlayer {
 public:
  VirtualSpeaker(std::shared_ptr<AudioPlayer> speaker, std::shared_ptr<VirtualRoom> room);

  void playAsset(const std::string& assetName,
                 std::function<void(bool successfully)> finished) override;
  void playFile(const std::string& path, std::function<void(bool successfully)> finished) override;
  void stop() override;
  double currentTime() const override { return speaker_->currentTime(); }

  using Samples = std::shared_ptr<const std::vector<std::int16_t>>;
  // An asset's sound at the room's rate; null when there is no such asset.
  static Samples assetSamples(const std::string& assetName);
  // A file's sound at the room's rate (silence of a recording's length); null when it has none.
  static Samples fileSamples(const std::string& path);
  // Told the name of each asset played from now on, as a person in the room would hear it.
  void setListener(std::function<void(const std::string& assetName)> listener) {
    listener_ = std::move(listener);
  }

 private:
  // Puts samples into the room in place of the sound before, and wraps finished so that a sound
  // the real player gives up on stops sounding in the room as well.
  std::function<void(bool)> sound(const Samples& samples, std::function<void(bool)> finished);

  std::shared_ptr<AudioPlayer> speaker_;
  std::shared_ptr<VirtualRoom> room_;
  std::map<std::string, Samples> assets_;  // decoded once
  std::optional<VirtualRoom::SoundId> playing_;
  std::function<void(const std::string&)> listener_;
  // The answer of the sound that plays, given once.
  struct Pending {
    std::function<void(bool)> finished;
    void answer(bool successfully) {
      if (auto done = std::exchange(finished, nullptr)) done(successfully);
    }
  };
  std::weak_ptr<Pending> pending_;
};

}  // namespace quorvel
