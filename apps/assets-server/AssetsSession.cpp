#include "AssetsSession.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <limits>
#include <optional>
#include <string_view>
#include <system_error>

#include "MultipartReader.h"
#include "RequestTarget.h"
#include "ResultsSeal.h"
#include "Secrets.h"

namespace quorvel {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
using asio::awaitable;
using asio::ip::tcp;

namespace {

constexpr std::string_view kUploadSuffix = "/asset-upload";
constexpr std::string_view kDefaultMediaType = "application/octet-stream";
// Bytes read or sent at a time.
constexpr std::size_t kChunkBytes = 256 * 1024;
// After an answer, what the client still sends is read and dropped for this long (or this much),
// so that closing does not reset the connection before the client has read the answer.
constexpr auto kLingerTime = std::chrono::seconds(2);
constexpr std::size_t kLingerBytes = 1 << 20;
constexpr std::size_t kLingerChunkBytes = 16 << 10;

// Beast hands out Boost's string views.
std::string_view view(beast::string_view text) { return {text.data(), text.size()}; }

// A head the client got wrong. One cut short by the client's leaving is no request: nobody would
// read an answer, so the client is gone as it would be in the middle of a body.
bool isParseError(const beast::error_code& error) {
  return error && error.category() == http::make_error_code(http::error::bad_target).category() &&
         error != http::error::end_of_stream && error != http::error::partial_message;
}

// The app ID of an upload path, or nothing for any other path.
std::optional<std::string_view> uploadAppID(std::string_view path) {
  constexpr std::string_view kUploadPrefix = RequestTarget::kApplicationsPrefix;
  if (path.size() <= kUploadPrefix.size() + kUploadSuffix.size() ||
      !path.starts_with(kUploadPrefix) || !path.ends_with(kUploadSuffix)) {
    return std::nullopt;
  }
  return path.substr(kUploadPrefix.size(),
                     path.size() - kUploadPrefix.size() - kUploadSuffix.size());
}

// What the part declared, if it can travel back in a header line.
std::string mediaTypeOf(const MultipartReader::Part& part) {
  const std::string& type = part.contentType;
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

// Request targets are client text: keep control characters out of the log.
std::string printable(std::string_view text) {
  std::string out(text);
  for (char& c : out) {
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = '?';
  }
  return out;
}

// A single "bytes=" range of a file of size bytes, as [first, last]; nothing when the field is
// invalid or asks for several ranges (the whole file is then sent), and first == size when no
// byte of the file is in it.
std::optional<std::pair<std::uint64_t, std::uint64_t>> rangeOf(std::string_view field,
                                                               std::uint64_t size) {
  if (!field.starts_with("bytes=") || field.find(',') != std::string_view::npos) {
    return std::nullopt;
  }
  std::string_view spec = field.substr(6);
  std::size_t dash = spec.find('-');
  if (dash == std::string_view::npos) return std::nullopt;
  // A position of any length, without its leading zeros.
  auto digits = [](std::string_view text) -> std::optional<std::string_view> {
    if (text.empty() || text.find_first_not_of("0123456789") != std::string_view::npos) {
      return std::nullopt;
    }
    return text.substr(std::min(text.find_first_not_of('0'), text.size() - 1));
  };
  // Past 64 bits a position is past the end of any file, so it saturates.
  auto value = [](std::string_view position) {
    constexpr std::uint64_t kMax = std::numeric_limits<std::uint64_t>::max();
    std::uint64_t number = 0;
    for (char c : position) {
      const auto digit = static_cast<std::uint64_t>(c - '0');
      if (number > (kMax - digit) / 10) return kMax;
      number = number * 10 + digit;
    }
    return number;
  };
  std::string_view from = spec.substr(0, dash);
  std::string_view to = spec.substr(dash + 1);
  if (from.empty()) {  // the last n bytes
    auto n = digits(to);
    if (!n) return std::nullopt;
    if (value(*n) == 0 || size == 0) return std::pair{size, size};
    return std::pair{size - std::min(value(*n), size), size - 1};
  }
  auto first = digits(from);
  auto last = to.empty() ? first : digits(to);  // "a-" runs to the end
  if (!first || !last) return std::nullopt;
  // Valid before satisfiable. Positions compare as written: saturated, two huge ones look equal.
  if (std::pair(last->size(), *last) < std::pair(first->size(), *first)) return std::nullopt;
  if (value(*first) >= size) return std::pair{size, size};
  return std::pair{value(*first), to.empty() ? size - 1 : std::min(value(*last), size - 1)};
}

}  // namespace

awaitable<void> AssetsSession::run() {
  parser_.header_limit(static_cast<std::uint32_t>(AssetsServer::kMaxHeadBytes));
  // The length is judged against the cap below, with an answer rather than a parse error.
  parser_.body_limit(std::numeric_limits<std::uint64_t>::max());
  beast::error_code error;
  stream_.expires_after(options_.headDeadline);
  co_await http::async_read_header(stream_, buffer_, parser_,
                                   asio::redirect_error(asio::use_awaitable, error));
  if (error == http::error::header_limit) {
    co_await refuse(http::status::request_header_fields_too_large, "the request head is too large");
  } else if (isParseError(error)) {
    co_await refuse(http::status::bad_request, "malformed request: " + error.message());
  } else if (!error) {
    co_await serve();
  }
  beast::error_code ignored;
  stream_.socket().shutdown(tcp::socket::shutdown_both, ignored);
  stream_.close();
}

awaitable<void> AssetsSession::serve() {
  std::size_t fields = std::distance(request().begin(), request().end());
  std::string_view path = RequestTarget::path(view(request().target()));
  if (fields > AssetsServer::kMaxHeaderFields) {
    co_return co_await refuse(http::status::request_header_fields_too_large,
                              "too many header fields");
  }
  if (Console::owns(path)) co_return co_await serveConsole();
  if (auto asset = RequestTarget::asset(path)) {
    if (request().method() == http::verb::get || request().method() == http::verb::head) {
      co_return co_await serveAsset(asset->first, asset->second);
    }
    const Header allow{"Allow", "GET, HEAD"};
    co_return co_await refuse(http::status::method_not_allowed, "assets are read with GET", allow);
  }
  std::optional<std::string_view> appID = uploadAppID(path);
  if (!appID) {
    if (auto route = RunsApi::routeOf(path)) co_return co_await serveRuns(*route);
    co_return co_await refuse(http::status::not_found, "no such endpoint");
  }
  if (request().method() != http::verb::post) {
    const Header allow{"Allow", "POST"};
    co_return co_await refuse(http::status::method_not_allowed, "uploads are sent with POST",
                              allow);
  }
  if (!authorized()) {
    co_return co_await refuse(http::status::unauthorized, "missing or unknown API key", kBearer);
  }
  if (parser_.chunked() || !parser_.content_length()) {
    co_return co_await refuse(http::status::length_required,
                              "the body must be sent with a Content-Length");
  }
  if (*parser_.content_length() > options_.maxBytes) {
    co_return co_await refuse(
        http::status::payload_too_large,
        "the body is larger than " + std::to_string(options_.maxBytes) + " bytes");
  }
  // Inflating would let a small body grow past every limit.
  if (request().count(http::field::content_encoding) > 0) {
    co_return co_await refuse(http::status::unsupported_media_type,
                              "content encodings are not accepted");
  }
  std::optional<std::string> boundary;
  if (request().count(http::field::content_type) == 1) {
    boundary = MultipartReader::boundaryOf(view(request()[http::field::content_type]));
  }
  if (!boundary) {
    co_return co_await refuse(http::status::unsupported_media_type,
                              "the body must be multipart/form-data with a boundary");
  }
  co_await upload(std::string(*appID), *boundary);
}

bool AssetsSession::authorized() const {
  if (request().count(http::field::authorization) != 1) return false;
  std::string_view value = view(request()[http::field::authorization]);
  constexpr std::string_view kScheme = "Bearer ";
  if (value.size() < kScheme.size() ||
      !RequestTarget::equalIgnoringCase(value.substr(0, kScheme.size()), kScheme)) {
    return false;
  }
  return Secrets::accepted(options_.apiKeys, value.substr(kScheme.size()));
}

awaitable<void> AssetsSession::upload(const std::string& appID, const std::string& boundary) {
  AssetStore::Pending pending = store_.begin(appID, options_.maxBytes);
  if (!pending.writer) {
    co_return co_await refuse(http::status::internal_server_error, "cannot store the upload");
  }
  if (!co_await proceed()) co_return;
  BodyRead read = co_await readBody(boundary, pending);
  // A client that went away or fell silent gets no answer; the temporary file goes.
  if (read.gone) co_return;
  if (read.refusal) {
    // A refused upload leaves nothing behind, also while its answer is still going out.
    pending.writer.reset();
    co_return co_await refuse(read.refusal->code, read.refusal->message);
  }
  co_await commit(appID, pending, read.part);
}

awaitable<AssetsSession::BodyRead> AssetsSession::readBody(const std::string& boundary,
                                                           AssetStore::Pending& pending) {
  BodyRead read;
  int parts = 0;
  MultipartReader body(
      boundary,
      [&](const MultipartReader::Part& header) {
        if (++parts > 1) {
          read.refusal = Refusal{http::status::bad_request, "exactly one part is accepted"};
          return false;
        }
        if (header.name != "content") {
          read.refusal = Refusal{http::status::bad_request, "the part must be named \"content\""};
          return false;
        }
        read.part = header;
        return true;
      },
      [&](const char* data, std::size_t size) {
        if (pending.writer->write(data, size)) return true;
        read.refusal =
            pending.writer->exceededCap()
                ? Refusal{http::status::payload_too_large, "the part is larger than the byte cap"}
                : Refusal{http::status::internal_server_error, "cannot write the upload"};
        return false;
      });

  std::vector<char> chunk(kChunkBytes);
  // Beast reads no more than the buffer's free room at a time: without room, 512 bytes a read.
  buffer_.reserve(kChunkBytes);
  const auto began = std::chrono::steady_clock::now();
  std::uint64_t received = 0;
  while (!parser_.is_done() && !read.refusal && body.problem().empty()) {
    parser_.get().body().data = chunk.data();
    parser_.get().body().size = chunk.size();
    stream_.expires_after(options_.readTimeout);
    beast::error_code error;
    // Some bytes at a time, so that the rate is judged as they come.
    co_await http::async_read_some(stream_, buffer_, parser_,
                                   asio::redirect_error(asio::use_awaitable, error));
    if (error == http::error::need_buffer) error = {};
    if (error) {
      read.gone = true;
      co_return read;
    }
    const std::size_t got = chunk.size() - parser_.get().body().size;
    received += got;
    if (got > 0) body.feed(chunk.data(), got);
    const auto elapsed = std::chrono::steady_clock::now() - began;
    // Below the least rate, or past the whole body's time however steadily it comes.
    const bool belowRate =
        elapsed > options_.readTimeout &&
        received < options_.minBytesPerSecond *
                       std::chrono::duration_cast<std::chrono::seconds>(elapsed).count();
    if (!parser_.is_done() && (belowRate || elapsed > options_.bodyDeadline)) {
      read.refusal = Refusal{http::status::request_timeout, "the body arrives too slowly"};
      co_return read;
    }
  }
  if (read.refusal) co_return read;
  if (!body.problem().empty()) {
    read.refusal = Refusal{http::status::bad_request, body.problem()};
  } else if (!body.finished() || parts != 1) {
    read.refusal =
        Refusal{http::status::bad_request, "the body is not a complete multipart/form-data body"};
  }
  co_return read;
}

awaitable<void> AssetsSession::commit(const std::string& appID, AssetStore::Pending& pending,
                                      const MultipartReader::Part& part) {
  if (!pending.writer->finish()) {
    pending.writer.reset();
    co_return co_await refuse(http::status::internal_server_error, "cannot write the upload");
  }
  nlohmann::json metadata = nlohmann::json::object();
  metadata["app_id"] = appID;
  metadata["original_filename"] = part.filename.value_or("");
  metadata["media_type"] = mediaTypeOf(part);
  const std::string receivedAt = utcNow();
  metadata["received_at"] = receivedAt;
  std::optional<bool> sealValid;
  if (part.filename == ResultsSeal::kDocumentName) {
    // On the check threads: a large document holds up no other connection meanwhile. The check is
    // a named local, not a temporary of the awaited expression, which GCC 12 destroys twice.
    auto check = [file = pending.writer->path(), appID]() -> awaitable<bool> {
      co_return ResultsSeal::verifyFile(file, appID);
    };
    sealValid = co_await asio::co_spawn(checks_, std::move(check), asio::use_awaitable);
    metadata["seal_valid"] = *sealValid;
  }
  std::optional<std::string> name =
      store_.commit(pending, part.filename.value_or(""), std::move(metadata));
  if (!name) {
    co_return co_await refuse(http::status::internal_server_error, "cannot store the upload");
  }
  if (sealValid) {
    // The run is on the disk before the answer that promises the document is kept.
    auto record = [this, appID, results = *name, receivedAt,
                   valid = *sealValid]() -> awaitable<bool> {
      std::string error;
      const bool recorded = recorder_.record(appID, results, receivedAt, valid, error);
      if (!recorded) std::fprintf(stderr, "%s\n", error.c_str());
      co_return recorded;
    };
    if (!co_await asio::co_spawn(checks_, std::move(record), asio::use_awaitable)) {
      co_return co_await refuse(http::status::internal_server_error,
                                "the results are stored but their run could not be recorded");
    }
  }
  std::string url =
      address_ + std::string(RequestTarget::kAssetPrefix) + pending.folder + "/" + *name;
  nlohmann::json stored = nlohmann::json::object();
  stored["filename"] = *name;
  stored["url"] = url;
  co_await answer(http::status::ok, stored, kNoHeader);
}

awaitable<void> AssetsSession::serveAsset(std::string_view folder, std::string_view name) {
  std::optional<AssetStore::Asset> asset = store_.find(folder, name);
  std::ifstream in;
  if (asset) in.open(asset->file, std::ios::binary);
  if (!asset || !in) co_return co_await refuse(http::status::not_found, "no such asset");

  std::uint64_t first = 0;
  std::uint64_t length = asset->size;
  http::response<http::buffer_body> response{http::status::ok, 11};
  // A range is only answered for the file as it is: without If-Range there is nothing to check.
  auto range = request().count(http::field::if_range) == 0
                   ? rangeOf(view(request()[http::field::range]), asset->size)
                   : std::nullopt;
  if (range && range->first == asset->size) {
    const Header whole{"Content-Range", "bytes */" + std::to_string(asset->size)};
    co_return co_await refuse(http::status::range_not_satisfiable,
                              "no byte of the asset is in range", whole);
  }
  if (range) {
    response.result(http::status::partial_content);
    first = range->first;
    length = range->second - range->first + 1;
    response.set(http::field::content_range, "bytes " + std::to_string(range->first) + "-" +
                                                 std::to_string(range->second) + "/" +
                                                 std::to_string(asset->size));
  }
  response.set(http::field::content_type, asset->mediaType);
  response.set(http::field::accept_ranges, "bytes");
  // Stored bytes are the clients', not the server's pages: never rendered, never sniffed.
  response.set("X-Content-Type-Options", "nosniff");
  response.set(http::field::content_disposition,
               "attachment; filename=\"" + asset->file.filename().string() + "\"");
  response.set(http::field::connection, "close");
  if (always_) {
    for (const auto& [field, text] : *always_) response.set(field, text);
  }
  response.content_length(length);
  log(response.result_int());
  const bool head = request().method() == http::verb::head;
  response.body().data = nullptr;
  response.body().more = !head && length > 0;
  http::response_serializer<http::buffer_body> serializer{response};
  beast::error_code error;
  stream_.expires_after(options_.readTimeout);
  co_await http::async_write_header(stream_, serializer,
                                    asio::redirect_error(asio::use_awaitable, error));
  if (error) co_return;
  in.seekg(static_cast<std::streamoff>(first));
  std::vector<char> chunk(kChunkBytes);
  for (std::uint64_t left = head ? 0 : length; left > 0;) {
    in.read(chunk.data(),
            static_cast<std::streamsize>(std::min<std::uint64_t>(left, chunk.size())));
    const auto got = static_cast<std::size_t>(in.gcount());
    if (got == 0) co_return;
    left -= got;
    response.body().data = chunk.data();
    response.body().size = got;
    response.body().more = left > 0;
    stream_.expires_after(options_.readTimeout);
    co_await http::async_write(stream_, serializer,
                               asio::redirect_error(asio::use_awaitable, error));
    if (error == http::error::need_buffer) error = {};
    if (error) co_return;
  }
  co_await linger();
}

awaitable<void> AssetsSession::serveRuns(const RunsApi::Route& route) {
  if (request().method() != http::verb::get && request().method() != http::verb::head) {
    const Header allow{"Allow", "GET, HEAD"};
    co_return co_await refuse(http::status::method_not_allowed, "runs are read with GET", allow);
  }
  if (!authorized()) {
    co_return co_await refuse(http::status::unauthorized, "missing or unknown API key", kBearer);
  }
  // The store may wait on a disk: not on a connection thread.
  auto read = [this, route, query = std::string(RequestTarget::query(view(request().target())))]()
      -> awaitable<RunsApi::Answer> { co_return runsApi_.answer(route, query); };
  const RunsApi::Answer reply =
      co_await asio::co_spawn(checks_, std::move(read), asio::use_awaitable);
  co_await answer(static_cast<http::status>(reply.status), reply.body, kNoHeader);
}

awaitable<void> AssetsSession::serveConsole() {
  always_ = &Console::securityHeaders();
  std::string form;
  if (request().method() == http::verb::post) {
    if (parser_.chunked() || !parser_.content_length()) {
      co_return co_await refuse(http::status::length_required,
                                "the form must be sent with a Content-Length");
    }
    if (*parser_.content_length() > Console::kMaxFormBytes) {
      co_return co_await refuse(http::status::payload_too_large, "the form is too large");
    }
    // One co_await per statement: GCC 12 miscompiles them in the operands of || and &&.
    if (!co_await proceed()) co_return;
    if (!co_await readForm(form)) co_return;
  }
  beast::error_code ignored;
  Console::Request call;
  call.method = view(request().method_string());
  call.target = view(request().target());
  call.host = view(request()[http::field::host]);
  call.cookies = view(request()[http::field::cookie]);
  call.body = form;
  call.client = stream_.socket().remote_endpoint(ignored).address().to_string();
  if (request().count(http::field::origin) > 0) call.origin = view(request()[http::field::origin]);
  if (request().count("Sec-Fetch-Site") > 0) call.fetchSite = view(request()["Sec-Fetch-Site"]);
  // The run store may wait on a disk: not on a connection thread.
  auto decide = [this, &call]() -> awaitable<Console::Answer> { co_return console_.answer(call); };
  Console::Answer reply = co_await asio::co_spawn(checks_, std::move(decide), asio::use_awaitable);
  if (reply.delay.count() > 0) {
    // A wrong key's answer waits on a timer, holding no thread meanwhile.
    asio::steady_timer slowed(stream_.get_executor(), reply.delay);
    co_await slowed.async_wait(asio::redirect_error(asio::use_awaitable, ignored));
  }
  if (reply.media) co_return co_await serveAsset(reply.media->first, reply.media->second);
  http::response<http::string_body> response{static_cast<http::status>(reply.status), 11};
  response.set(http::field::content_type, reply.contentType);
  for (const auto& [name, value] : reply.headers) response.insert(name, value);
  response.body() = std::move(reply.body);
  co_await send(response);
}

awaitable<bool> AssetsSession::proceed() {
  if (!RequestTarget::equalIgnoringCase(view(request()[http::field::expect]), "100-continue")) {
    co_return true;
  }
  http::response<http::empty_body> interim{http::status::continue_, 11};
  beast::error_code error;
  co_await http::async_write(stream_, interim, asio::redirect_error(asio::use_awaitable, error));
  co_return !error;
}

awaitable<bool> AssetsSession::readForm(std::string& form) {
  form.resize(Console::kMaxFormBytes);
  // The whole form within one read timeout: it is small.
  stream_.expires_after(options_.readTimeout);
  std::size_t got = 0;
  while (!parser_.is_done()) {
    parser_.get().body().data = form.data() + got;
    parser_.get().body().size = form.size() - got;
    beast::error_code error;
    co_await http::async_read_some(stream_, buffer_, parser_,
                                   asio::redirect_error(asio::use_awaitable, error));
    got = form.size() - parser_.get().body().size;
    if (error && error != http::error::need_buffer) co_return false;
  }
  form.resize(got);
  co_return true;
}

awaitable<void> AssetsSession::refuse(http::status code, const std::string& message) {
  co_await refuse(code, message, kNoHeader);
}

awaitable<void> AssetsSession::refuse(http::status code, const std::string& message,
                                      const Header& header) {
  nlohmann::json body = nlohmann::json::object();
  body["error"] = message;
  co_await answer(code, body, header);
}

awaitable<void> AssetsSession::answer(http::status code, const nlohmann::json& json,
                                      const Header& header) {
  http::response<http::string_body> response{code, 11};
  response.set(http::field::content_type, "application/json");
  if (!header.name.empty()) response.set(header.name, header.value);
  response.body() = json.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
  co_await send(response);
}

awaitable<void> AssetsSession::send(http::response<http::string_body>& response) {
  response.set(http::field::connection, "close");
  if (always_) {
    for (const auto& [name, value] : *always_) response.set(name, value);
  }
  response.prepare_payload();
  log(response.result_int());
  beast::error_code error;
  stream_.expires_after(options_.readTimeout);
  if (request().method() == http::verb::head) {
    // HEAD is answered with the head alone: a client reads no body after it.
    http::response_serializer<http::string_body> serializer{response};
    co_await http::async_write_header(stream_, serializer,
                                      asio::redirect_error(asio::use_awaitable, error));
  } else {
    co_await http::async_write(stream_, response, asio::redirect_error(asio::use_awaitable, error));
  }
  if (!error) co_await linger();
}

awaitable<void> AssetsSession::linger() {
  beast::error_code error;
  stream_.socket().shutdown(tcp::socket::shutdown_send, error);
  // Closing with bytes unread (a body refused unread, or anything sent after a request) would
  // reset the connection, and the client could lose the end of the answer still on its way.
  std::vector<char> scratch(kLingerChunkBytes);
  stream_.expires_after(kLingerTime);
  for (std::size_t drained = 0; drained < kLingerBytes && !error;) {
    drained += co_await stream_.async_read_some(asio::buffer(scratch),
                                                asio::redirect_error(asio::use_awaitable, error));
  }
}

void AssetsSession::log(unsigned code) const {
  if (!options_.logRequests) return;
  std::fprintf(stderr, "%s %s %u\n", printable(view(request().method_string())).c_str(),
               printable(view(request().target())).c_str(), code);
}

}  // namespace quorvel
