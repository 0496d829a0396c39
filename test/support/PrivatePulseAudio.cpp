#include "support/PrivatePulseAudio.h"

#include <sys/wait.h>

#include <chrono>
#include <cstdio>
#include <regex>
#include <thread>
#include <vector>

namespace quorvel::testing {

namespace {

constexpr auto kStartPatience = std::chrono::seconds(10);

}  // namespace

PrivatePulseAudio::PrivatePulseAudio() {
  const std::string dir = folder_.path().string();
  server_ = "unix:" + dir + "/native";
  // Its own runtime folder and home, so that it neither meets nor replaces a running server.
  std::vector<std::string> environment = {"HOME=" + dir, "XDG_RUNTIME_DIR=" + dir,
                                          "PULSE_RUNTIME_PATH=" + dir + "/runtime",
                                          "PATH=/usr/bin:/bin"};
  std::vector<std::string> arguments = {
      "pulseaudio",
      "-n",
      "--daemonize=no",
      "--exit-idle-time=-1",
      "--use-pid-file=false",
      "--log-target=file:" + dir + "/log",
      "--load=module-native-protocol-unix auth-anonymous=1 socket=" + dir + "/native",
      "--load=module-null-sink sink_name=quorvel_null"};
  serverProcess_ = ChildProcess(arguments, {.output = {}, .environment = environment});
  if (!serverProcess_.started()) {
    problem_ = "pulseaudio could not start; scripts/install-deps installs it";
    return;
  }
  const auto deadline = std::chrono::steady_clock::now() + kStartPatience;
  for (;;) {
    int status = -1;
    pactl("info", &status);
    if (status == 0) return;
    if (serverProcess_.exited()) {
      problem_ = "pulseaudio exited at start; see its log in " + dir;
      return;
    }
    if (std::chrono::steady_clock::now() > deadline) {
      problem_ = "pulseaudio did not answer within 10 s";
      return;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
}

PrivatePulseAudio::~PrivatePulseAudio() { stop(); }

void PrivatePulseAudio::stop() { serverProcess_.stop(kStartPatience); }

std::string PrivatePulseAudio::pactl(const std::string& arguments, int* status) const {
  const std::string command = "pactl --server='" + server_ + "' " + arguments + " 2>/dev/null";
  std::FILE* pipe = popen(command.c_str(), "r");
  if (!pipe) return {};
  std::string out;
  char buffer[512];
  for (std::size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) out.append(buffer, n);
  const int result = pclose(pipe);
  if (status) *status = WIFEXITED(result) ? WEXITSTATUS(result) : -1;
  return out;
}

bool PrivatePulseAudio::setSinkVolume(int percent) const {
  int status = -1;
  pactl("set-sink-volume @DEFAULT_SINK@ " + std::to_string(percent) + "%", &status);
  return status == 0;
}

int PrivatePulseAudio::sinkVolume() const {
  // "Volume: front-left: 19660 /  30% / -31.37 dB, ..."
  std::smatch match;
  const std::string out = pactl("get-sink-volume @DEFAULT_SINK@");
  if (!std::regex_search(out, match, std::regex(R"((\d+)%)"))) return -1;
  return std::stoi(match[1]);
}

}  // namespace quorvel::testing
