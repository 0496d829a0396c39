#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "quorvel/Export.h"

namespace quorvel {

// A file streamed as part of a request body: exactly `size` bytes from its start. A file that
// holds fewer bytes when they are read fails the request instead of sending a short body.
struct QUORVEL_EXPORT HttpFileContent {
  std::string path;
  std::uint64_t size = 0;
};

// A request whose body is prefix + content + suffix, where the content is held in memory or
// streamed from a file, so a large file is never loaded whole.
struct QUORVEL_EXPORT HttpRequest {
  std::string method = "POST";
  std::string url;
  std::vector<std::pair<std::string, std::string>> headers;
  std::string bodyPrefix;
  std::vector<std::uint8_t> bodyBytes;
  std::optional<HttpFileContent> bodyFile;  // when set, bodyBytes is not used
  std::string bodySuffix;
  // Longest time without any progress (connecting, sending or receiving) before giving up.
  std::chrono::milliseconds timeout{60000};

  std::uint64_t contentLength() const {
    return bodyPrefix.size() + (bodyFile ? bodyFile->size : bodyBytes.size()) + bodySuffix.size();
  }
};

struct QUORVEL_EXPORT HttpResponse {
  int statusCode = 0;
  std::vector<std::uint8_t> body;  // empty when the server sent none
};

// The answer of one request: a response, or an error text (transport failure, time-out,
// cancellation, unreadable body file).
using HttpCompletion =
    std::function<void(std::optional<HttpResponse> response, std::optional<std::string> error)>;

class QUORVEL_EXPORT HttpTask {
 public:
  virtual ~HttpTask() = default;
  // Stops the request promptly; its completion then reports an error unless it already ran.
  virtual void cancel() = 0;
};

// Sends requests in the background. Completions run on the client's own thread, never on the
// main queue: callers hop to the main queue before touching shared state. A redirect is an answer
// like any other (never followed); a compressed answer's body arrives decoded.
class QUORVEL_EXPORT HttpClient {
 public:
  virtual ~HttpClient() = default;
  virtual std::shared_ptr<HttpTask> send(HttpRequest request, HttpCompletion completion) = 0;
};

}  // namespace quorvel
