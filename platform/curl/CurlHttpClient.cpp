#include "curl/CurlHttpClient.h"

#include <curl/curl.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>

#include "quorvel/Version.h"

namespace quorvel {

namespace {

using SteadyClock = std::chrono::steady_clock;

void initialiseCurlOnce() {
  static std::once_flag once;
  std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

}  // namespace

// State both the client and its tasks reach; a task may outlive the client.
struct CurlHttpClient::Shared {
  std::mutex mutex;
  CURLM* multi = nullptr;  // null once the client is gone
  std::vector<std::shared_ptr<Transfer>> incoming;
  bool stopping = false;

  void wake() {
    std::lock_guard lock(mutex);
    if (multi != nullptr) curl_multi_wakeup(multi);
  }
};

struct CurlHttpClient::Transfer {
  HttpRequest request;
  HttpCompletion completion;
  std::size_t maxResponseBytes = 0;
  std::atomic<bool> cancelled{false};

  // Worker-thread state.
  CURL* easy = nullptr;
  curl_slist* headers = nullptr;
  int fd = -1;
  std::uint64_t position = 0;
  std::uint64_t total = 0;
  HttpResponse response;
  std::string failure;  // why a callback stopped the transfer
  SteadyClock::time_point lastActivity = SteadyClock::now();
  char errorBuffer[CURL_ERROR_SIZE] = {};

  ~Transfer() {
    if (fd >= 0) ::close(fd);
    if (headers != nullptr) curl_slist_free_all(headers);
    if (easy != nullptr) curl_easy_cleanup(easy);
  }

  SteadyClock::time_point deadline() const { return lastActivity + request.timeout; }

  // Serves prefix, content, then suffix; the content from memory or straight from the file.
  std::size_t read(char* buffer, std::size_t capacity) {
    lastActivity = SteadyClock::now();
    const std::uint64_t prefixEnd = request.bodyPrefix.size();
    const std::uint64_t contentEnd = total - request.bodySuffix.size();
    std::size_t written = 0;
    while (written < capacity && position < total) {
      std::size_t room = capacity - written;
      if (position < prefixEnd) {
        std::size_t n = std::min<std::uint64_t>(room, prefixEnd - position);
        std::memcpy(buffer + written, request.bodyPrefix.data() + position, n);
        written += n;
        position += n;
      } else if (position < contentEnd) {
        std::uint64_t offset = position - prefixEnd;
        std::size_t n = std::min<std::uint64_t>(room, contentEnd - position);
        if (!request.bodyFile) {
          std::memcpy(buffer + written, request.bodyBytes.data() + offset, n);
        } else {
          ssize_t got = ::pread(fd, buffer + written, n, static_cast<off_t>(offset));
          if (got < 0 && errno == EINTR) continue;
          if (got <= 0) {
            failure =
                got < 0
                    ? "cannot read " + request.bodyFile->path + ": " + std::strerror(errno)
                    : "the file " + request.bodyFile->path + " became shorter during the upload";
            return CURL_READFUNC_ABORT;
          }
          n = static_cast<std::size_t>(got);
        }
        written += n;
        position += n;
      } else {
        std::uint64_t offset = position - contentEnd;
        std::size_t n = std::min<std::uint64_t>(room, total - position);
        std::memcpy(buffer + written, request.bodySuffix.data() + offset, n);
        written += n;
        position += n;
      }
    }
    return written;
  }

  static std::size_t onRead(char* buffer, std::size_t size, std::size_t count, void* user) {
    return static_cast<Transfer*>(user)->read(buffer, size * count);
  }

  static int onSeek(void* user, curl_off_t offset, int origin) {
    auto* self = static_cast<Transfer*>(user);
    if (origin != SEEK_SET || offset < 0 || static_cast<std::uint64_t>(offset) > self->total) {
      return CURL_SEEKFUNC_CANTSEEK;
    }
    self->position = static_cast<std::uint64_t>(offset);
    return CURL_SEEKFUNC_OK;
  }

  static std::size_t onWrite(char* data, std::size_t size, std::size_t count, void* user) {
    return static_cast<Transfer*>(user)->write(data, size * count);
  }

  static std::size_t onHeader(char*, std::size_t size, std::size_t count, void* user) {
    static_cast<Transfer*>(user)->lastActivity = SteadyClock::now();
    return size * count;
  }

