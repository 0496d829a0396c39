#include "AssetsServer.h"

#include <httplib.h>
#include <openssl/crypto.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <optional>
#include <regex>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <utility>

#include "ResultsSeal.h"

namespace quorvel {

namespace {

constexpr std::string_view kUploadPrefix = "/v3/applications/";
constexpr std::string_view kUploadSuffix = "/asset-upload";
constexpr std::string_view kAssetPrefix = "/assets/";
// httplib matches its routes against the percent-decoded path, which may hold any byte.
const char* const kUploadPattern = R"(/v3/applications/[\s\S]+/asset-upload)";
const char* const kAssetPattern = R"(/assets/([^/]+)/([^/]+))";
constexpr std::string_view kDefaultMediaType = "application/octet-stream";
// A results document is small; a larger one is not read back to check its seal.
constexpr std::uintmax_t kMaxSealedDocumentBytes = 64 << 20;

using httplib::Request;
using httplib::Response;

void reply(Response& response, int status, const nlohmann::json& body) {
  response.status = status;
  response.set_content(body.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace),
                       "application/json");
}

void refuse(Response& response, int status, const std::string& message) {
  reply(response, status, {{"error", message}});
}

// The path of the request target as sent: neither decoded nor with its query.
std::string_view rawPath(const Request& request) {
  std::string_view target = request.target;
  return target.substr(0, target.find('?'));
}

// The app ID of an upload path, or nothing for any other path.
std::optional<std::string_view> uploadAppID(std::string_view path) {
  if (path.size() <= kUploadPrefix.size() + kUploadSuffix.size() ||
      !path.starts_with(kUploadPrefix) || !path.ends_with(kUploadSuffix)) {
    return std::nullopt;
  }
  return path.substr(kUploadPrefix.size(),
                     path.size() - kUploadPrefix.size() - kUploadSuffix.size());
}

bool isAssetPath(const std::string& path) {
  static const std::regex pattern(kAssetPattern);
  return std::regex_match(path, pattern);
}

bool startsWithIgnoringCase(std::string_view text, std::string_view prefix) {
  return text.size() >= prefix.size() &&
         std::equal(prefix.begin(), prefix.end(), text.begin(), [](char a, char b) {
           return std::tolower(static_cast<unsigned char>(a)) ==
                  std::tolower(static_cast<unsigned char>(b));
         });
}

// A plain decimal Content-Length; signs, spaces and lists are refused rather than guessed at.
std::optional<std::uint64_t> contentLength(const Request& request) {
  if (request.get_header_value_count("Content-Length") != 1) return std::nullopt;
  std::string text = request.get_header_value("Content-Length");
  if (text.empty() || text.size() > 18) return std::nullopt;
  std::uint64_t value = 0;
  for (char c : text) {
    if (c < '0' || c > '9') return std::nullopt;
    value = value * 10 + static_cast<std::uint64_t>(c - '0');
  }
  return value;
}

// What the part declared, if it can travel back in a header line.
std::string mediaTypeOf(const httplib::MultipartFormData& part) {
  const std::string& type = part.content_type;
  bool printable =
      !type.empty() && type.size() <= 255 &&
      std::all_of(type.begin(), type.end(), [](char c) { return c >= 0x20 && c < 0x7F; });
  return printable ? type : std::string(kDefaultMediaType);
}

std::string utcNow() {
  auto now = std::chrono::system_clock::now();
  std::time_t seconds = std::chrono::system_clock::to_time_t(now);
  auto millis =
      std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()) % 1000;
  std::tm utc{};
  gmtime_r(&seconds, &utc);
  std::array<char, 32> text{};
  std::size_t length = std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &utc);
  std::snprintf(text.data() + length, text.size() - length, ".%03dZ",
                static_cast<int>(millis.count()));
  return text.data();
}

bool sealIsValid(const std::filesystem::path& file, std::uint64_t size, std::string_view appID) {
  if (size > kMaxSealedDocumentBytes) return false;
  std::ifstream in(file, std::ios::binary);
  std::string document(size, '\0');
  if (!in.read(document.data(), static_cast<std::streamsize>(size))) return false;
  return ResultsSeal::verify(document, appID);
}

// Request targets are client text: keep control characters out of the log.
std::string printable(std::string_view text) {
  std::string out(text);
  for (char& c : out) {
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = '?';
  }
  return out;
}

}  // namespace

AssetsServer::AssetsServer(Options options)
    : options_(std::move(options)), store_(options_.storage) {}

AssetsServer::~AssetsServer() { stop(); }

