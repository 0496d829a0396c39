#pragma once

// Asio's coroutine support needs std::exchange before its own headers.
#include <utility>
// clang-format off
#include <boost/asio.hpp>
#include <boost/beast.hpp>
// clang-format on
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

#include "AssetStore.h"
#include "AssetsServer.h"
#include "Console.h"
#include "MultipartReader.h"
#include "RunRecorder.h"
#include "RunsApi.h"

namespace quorvel {

// One connection to the assets server and its one request: the head read within its deadline and
// judged before any body byte, then the upload streamed through the multipart reader into the
// store, or the asset sent back.
class AssetsSession {
  using tcp = boost::asio::ip::tcp;
  template <class T>
  using awaitable = boost::asio::awaitable<T>;
  using status = boost::beast::http::status;

  // One more field of an answer.
  struct Header {
    std::string name;
    std::string value;
  };
  static inline const Header kNoHeader{};
  static inline const Header kBearer{"WWW-Authenticate", "Bearer"};

 public:
  // Seal checks and the run store's work run on checks, off the connections' threads.
  AssetsSession(const AssetStore& store, RunRecorder& recorder, const RunsApi& runsApi,
                const Console& console, const AssetsServer::Options& options, std::string address,
                boost::asio::thread_pool::executor_type checks, tcp::socket socket)
      : store_(store),
        recorder_(recorder),
        runsApi_(runsApi),
        console_(console),
        options_(options),
        address_(std::move(address)),
        checks_(std::move(checks)),
        stream_(std::move(socket)) {}

  awaitable<void> run();

 private:
  const boost::beast::http::request<boost::beast::http::buffer_body>& request() const {
    return parser_.get();
  }

  awaitable<void> serve();

  bool authorized() const;

  // An upload: its body read into the store, then committed and its address answered.
  awaitable<void> upload(const std::string& appID, const std::string& boundary);

  // Why an upload is refused.
  struct Refusal {
    status code;
    std::string message;
  };
  // What reading an upload's body came to: the client gone (no answer owed), a refusal, or the
  // one part's header with its bytes in the pending file.
  struct BodyRead {
    bool gone = false;
    std::optional<Refusal> refusal;
    MultipartReader::Part part;
  };
  awaitable<BodyRead> readBody(const std::string& boundary, AssetStore::Pending& pending);
  awaitable<void> commit(const std::string& appID, AssetStore::Pending& pending,
                         const MultipartReader::Part& part);

  awaitable<void> serveAsset(std::string_view folder, std::string_view name);
  awaitable<void> serveRuns(const RunsApi::Route& route);
  awaitable<void> serveConsole();
  // Answers "Expect: 100-continue" once the body is wanted; false when the client went away.
  awaitable<bool> proceed();
  // A small body (a form) whole into form; false when the client went away or fell silent.
  awaitable<bool> readForm(std::string& form);

  // Coroutine parameters here are references, never defaulted or initializer lists: GCC 12
  // miscompiles those in coroutines. The arguments outlive the awaited call.
  awaitable<void> refuse(status code, const std::string& message);
  awaitable<void> refuse(status code, const std::string& message, const Header& header);

  // Sends one JSON answer, then lingers so that the client can read it.
  awaitable<void> answer(status code, const nlohmann::json& json, const Header& header);
  // Sends an answer whole (its head alone for HEAD), then lingers.
  awaitable<void> send(boost::beast::http::response<boost::beast::http::string_body>& response);
  // After a whole answer: ends the sending side and reads and drops what the client still sends,
  // for a bounded time and amount, before the connection is closed.
  awaitable<void> linger();

  void log(unsigned code) const;

  const AssetStore& store_;
  RunRecorder& recorder_;
  const RunsApi& runsApi_;
  const Console& console_;
  const AssetsServer::Options& options_;
  // Fields every answer of this request carries (the console's security headers).
  const std::vector<Console::Header>* always_ = nullptr;
  const std::string address_;
  boost::asio::thread_pool::executor_type checks_;
  boost::beast::tcp_stream stream_;
  boost::beast::flat_buffer buffer_;
  boost::beast::http::request_parser<boost::beast::http::buffer_body> parser_;
};

}  // namespace quorvel
