#pragma once

#include <optional>
#include <string>

#include "support/ChildProcess.h"
#include "support/TemporaryTree.h"

namespace quorvel::testing {

// A PulseAudio server of the test's own, in a temporary runtime folder, with one null sink. It
// never touches the machine's sound: clients reach it only through server().
class PrivatePulseAudio {
 public:
  // Starts the server; running() tells whether it answered, and why not is in problem().
  PrivatePulseAudio();
  ~PrivatePulseAudio();
  PrivatePulseAudio(const PrivatePulseAudio&) = delete;
  PrivatePulseAudio& operator=(const PrivatePulseAudio&) = delete;

  bool running() const { return problem_.empty(); }
  const std::string& problem() const { return problem_; }
  // The server string for PULSE_SERVER or a client's connect.
  const std::string& server() const { return server_; }

  // The default sink's volume in percent, set and read through pactl as a person's mixer would.
  bool setSinkVolume(int percent) const;
  int sinkVolume() const;
  // Ends the server, as when the person's sound server stops.
  void stop();

 private:
  // pactl's output; nothing when it failed.
  std::optional<std::string> pactl(const std::string& arguments) const;

  TemporaryTree folder_{"quorvel-pulse"};
  std::string server_;
  std::string problem_;
  ChildProcess serverProcess_;
};

}  // namespace quorvel::testing
