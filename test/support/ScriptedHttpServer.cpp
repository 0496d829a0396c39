#include "support/ScriptedHttpServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <stdexcept>

namespace quorvel::testing {

namespace {

std::string lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

int listenOnLoopback(std::uint16_t& port) {
  int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  if (fd < 0 || ::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
      ::listen(fd, 8) != 0 ||
      ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
    throw std::runtime_error("cannot listen on 127.0.0.1");
  }
  port = ntohs(address.sin_port);
  return fd;
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

ScriptedHttpServer::Reply ScriptedHttpServer::Reply::json(int status, const std::string& body) {
  return raw("HTTP/1.1 " + std::to_string(status) +
             " Scripted\r\nContent-Type: application/json\r\nContent-Length: " +
             std::to_string(body.size()) + "\r\nConnection: close\r\n\r\n" + body);
}

ScriptedHttpServer::Reply ScriptedHttpServer::Reply::resetAfterHeaders() {
  return Reply{Kind::resetMidBody,
               "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: 100\r\n\r\n"
               "{\"url\": \"http://127.0.0.1/"};
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
  replies_.push_back(Reply::json(200, "{}"));
  thread_ = std::thread([this] { serve(); });
}

ScriptedHttpServer::~ScriptedHttpServer() {
  {
    std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  stopped_.notify_all();
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
    if (::poll(&waiting, 1, 100) < 0) return;
    {
      std::lock_guard lock(mutex_);
      if (stopping_) return;
    }
    if ((waiting.revents & POLLIN) == 0) continue;
    int connection = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (connection < 0) continue;
    handle(connection);
  }
}

void ScriptedHttpServer::handle(int connection) {
  // Read the head, then exactly Content-Length bytes of body.
  std::string data;
  char buffer[65536];
  std::size_t headEnd = std::string::npos;
  std::size_t wanted = 0;
  Request request;
  for (;;) {
    if (headEnd != std::string::npos && data.size() >= headEnd + 4 + wanted) break;
    ssize_t n = ::recv(connection, buffer, sizeof buffer, 0);
    if (n <= 0) break;
    data.append(buffer, static_cast<std::size_t>(n));
    if (headEnd == std::string::npos && (headEnd = data.find("\r\n\r\n")) != std::string::npos) {
      request.head = data.substr(0, headEnd);
      std::string length = request.header("Content-Length");
      wanted = length.empty() ? 0 : std::stoull(length);
    }
  }
  if (headEnd != std::string::npos) request.body = data.substr(headEnd + 4, wanted);
  Reply reply;
  {
    std::lock_guard lock(mutex_);
    requests_.push_back(request);
    reply = replies_.front();
    if (replies_.size() > 1) replies_.pop_front();
  }
  if (reply.kind == Reply::Kind::stall) {
    std::unique_lock lock(mutex_);
    stopped_.wait_for(lock, std::chrono::seconds(30), [this] { return stopping_; });
  } else if (sendAll(connection, reply.bytes); reply.kind == Reply::Kind::send) {
    ::shutdown(connection, SHUT_WR);
  } else {
    // A zero linger time makes close() send a reset instead of an orderly end.
    linger hard{1, 0};
    ::setsockopt(connection, SOL_SOCKET, SO_LINGER, &hard, sizeof hard);
  }
  ::close(connection);
}

}  // namespace quorvel::testing
