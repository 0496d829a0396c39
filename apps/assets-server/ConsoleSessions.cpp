#include "ConsoleSessions.h"

#include <openssl/rand.h>

#include <algorithm>
#include <array>

namespace quorvel {

namespace {

// Beyond these, the oldest are dropped: a flood of sign-ins or wrong keys costs bounded memory.
constexpr std::size_t kMaxSessions = 10000;
constexpr std::size_t kMaxClients = 10000;
// A client's wrong keys are forgotten after this long without another.
constexpr auto kFailureMemory = std::chrono::hours(1);

}  // namespace

std::string ConsoleSessions::token() {
  std::array<unsigned char, 32> bytes{};
  if (RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) != 1) return {};
  static constexpr char kHex[] = "0123456789abcdef";
  std::string text;
  for (unsigned char byte : bytes) {
    text += kHex[byte >> 4];
    text += kHex[byte & 15];
  }
  return text;
}

std::optional<ConsoleSessions::Session> ConsoleSessions::begin() {
  Session session{token(), token()};
  if (session.id.empty() || session.csrf.empty()) return std::nullopt;
  const Clock::time_point now = Clock::now();
  std::lock_guard lock(mutex_);
  prune(now);
  if (sessions_.size() >= kMaxSessions) {
    auto oldest = std::min_element(sessions_.begin(), sessions_.end(),
                                   [](auto& a, auto& b) { return a.second.used < b.second.used; });
    sessions_.erase(oldest);
  }
  sessions_[session.id] = Entry{session.csrf, now, now};
  return session;
}

std::optional<ConsoleSessions::Session> ConsoleSessions::find(std::string_view id) {
  const Clock::time_point now = Clock::now();
  std::lock_guard lock(mutex_);
  auto found = sessions_.find(id);
  if (found == sessions_.end()) return std::nullopt;
  Entry& entry = found->second;
  if (now - entry.began >= limits_.lifetime || now - entry.used >= limits_.idle) {
    sessions_.erase(found);
    return std::nullopt;
  }
  entry.used = now;
  return Session{found->first, entry.csrf};
}

void ConsoleSessions::end(std::string_view id) {
  std::lock_guard lock(mutex_);
  if (auto found = sessions_.find(id); found != sessions_.end()) sessions_.erase(found);
}

std::chrono::milliseconds ConsoleSessions::wrongKey(const std::string& client) {
  const Clock::time_point now = Clock::now();
  std::lock_guard lock(mutex_);
  prune(now);
  if (failures_.size() >= kMaxClients && !failures_.contains(client)) failures_.clear();
  Failures& failures = failures_[client];
  failures.last = now;
  // The first wrong key may be a typo; from the second on, 1 s, 2 s, 4 s ... up to the slowest.
  const int doublings = std::min(++failures.count - 2, 30);
  if (doublings < 0) return std::chrono::milliseconds(0);
  return std::min(limits_.slowing * (std::int64_t{1} << doublings), limits_.slowest);
}

void ConsoleSessions::rightKey(const std::string& client) {
  std::lock_guard lock(mutex_);
  failures_.erase(client);
}

void ConsoleSessions::prune(Clock::time_point now) {
  std::erase_if(sessions_, [&](const auto& session) {
    return now - session.second.began >= limits_.lifetime ||
           now - session.second.used >= limits_.idle;
  });
  std::erase_if(failures_,
                [&](const auto& failures) { return now - failures.second.last >= kFailureMemory; });
}

}  // namespace quorvel
