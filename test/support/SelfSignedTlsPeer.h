#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <thread>

namespace quorvel::testing {

// A TLS acceptor on 127.0.0.1 whose certificate is self-signed, made afresh with OpenSSL: a client
// that verifies its peer must refuse it. It only shakes hands; it counts the handshakes that
// completed, through which a request could have gone out.
class SelfSignedTlsPeer {
 public:
  SelfSignedTlsPeer();
  ~SelfSignedTlsPeer();
  SelfSignedTlsPeer(const SelfSignedTlsPeer&) = delete;
  SelfSignedTlsPeer& operator=(const SelfSignedTlsPeer&) = delete;

  std::string origin() const { return "https://127.0.0.1:" + std::to_string(port_); }
  int handshakesAttempted() const { return attempted_; }
  int handshakesCompleted() const { return completed_; }

 private:
  void serve();

  void* context_ = nullptr;  // SSL_CTX, kept out of this header
  int listener_ = -1;
  std::uint16_t port_ = 0;
  std::atomic<bool> stopping_{false};
  std::atomic<int> attempted_{0};
  std::atomic<int> completed_{0};
  std::thread thread_;
};

}  // namespace quorvel::testing