  std::size_t write(const char* data, std::size_t size) {
    lastActivity = SteadyClock::now();
    if (response.body.size() + size > maxResponseBytes) {
      failure = "the response is larger than " + std::to_string(maxResponseBytes) + " bytes";
      return 0;  // makes curl fail the transfer
    }
    response.body.insert(response.body.end(), data, data + size);
    return size;
  }
};

class CurlHttpClient::Task : public HttpTask {
 public:
  Task(std::weak_ptr<Transfer> transfer, std::weak_ptr<Shared> shared)
      : transfer_(std::move(transfer)), shared_(std::move(shared)) {}

  void cancel() override {
    auto transfer = transfer_.lock();
    if (!transfer) return;
    transfer->cancelled = true;
    if (auto shared = shared_.lock()) shared->wake();
  }

 private:
  std::weak_ptr<Transfer> transfer_;
  std::weak_ptr<Shared> shared_;
};

CurlHttpClient::CurlHttpClient() : CurlHttpClient(Options{}) {}

CurlHttpClient::CurlHttpClient(Options options)
    : options_(options), shared_(std::make_shared<Shared>()) {
  initialiseCurlOnce();
  shared_->multi = curl_multi_init();
}

CurlHttpClient::~CurlHttpClient() {
  {
    std::lock_guard lock(shared_->mutex);
    shared_->stopping = true;
    curl_multi_wakeup(shared_->multi);
  }
  if (worker_.joinable()) worker_.join();
  for (auto& transfer : active_) curl_multi_remove_handle(shared_->multi, transfer->easy);
  active_.clear();
  std::lock_guard lock(shared_->mutex);
  shared_->incoming.clear();
  curl_multi_cleanup(shared_->multi);
  shared_->multi = nullptr;
}

std::shared_ptr<HttpTask> CurlHttpClient::send(HttpRequest request, HttpCompletion completion) {
  auto transfer = std::make_shared<Transfer>();
  transfer->request = std::move(request);
  transfer->completion = std::move(completion);
  transfer->maxResponseBytes = options_.maxResponseBytes;
  {
    std::lock_guard lock(shared_->mutex);
    shared_->incoming.push_back(transfer);
    curl_multi_wakeup(shared_->multi);
  }
  // The worker starts with the first request: platforms are often made only to be replaced.
  std::call_once(workerStarted_, [this] { worker_ = std::thread([this] { run(); }); });
  return std::make_shared<Task>(transfer, shared_);
}

bool CurlHttpClient::start(const std::shared_ptr<Transfer>& transfer) {
  Transfer& t = *transfer;
  const HttpRequest& request = t.request;
  if (request.bodyFile) {
    t.fd = ::open(request.bodyFile->path.c_str(), O_RDONLY | O_CLOEXEC);
    if (t.fd < 0) {
      finish(transfer, "cannot read " + request.bodyFile->path + ": " + std::strerror(errno));
      return false;
    }
    ::posix_fadvise(t.fd, 0, 0, POSIX_FADV_SEQUENTIAL);
  }
  t.total = request.contentLength();
  t.lastActivity = SteadyClock::now();
  t.easy = curl_easy_init();
  CURL* easy = t.easy;
  curl_easy_setopt(easy, CURLOPT_PRIVATE, transfer.get());
  curl_easy_setopt(easy, CURLOPT_URL, request.url.c_str());
  curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
  curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(easy, CURLOPT_SSL_VERIFYPEER, 1L);
  curl_easy_setopt(easy, CURLOPT_SSL_VERIFYHOST, 2L);
  curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, t.errorBuffer);
  curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(request.timeout.count()));
  // Redirects are answers, never followed: a 301/302/303 would turn the POST into a GET without
  // its body, a 307/308 would resend the whole body (and the bearer key) to wherever the peer
  // points, and an upload endpoint has no reason to move. The caller sees the 3xx itself.
  curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 0L);
  // Offers every encoding this curl decodes and hands back the decoded bytes, so a compressed
  // answer reads as the text it carries; maxResponseBytes counts decoded bytes, which bounds a
  // small body that inflates hugely.
  curl_easy_setopt(easy, CURLOPT_ACCEPT_ENCODING, "");
  static const std::string userAgent = std::string("Quorvel/") + QuorvelVersionString;
  curl_easy_setopt(easy, CURLOPT_USERAGENT, userAgent.c_str());
  curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &Transfer::onWrite);
  curl_easy_setopt(easy, CURLOPT_WRITEDATA, transfer.get());
  curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, &Transfer::onHeader);
  curl_easy_setopt(easy, CURLOPT_HEADERDATA, transfer.get());
  if (request.method == "GET" && t.total == 0) {
    curl_easy_setopt(easy, CURLOPT_HTTPGET, 1L);
  } else {
    curl_easy_setopt(easy, CURLOPT_POST, 1L);
    if (request.method != "POST") {
      curl_easy_setopt(easy, CURLOPT_CUSTOMREQUEST, request.method.c_str());
    }
    // A known size makes curl send one Content-Length and no chunked encoding.
    curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(t.total));
    curl_easy_setopt(easy, CURLOPT_READFUNCTION, &Transfer::onRead);
    curl_easy_setopt(easy, CURLOPT_READDATA, transfer.get());
    curl_easy_setopt(easy, CURLOPT_SEEKFUNCTION, &Transfer::onSeek);
    curl_easy_setopt(easy, CURLOPT_SEEKDATA, transfer.get());
    curl_easy_setopt(easy, CURLOPT_UPLOAD_BUFFERSIZE, static_cast<long>(options_.uploadBufferSize));
  }
  for (const auto& [name, value] : request.headers) {
    t.headers = curl_slist_append(t.headers, (name + ": " + value).c_str());
  }
  // Without this curl waits for a 100 Continue above 1 MiB, which most servers never send.
  t.headers = curl_slist_append(t.headers, "Expect:");
  curl_easy_setopt(easy, CURLOPT_HTTPHEADER, t.headers);
  curl_multi_add_handle(shared_->multi, easy);
  active_.push_back(transfer);
  return true;
}

