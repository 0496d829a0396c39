#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace quorvel::testing {

// A one-connection-at-a-time HTTP peer on 127.0.0.1 that records each request's raw bytes and
// answers as scripted, including the misbehaviour a real server cannot be made to show.
class ScriptedHttpServer {
 public:
  struct Reply {
    enum class Kind { send, resetMidBody, stall };
    Kind kind = Kind::send;
    std::string bytes;  // the raw answer (send) or what goes out before the reset

    static Reply json(int status, const std::string& body);
    static Reply raw(std::string bytes) { return Reply{Kind::send, std::move(bytes)}; }
    static Reply resetAfterHeaders();
    static Reply stall() { return Reply{Kind::stall, {}}; }
  };

  struct Request {
    std::string head;  // request line and headers, up to the empty line
    std::string body;
    std::string header(const std::string& name) const;  // first value, "" when absent
    int headerCount(const std::string& name) const;
  };

  ScriptedHttpServer();
  ~ScriptedHttpServer();

  // Replies are used in order; the last one repeats.
  void script(std::vector<Reply> replies);
  std::uint16_t port() const { return port_; }
  std::string origin() const { return "http://127.0.0.1:" + std::to_string(port_); }
  std::vector<Request> requests() const;

  // A loopback port with nothing listening on it.
  static std::uint16_t closedPort();

 private:
  void serve();
  void handle(int connection);

  int listener_ = -1;
  std::uint16_t port_ = 0;
  std::thread thread_;
  mutable std::mutex mutex_;
  std::condition_variable stopped_;
  bool stopping_ = false;
  std::deque<Reply> replies_;
  std::vector<Request> requests_;
};

}  // namespace quorvel::testing
