#include "support/PrivatePulseAudio.h"

#include <chrono>
#include <cstdio>
#include <regex>
#include <thread>
#include <vector>

namespace quorvel::testing {

constexpr auto kStartPatience = std::chrono::seconds(10);

PrivatePulseAudio::PrivatePulseAudio() {
  const std::string dir = folder_.path().string();
  server_ = "unix:" + dir + "/native";
  // Its own runtime folder and home, so that it neither meets nor replaces a running server.
  std::vector<std::string> environment = {"HOME=" + dir, "XDG_RUNTIME_DIR=" + dir,
                                          "PULSE_RUNTIME_PATH=" + dir + "/runtime",
                                          "PATH=/usr/bin:/bin"};
  serverProcess_ =
      ChildProcess({"pulseaudio", "-n", "--daemonize=no", "--exit-idle-time=-1",
                    "--use-pid-file=false", "--log-target=file:" + dir + "/log",
                    "--load=module-native-protocol-unix auth-anonymous=1 socket=" + dir + "/native",
                    "--load=module-null-sink sink_name=quorvel_null"},
                   {.output = {}, .environment = environment});
  if (!serverProcess_.started()) {
    problem_ = "pulseaudio could not start; scripts/install-deps installs it";
    return;
  }
  const auto deadline = std::chrono::steady_clock::now() + kStartPatience;
  while (!pactl("info")) {
    if (serverProcess_.exited() || std::chrono::steady_clock::now() > deadline) {
      problem_ = serverProcess_.exited() ? "pulseaudio exited at start; see its log in " + dir
                                         : "pulseaudio did not answer within 10 s";
      return;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
}

PrivatePulseAudio::~PrivatePulseAudio() { stop(); }

void PrivatePulseAudio::stop() { serverProcess_.stop(kStartPatience); }

std::optional<std::string> PrivatePulseAudio::pactl(const std::string& arguments) const {
  const std::string command = "pactl --server='" + server_ + "' " + arguments + " 2>/dev/null";
  std::FILE* pipe = popen(command.c_str(), "r");
  if (!pipe) return std::nullopt;
  std::string out;
  char buffer[512];
  for (std::size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) out.append(buffer, n);
  if (pclose(pipe) != 0) return std::nullopt;
  return out;
}

bool PrivatePulseAudio::setSinkVolume(int percent) const {
  return pactl("set-sink-volume @DEFAULT_SINK@ " + std::to_string(percent) + "%").has_value();
}

int PrivatePulseAudio::sinkVolume() const {
  // "Volume: front-left: 19660 /  30% / -31.37 dB, ..."
  std::smatch match;
  const std::string out = pactl("get-sink-volume @DEFAULT_SINK@").value_or("");
  if (!std::regex_search(out, match, std::regex(R"((\d+)%)"))) return -1;
  return std::stoi(match[1]);
}

}  // namespace quorvel::testing