int AssetsServer::start(const std::string& host, int port) {
  if (server_) throw std::logic_error("the assets server is already running");
  if (options_.apiKeys.empty()) throw std::runtime_error("no API key is accepted");
  std::error_code error;
  std::filesystem::create_directories(store_.root(), error);
  if (error || !std::filesystem::is_directory(store_.root())) {
    throw std::runtime_error("cannot use the storage folder " + store_.root().string() +
                             (error ? ": " + error.message() : ""));
  }
  // Nothing is being uploaded yet: whatever is half there was left by a crash.
  std::size_t leftovers = store_.removeLeftovers();
  if (leftovers > 0 && options_.logRequests) {
    std::fprintf(stderr, "removed %zu files a crash left in the storage\n", leftovers);
  }

  auto server = std::make_unique<httplib::Server>();
  // One request per connection: a body left unread is never parsed as a request of its own.
  server->set_keep_alive_max_count(1);
  server->set_read_timeout(options_.readTimeout);
  server->set_write_timeout(options_.readTimeout);
  server->set_keep_alive_timeout(
      std::max<time_t>(1, std::chrono::ceil<std::chrono::seconds>(options_.readTimeout).count()));
  // Bodies of refused requests are never read; this only guards paths httplib reads by itself.
  server->set_payload_max_length(static_cast<std::size_t>(options_.maxBytes));
  // SO_REUSEADDR for quick restarts, without the default SO_REUSEPORT that would let another
  // process share the port.
  server->set_socket_options([](int fd) {
    int yes = 1;
    setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
  });

  server->set_expect_100_continue_handler([this](const Request& request, Response& response) {
    return screen(request, response) ? 100 : response.status;
  });
  server->set_pre_routing_handler([this](const Request& request, Response& response) {
    return screen(request, response) ? httplib::Server::HandlerResponse::Unhandled
                                     : httplib::Server::HandlerResponse::Handled;
  });
  server->Post(kUploadPattern,
               [this](const Request& request, Response& response,
                      const httplib::ContentReader& reader) { upload(request, response, reader); });
  server->Get(kAssetPattern, [this](const Request& request, Response& response) {
    serveAsset(request, response);
  });
  // Refusals httplib makes by itself (a malformed request line, say) get a JSON body too.
  server->set_error_handler(
      httplib::Server::HandlerWithResponse([](const Request&, Response& response) {
        if (!response.body.empty()) return httplib::Server::HandlerResponse::Unhandled;
        refuse(response, response.status, "request refused");
        return httplib::Server::HandlerResponse::Handled;
      }));
  if (options_.logRequests) {
    server->set_logger([](const Request& request, const Response& response) {
      std::fprintf(stderr, "%s %s %d\n", printable(request.method).c_str(),
                   printable(request.target).c_str(), response.status);
    });
  }

  int bound =
      port == 0 ? server->bind_to_any_port(host) : (server->bind_to_port(host, port) ? port : -1);
  if (bound <= 0) {
    throw std::runtime_error("cannot listen on " + host + ":" + std::to_string(port));
  }
  server_ = std::move(server);
  port_ = bound;
  std::string urlHost = host.find(':') == std::string::npos ? host : "[" + host + "]";
  address_ = "http://" + urlHost + ":" + std::to_string(bound);

  listenEnded_ = false;
  thread_ = std::thread([this] {
    server_->listen_after_bind();
    listenEnded_ = true;
  });
  // httplib's stop() does nothing until its accept loop has begun.
  while (!server_->is_running() && !listenEnded_) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return bound;
}

void AssetsServer::stop() {
  if (!server_) return;
  server_->stop();
  if (thread_.joinable()) thread_.join();
  server_.reset();
}

bool AssetsServer::screen(const Request& request, Response& response) const {
  std::optional<std::string_view> appID = uploadAppID(rawPath(request));
  bool uploadPath = appID.has_value();
  bool assetPath = !uploadPath && isAssetPath(request.path);

  if (assetPath) {
    if (request.method == "GET" || request.method == "HEAD") return true;
    response.set_header("Allow", "GET, HEAD");
    refuse(response, 405, "assets are read with GET");
    return false;
  }
  if (!uploadPath) {
    refuse(response, 404, "no such endpoint");
    return false;
  }
  if (request.method != "POST") {
    response.set_header("Allow", "POST");
    refuse(response, 405, "uploads are sent with POST");
    return false;
  }
  if (!authorized(request)) {
    response.set_header("WWW-Authenticate", "Bearer");
    refuse(response, 401, "missing or unknown API key");
    return false;
  }
  if (request.has_header("Transfer-Encoding") || !request.has_header("Content-Length")) {
    refuse(response, 411, "the body must be sent with a Content-Length");
    return false;
  }
  std::optional<std::uint64_t> length = contentLength(request);
  if (!length) {
    refuse(response, 400, "malformed Content-Length");
    return false;
  }
  if (*length > options_.maxBytes) {
    refuse(response, 413,
           "the body is larger than " + std::to_string(options_.maxBytes) + " bytes");
    return false;
  }
  // Inflating would let a small body grow past every limit.
  if (request.has_header("Content-Encoding")) {
    refuse(response, 415, "content encodings are not accepted");
    return false;
  }
  std::string type = request.get_header_value("Content-Type");
  std::size_t boundary = type.find("boundary=");
  if (!request.is_multipart_form_data() || boundary == std::string::npos ||
      boundary + 9 >= type.size()) {
    refuse(response, 415, "the body must be multipart/form-data with a boundary");
    return false;
  }
  return true;
}

