#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace quorvel {

// The console's signed-in sessions, kept in memory only (a restart signs everyone out), and the
// slowing of wrong keys per client address. Safe to use from several threads at once.
class ConsoleSessions {
 public:
  using Clock = std::chrono::steady_clock;

  struct Limits {
    // A session ends this long after its sign-in, whatever its use.
    std::chrono::milliseconds lifetime{std::chrono::hours(8)};
    // And when unused this long.
    std::chrono::milliseconds idle{std::chrono::minutes(30)};
    // The delay of the second wrong key in a row; each further one doubles it, up to slowest.
    std::chrono::milliseconds slowing{std::chrono::seconds(1)};
    std::chrono::milliseconds slowest{std::chrono::seconds(30)};
  };

  struct Session {
    std::string id;
    // The token every form of this session carries.
    std::string csrf;
  };

  explicit ConsoleSessions(Limits limits) : limits_(limits) {}

  // 256 random bits as hex, from OpenSSL's generator; empty when it failed.
  static std::string token();

  // A new session; nothing when no token could be made.
  std::optional<Session> begin();
  // The live session with that id, its idle time restarted; nothing for an unknown, ended or
  // expired id.
  std::optional<Session> find(std::string_view id);
  void end(std::string_view id);

  // A wrong key from client: how long its answer waits.
  std::chrono::milliseconds wrongKey(const std::string& client);
  // A right key from client: its slowing starts over.
  void rightKey(const std::string& client);

 private:
  struct Entry {
    std::string csrf;
    Clock::time_point began;
    Clock::time_point used;
  };
  struct Failures {
    int count = 0;
    Clock::time_point last;
  };

  // Drops what has expired, so that neither table grows without bound.
  void prune(Clock::time_point now);

  const Limits limits_;
  std::mutex mutex_;
  std::map<std::string, Entry, std::less<>> sessions_;
  std::map<std::string, Failures> failures_;
};

}  // namespace quorvel
