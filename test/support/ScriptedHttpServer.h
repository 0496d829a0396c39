#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
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
    // stall answers nothing until the peer hangs up (or the server stops).
    enum class Kind { send, resetMidBody, stall };
    Kind kind = Kind::send;
    std::string bytes;  // the raw answer (send) or what goes out before the reset
    // Answers once the head is in, the body unread: then reads it away until the peer hangs up
    // (send), or resets with it unread.
    bool beforeBody = false;
    // The answer goes out in this many pieces, gap apart.
    int pieces = 1;
    std::chrono::milliseconds gap{0};

    // A whole answer with Content-Length, and Connection: close.
    static Reply answer(int status, const std::string& body, const std::string& headers = "");
    static Reply json(int status, const std::string& body);
    static Reply resetAfterHeaders();
    static Reply stall();
    // body gzip-compressed, sent with Content-Encoding: gzip.
    static Reply gzipJson(int status, const std::string& body);
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
  void waitForHangUp(int connection, std::chrono::milliseconds budget);

  int listener_ = -1;
  std::uint16_t port_ = 0;
  std::thread thread_;
  mutable std::mutex mutex_;
  std::atomic<bool> stopping_{false};
  std::deque<Reply> replies_;
  std::vector<Request> requests_;
};

}  // namespace quorvel::testing