void CurlHttpClient::finish(const std::shared_ptr<Transfer>& transfer,
                            std::optional<std::string> error) {
  if (transfer->easy != nullptr) curl_multi_remove_handle(shared_->multi, transfer->easy);
  std::erase(active_, transfer);
  auto completion = std::move(transfer->completion);
  transfer->completion = nullptr;
  if (!completion) return;
  if (error) {
    completion(std::nullopt, std::move(error));
  } else {
    completion(std::move(transfer->response), std::nullopt);
  }
}

void CurlHttpClient::run() {
  CURLM* multi = shared_->multi;
  for (;;) {
    std::vector<std::shared_ptr<Transfer>> arrived;
    {
      std::lock_guard lock(shared_->mutex);
      if (shared_->stopping) return;
      arrived.swap(shared_->incoming);
    }
    for (auto& transfer : arrived) {
      if (transfer->cancelled) {
        finish(transfer, "cancelled");
      } else {
        start(transfer);
      }
    }

    int running = 0;
    curl_multi_perform(multi, &running);
    int queued = 0;
    while (CURLMsg* message = curl_multi_info_read(multi, &queued)) {
      if (message->msg != CURLMSG_DONE) continue;
      Transfer* raw = nullptr;
      curl_easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &raw);
      auto found = std::find_if(active_.begin(), active_.end(),
                                [raw](const auto& t) { return t.get() == raw; });
      if (found == active_.end()) continue;
      std::shared_ptr<Transfer> transfer = *found;
      CURLcode result = message->data.result;
      if (result == CURLE_OK) {
        long status = 0;
        curl_easy_getinfo(transfer->easy, CURLINFO_RESPONSE_CODE, &status);
        transfer->response.statusCode = static_cast<int>(status);
        finish(transfer, std::nullopt);
      } else if (!transfer->failure.empty()) {
        finish(transfer, transfer->failure);
      } else {
        finish(transfer, transfer->errorBuffer[0] != '\0'
                             ? std::string(transfer->errorBuffer)
                             : std::string(curl_easy_strerror(result)));
      }
    }

    // Cancellations and idle time-outs; the nearest deadline bounds the wait.
    auto now = SteadyClock::now();
    auto wait = std::chrono::milliseconds(1000);
    for (auto& transfer : std::vector(active_)) {
      if (transfer->cancelled) {
        finish(transfer, "cancelled");
      } else if (now >= transfer->deadline()) {
        finish(transfer, "The request timed out.");
      } else {
        wait = std::min(wait,
                        std::chrono::ceil<std::chrono::milliseconds>(transfer->deadline() - now));
      }
    }
    curl_multi_poll(multi, nullptr, 0, static_cast<int>(wait.count()), nullptr);
  }
}

}  // namespace quorvel
