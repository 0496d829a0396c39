#include "support/ScriptedHttpServer.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <stdexcept>
#include <thread>

#include "support/LoopbackSockets.h"

namespace quorvel::testing {

namespace {

std::string lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

void sendAll(int fd, const std::string& bytes) {
  std::size_t sent = 0;
  while (sent < bytes.size()) {
    ssize_t n = ::send(fd, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    if (n <= 0) return;
    sent += static_cast<std::size_t>(n);
  }
}

}  // namespace

ScriptedHttpServer::Reply ScriptedHttpServer::Reply::answer(int status, const std::string& body,
                                                            const std::string& headers) {
  return {.bytes = "HTTP/1.1 " + std::to_string(status) + " Scripted\r\n" + headers +
                   "Content-Length: " + std::to_string(body.size()) +
                   "\r\nConnection: close\r\n\r\n" + body};
}

ScriptedHttpServer::Reply ScriptedHttpServer::Reply::json(int status, const std::string& body) {
  return answer(status, body, "Content-Type: application/json\r\n");
}

ScriptedHttpServer::Reply ScriptedHttpServer::Reply::resetAfterHeaders() {
  return {.kind = Kind::resetMidBody,
          .bytes =
              "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: 100\r\n"
              "\r\n{\"url\": \"http://127.0.0.1/"};
}

ScriptedHttpServer::Reply ScriptedHttpServer::Reply::stall() {
  return {.kind = Kind::stall, .bytes = ""};
}

ScriptedHttpServer::Reply ScriptedHttpServer::Reply::gzipJson(int status, const std::string& body) {
  z_stream stream{};
  // 16 + 15 window bits: a gzip wrapper rather than zlib's own.
  if (deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, 16 + 15, 8, Z_DEFAULT_STRATEGY) !=
      Z_OK) {
    throw std::runtime_error("deflateInit2 failed");
  }
  std::string packed(deflateBound(&stream, body.size()), '\0');
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(body.data()));
  stream.avail_in = static_cast<uInt>(body.size());
  stream.next_out = reinterpret_cast<Bytef*>(packed.data());
  stream.avail_out = static_cast<uInt>(packed.size());
  const int result = deflate(&stream, Z_FINISH);
  packed.resize(stream.total_out);
  deflateEnd(&stream);
  if (result != Z_STREAM_END) throw std::runtime_error("deflate failed");
  return answer(status, packed, "Content-Type: application/json\r\nContent-Encoding: gzip\r\n");
}

// The values of the header lines called name, in order.
static std::vector<std::string> values(const std::string& head, const std::string& name) {
  const std::string wanted = "\r\n" + lower(name) + ":";
  const std::string text = lower(head);
  std::vector<std::string> found;
  for (std::size_t at = text.find(wanted); at != std::string::npos;
       at = text.find(wanted, at + 1)) {
    const std::size_t start =
        std::min(head.find_first_not_of(' ', at + wanted.size()), head.size());
    found.push_back(head.substr(start, head.find("\r\n", start) - start));
  }
  return found;
}

std::string ScriptedHttpServer::Request::header(const std::string& name) const {
  auto found = values(head, name);
  return found.empty() ? "" : found.front();
}

int ScriptedHttpServer::Request::headerCount(const std::string& name) const {
  return static_cast<int>(values(head, name).size());
}

ScriptedHttpServer::ScriptedHttpServer() {
  listener_ = listenOnLoopback(port_);
  if (listener_ < 0) throw std::runtime_error("cannot listen on 127.0.0.1");
  replies_.push_back(Reply::json(200, "{}"));
  thread_ = std::thread([this] { serve(); });
}

ScriptedHttpServer::~ScriptedHttpServer() {
  stopping_ = true;
  ::shutdown(listener_, SHUT_RDWR);
  thread_.join();
  ::close(listener_);
}

void ScriptedHttpServer::script(std::vector<Reply> replies) {
  std::lock_guard lock(mutex_);
  replies_.assign(replies.begin(), replies.end());
}

std::vector<ScriptedHttpServer::Request> ScriptedHttpServer::requests() const {
  std::lock_guard lock(mutex_);
  return requests_;
}

std::uint16_t ScriptedHttpServer::closedPort() {
  std::uint16_t port = 0;
  ::close(listenOnLoopback(port));
  return port;
}

void ScriptedHttpServer::serve() {
  for (;;) {
    pollfd waiting{listener_, POLLIN, 0};
    if (::poll(&waiting, 1, 100) < 0 || stopping_) return;
    if ((waiting.revents & POLLIN) == 0) continue;
    int connection = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (connection < 0) continue;
    handle(connection);
  }
}

// Reads away whatever the peer still sends until it hangs up, the server stops or budget is spent.
void ScriptedHttpServer::waitForHangUp(int connection, std::chrono::milliseconds budget) {
  auto until = std::chrono::steady_clock::now() + budget;
  char sink[65536];
  while (std::chrono::steady_clock::now() < until && !stopping_) {
    pollfd waiting{connection, POLLIN, 0};
    if (::poll(&waiting, 1, 50) < 0) return;
    if (waiting.revents != 0 && ::recv(connection, sink, sizeof sink, 0) <= 0) return;
  }
}

void ScriptedHttpServer::handle(int connection) {
  Reply reply;
  {
    std::lock_guard lock(mutex_);
    reply = replies_.front();
    if (replies_.size() > 1) replies_.pop_front();
  }
  // Read the head, then (unless answering first) exactly Content-Length bytes of body.
  std::string data;
  char buffer[65536];
  std::size_t headEnd = std::string::npos;
  std::size_t wanted = 0;
  Request request;
  std::size_t recorded = 0;
  while (headEnd == std::string::npos ||
         (!reply.beforeBody && data.size() < headEnd + 4 + wanted)) {
    ssize_t n = ::recv(connection, buffer, sizeof buffer, 0);
    if (n <= 0) break;
    data.append(buffer, static_cast<std::size_t>(n));
    if (headEnd == std::string::npos && (headEnd = data.find("\r\n\r\n")) != std::string::npos) {
      request.head = data.substr(0, headEnd);
      std::string length = request.header("Content-Length");
      wanted = length.empty() ? 0 : std::stoull(length);
      // Recorded once the head is in: a client that gives up mid-body has still been heard.
      std::lock_guard lock(mutex_);
      recorded = requests_.size();
      requests_.push_back(request);
    }
  }
  {
    std::lock_guard lock(mutex_);
    if (headEnd == std::string::npos) {
      requests_.push_back(request);
    } else {
      requests_[recorded].body = data.substr(headEnd + 4, wanted);
    }
  }
  if (reply.kind == Reply::Kind::stall) {
    waitForHangUp(connection, std::chrono::seconds(30));
    ::close(connection);
    return;
  }
  const std::size_t piece = reply.bytes.size() / std::max(reply.pieces, 1) + 1;
  for (std::size_t at = 0; at < reply.bytes.size(); at += piece) {
    if (at > 0) std::this_thread::sleep_for(reply.gap);
    sendAll(connection, reply.bytes.substr(at, piece));
  }
  if (reply.kind == Reply::Kind::send) {
    ::shutdown(connection, SHUT_WR);
    // Closing with the body unread would reset the connection under the answer.
    if (reply.beforeBody) waitForHangUp(connection, std::chrono::seconds(10));
  } else {
    // A zero linger time makes close() send a reset instead of an orderly end.
    linger hard{1, 0};
    ::setsockopt(connection, SOL_SOCKET, SO_LINGER, &hard, sizeof hard);
  }
  ::close(connection);
}

}  // namespace quorvel::testing
