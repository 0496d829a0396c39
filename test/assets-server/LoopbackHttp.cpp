#include "LoopbackHttp.h"

#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>

#include "ResultsSeal.h"
#include "support/LoopbackSockets.h"

namespace quorvel::testing {

std::string part(const std::string& fileName, const std::string& type, const std::string& content,
                 const std::string& partName) {
  return "\r\n--" + kBoundary + "\r\nContent-Disposition: form-data; name=\"" + partName +
         "\"; filename=\"" + fileName + "\"\r\nContent-Type: " + type + "\r\n\r\n" + content;
}

std::string sealed(const std::string& data, const std::string& appID) {
  return R"({"sha256":")" + ResultsSeal::sha256Hex(data + appID) + R"(", "data": )" + data + "}";
}

std::string request(const std::string& appID, const std::string& body, const std::string& key) {
  return "POST /v3/applications/" + appID + "/asset-upload HTTP/1.1\r\nHost: 127.0.0.1\r\n" +
         "Authorization: Bearer " + key +
         "\r\nContent-Type: multipart/form-data; boundary=" + kBoundary +
         "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

int connectTo(int port, std::chrono::milliseconds bound) {
  int fd = connectToLoopback(port);
  if (fd < 0) return -1;
  auto micros = std::chrono::duration_cast<std::chrono::microseconds>(bound).count();
  timeval limit{static_cast<time_t>(micros / 1000000), static_cast<suseconds_t>(micros % 1000000)};
  setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
  setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
  return fd;
}

std::string roundTrip(int port, const std::string& bytes, const std::string& more) {
  int fd = connectTo(port);
  std::string answer;
  char buffer[4096];
  if (fd >= 0 &&
      send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size())) {
    if (!more.empty()) {
      while (answer.find("\r\n\r\n") == std::string::npos && recv(fd, buffer, 1, 0) == 1) {
        answer += buffer[0];
      }
      send(fd, more.data(), more.size(), MSG_NOSIGNAL);  // may meet a closed connection
    }
    answer += readToEnd(fd);
  }
  if (fd >= 0) close(fd);
  return answer;
}

std::string readToEnd(int fd, bool* closed) {
  std::string answer;
  char buffer[4096];
  ssize_t n;
  while ((n = recv(fd, buffer, sizeof buffer, 0)) > 0) answer.append(buffer, n);
  // A reset closes too; only the bound running out leaves the connection open.
  if (closed) *closed = n == 0 || (errno != EAGAIN && errno != EWOULDBLOCK);
  return answer;
}

std::vector<int> statuses(const std::string& answers) {
  std::vector<int> codes;
  for (std::size_t at = answers.find("HTTP/1.1 "); at != std::string::npos;
       at = answers.find("HTTP/1.1 ", at + 1)) {
    codes.push_back(std::stoi(answers.substr(at + 9, 3)));
  }
  return codes;
}

}  // namespace quorvel::testing
