#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "quorvel/platform/TrackedAudioSession.h"

namespace quorvel {

class MainQueue;

// The audio session of a Linux desktop or phone: the output level is the default sink's volume on
// the sound server (PulseAudio, or PipeWire's pulse server), as 0...1, and the server's changes of
// it reach the level's observers and the volume events (as changes the person did not make with
// keys the SDK saw). A key press reported to the session sets the sink to the new level.
//
// The session connects on first use, on the main queue, to the installed platform's main queue and
// volume events; it must be owned by a shared_ptr. Without a server, or after losing it, the level
// is tracked as TrackedAudioSession does, and a later use tries the server again at most every
// kRetrySeconds.
class PulseAudioSession : public TrackedAudioSession,
                          public std::enable_shared_from_this<PulseAudioSession> {
 public:
  // server: a PulseAudio server string; empty for the one the environment names.
  explicit PulseAudioSession(std::string server = {});
  ~PulseAudioSession() override;
  PulseAudioSession(const PulseAudioSession&) = delete;
  PulseAudioSession& operator=(const PulseAudioSession&) = delete;

  float outputVolume() const override;
  Subscription observeOutputVolume(std::function<void(float volume)> observer) override;
  void outputVolumeDidChange(float volume) override;

  // Whether the session reads a sound server now.
  bool hasMixer() const { return mixer_ != nullptr; }

  // How long connecting and the first reading may take before the session does without a server.
  static constexpr double kConnectSeconds = 2.0;
  static constexpr double kRetrySeconds = 5.0;

 private:
  class Mixer;
  void connectIfDue();
  void mixerReported(float level);
  void writeFinished();
  void mixerLost();

  std::string server_;
  std::shared_ptr<VolumeEvents> events_;
  std::unique_ptr<Mixer> mixer_;
  bool everConnected_ = false;
  std::optional<std::chrono::steady_clock::time_point> lastAttempt_;
  // The session's own writes not yet acknowledged: the server's reports meanwhile may show a level
  // between two key presses, so they wait for a fresh reading after the last write.
  int writesInFlight_ = 0;
};

}  // namespace quorvel