bool AssetsServer::authorized(const Request& request) const {
  if (request.get_header_value_count("Authorization") != 1) return false;
  std::string value = request.get_header_value("Authorization");
  constexpr std::string_view kScheme = "Bearer ";
  if (!startsWithIgnoringCase(value, kScheme)) return false;
  std::string_view key = std::string_view(value).substr(kScheme.size());
  bool known = false;
  for (const std::string& accepted : options_.apiKeys) {
    // Compare in constant time: how far a guess matched must not show in the timing.
    known |= !key.empty() && accepted.size() == key.size() &&
             CRYPTO_memcmp(accepted.data(), key.data(), key.size()) == 0;
  }
  return known;
}

void AssetsServer::upload(const Request& request, Response& response,
                          const httplib::ContentReader& reader) const {
  std::string appID(uploadAppID(rawPath(request)).value_or(""));
  AssetStore::Pending pending = store_.begin(appID, options_.maxBytes);
  if (!pending.writer) return refuse(response, 500, "cannot store the upload");

  int parts = 0;
  httplib::MultipartFormData part;
  std::optional<std::pair<int, std::string>> refusal;
  bool complete = reader(
      [&](const httplib::MultipartFormData& header) {
        if (++parts > 1) {
          refusal.emplace(400, "exactly one part is accepted");
          return false;
        }
        if (header.name != "content") {
          refusal.emplace(400, "the part must be named \"content\"");
          return false;
        }
        part = header;
        return true;
      },
      [&](const char* data, std::size_t size) {
        if (pending.writer->write(data, size)) return true;
        if (pending.writer->exceededCap()) {
          refusal.emplace(413, "the part is larger than the byte cap");
        } else {
          refusal.emplace(500, "cannot write the upload");
        }
        return false;
      });
  if (refusal) return refuse(response, refusal->first, refusal->second);
  if (!complete) {
    return refuse(response, 400, "the body is not a complete multipart/form-data body");
  }
  if (!pending.writer->finish()) return refuse(response, 500, "cannot write the upload");

  nlohmann::json metadata = {
      {"app_id", appID},
      {"original_filename", part.filename},
      {"media_type", mediaTypeOf(part)},
      {"received_at", utcNow()},
  };
  if (part.filename == ResultsSeal::kDocumentName) {
    metadata["seal_valid"] = sealIsValid(pending.writer->path(), pending.writer->size(), appID);
  }
  std::optional<std::string> name = store_.commit(pending, part.filename, std::move(metadata));
  if (!name) return refuse(response, 500, "cannot store the upload");
  std::string url = address_ + std::string(kAssetPrefix) + pending.folder + "/" + *name;
  reply(response, 200, {{"filename", *name}, {"url", url}});
}

void AssetsServer::serveAsset(const Request& request, Response& response) const {
  std::optional<AssetStore::Asset> asset =
      store_.find(request.matches[1].str(), request.matches[2].str());
  auto in = asset ? std::make_shared<std::ifstream>(asset->file, std::ios::binary) : nullptr;
  if (!in || !*in) return refuse(response, 404, "no such asset");
  response.status = 200;
  // Stored bytes are the clients', not the server's pages: never rendered, never sniffed.
  response.set_header("X-Content-Type-Options", "nosniff");
  response.set_header("Content-Disposition",
                      "attachment; filename=\"" + asset->file.filename().string() + "\"");
  response.set_content_provider(
      static_cast<std::size_t>(asset->size), asset->mediaType,
      [in](std::size_t offset, std::size_t length, httplib::DataSink& sink) {
        std::array<char, 64 * 1024> chunk;
        in->clear();
        in->seekg(static_cast<std::streamoff>(offset));
        in->read(chunk.data(), static_cast<std::streamsize>(std::min(length, chunk.size())));
        std::streamsize got = in->gcount();
        return got > 0 && sink.write(chunk.data(), static_cast<std::size_t>(got));
      });
}

}  // namespace quorvel
