#include "AssetsServer.h"

#include <atomic>
#include <cstdio>
#include <stdexcept>
#include <system_error>
#include <thread>

#include "AssetsSession.h"
#include "Console.h"
#include "RunRecorder.h"
#include "RunsApi.h"
#include "SqliteRunStore.h"

namespace quorvel {

namespace asio = boost::asio;
namespace beast = boost::beast;
using asio::awaitable;
using asio::ip::tcp;

namespace {

constexpr int kThreads = 4;
// Seal checks run on their own threads, so that a large document holds up no connection.
constexpr int kCheckThreads = 2;
// After an accept fails (out of file handles, say), the connection is still queued: trying again
// at once would spin.
constexpr auto kAcceptPause = std::chrono::milliseconds(100);

}  // namespace

struct AssetsServer::Runtime {
  asio::io_context io{kThreads};
  tcp::acceptor acceptor{io};
  asio::strand<asio::io_context::executor_type> control = asio::make_strand(io);
  asio::steady_timer stopTimer{control};
  // The accept loop's wait after a failure or while the house is full; a session ending ends it.
  asio::steady_timer acceptPause{control};
  std::atomic<int> sessions{0};
  std::atomic<bool> stopping{false};
  std::vector<std::thread> threads;
  // Last, so that it is joined first: a check still running finishes before the context goes.
  asio::thread_pool checks{kCheckThreads};
};

AssetsServer::AssetsServer(Options options)
    : options_(std::move(options)), store_(options_.storage) {}

AssetsServer::~AssetsServer() { stop(); }

std::filesystem::path AssetsServer::runsDatabase() const {
  if (!options_.runsDatabase.empty()) return options_.runsDatabase;
  // A sibling, not a file inside: the storage folder holds only what the store put there.
  std::filesystem::path folder = std::filesystem::absolute(store_.root()).lexically_normal();
  if (!folder.has_filename()) folder = folder.parent_path();
  return folder += ".runs.sqlite";
}

int AssetsServer::start(const std::string& host, int port) {
  if (runtime_) throw std::logic_error("the assets server is already running");
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
  std::string problem;
  std::unique_ptr<RunStore> runs = SqliteRunStore::open(runsDatabase(), problem);
  if (!runs) throw std::runtime_error(problem);
  auto recorder =
      std::make_unique<RunRecorder>(store_, *runs, options_.judge, options_.judgingThreads);
  if (!recorder->reconcile(problem)) throw std::runtime_error(problem);

  auto runtime = std::make_unique<Runtime>();
  beast::error_code failure;
  auto address = asio::ip::make_address(host, failure);
  tcp::endpoint endpoint(address, static_cast<unsigned short>(port));
  if (!failure) runtime->acceptor.open(endpoint.protocol(), failure);
  // SO_REUSEADDR for quick restarts; never SO_REUSEPORT, which would let another process share.
  if (!failure) runtime->acceptor.set_option(tcp::acceptor::reuse_address(true), failure);
  if (!failure) runtime->acceptor.bind(endpoint, failure);
  if (!failure) runtime->acceptor.listen(asio::socket_base::max_listen_connections, failure);
  if (failure) throw std::runtime_error("cannot listen on " + host + ":" + std::to_string(port));
  port_ = runtime->acceptor.local_endpoint().port();
  std::string urlHost = host.find(':') == std::string::npos ? host : "[" + host + "]";
  address_ = "http://" + urlHost + ":" + std::to_string(port_);

  Runtime& rt = *runtime;
  // Accepting runs on the control strand, where stop() closes the acceptor.
  asio::co_spawn(
      rt.control,
      [this, &rt]() -> awaitable<void> {
        for (;;) {
          beast::error_code declined;
          if (static_cast<std::size_t>(rt.sessions) >= options_.maxSessions) {
            // Full: new connections wait in the listen queue until a session ends.
            rt.acceptPause.expires_at(asio::steady_timer::time_point::max());
            co_await rt.acceptPause.async_wait(asio::redirect_error(asio::use_awaitable, declined));
            if (!rt.acceptor.is_open()) co_return;
            continue;
          }
          tcp::socket socket = co_await rt.acceptor.async_accept(
              asio::make_strand(rt.io), asio::redirect_error(asio::use_awaitable, declined));
          if (!rt.acceptor.is_open()) co_return;
          if (declined) {
            rt.acceptPause.expires_after(kAcceptPause);
            co_await rt.acceptPause.async_wait(asio::redirect_error(asio::use_awaitable, declined));
            if (!rt.acceptor.is_open()) co_return;
            continue;
          }
          ++rt.sessions;
          auto executor = socket.get_executor();
          asio::co_spawn(
              executor,
              [this, &rt,
               session = std::make_shared<AssetsSession>(
                   store_, *recorder_, *runsApi_, *console_, options_, address_,
                   rt.checks.get_executor(), std::move(socket))]() -> awaitable<void> {
                co_await session->run();
                --rt.sessions;
                asio::post(rt.control, [&rt] {
                  rt.acceptPause.cancel();
                  // The last request out ends a stop early.
                  if (rt.sessions == 0 && rt.stopping) rt.stopTimer.cancel();
                });
              },
              asio::detached);
        }
      },
      asio::detached);
  runsApi_ = std::make_unique<RunsApi>(*runs);
  consoleSessions_ = std::make_unique<ConsoleSessions>(options_.console);
  console_ = std::make_unique<Console>(store_, *runs, *runsApi_, *consoleSessions_,
                                       options_.apiKeys, options_.onWrongConsoleKey);
  runs_ = std::move(runs);
  recorder_ = std::move(recorder);
  for (int i = 0; i < kThreads; ++i) rt.threads.emplace_back([&rt] { rt.io.run(); });
  runtime_ = std::move(runtime);
  return port_;
}

void AssetsServer::stop() {
  if (!runtime_) return;
  // Judging ends first: uploads still being answered leave their verdicts pending.
  recorder_->stop();
  judgementsAbandoned_ = judgementsAbandoned_ || recorder_->judgementsAbandoned();
  Runtime& rt = *runtime_;
  asio::post(rt.control, [&rt] {
    rt.stopping = true;
    beast::error_code ignored;
    rt.acceptor.close(ignored);
    rt.acceptPause.cancel();
    rt.stopTimer.expires_after(kStopGrace);
    // Requests still going after the grace are cut off: their coroutines end with the context.
    rt.stopTimer.async_wait([&rt](beast::error_code) { rt.io.stop(); });
    if (rt.sessions == 0) rt.stopTimer.cancel();
  });
  for (auto& thread : rt.threads) thread.join();
  runtime_.reset();
  console_.reset();
  consoleSessions_.reset();
  runsApi_.reset();
  recorder_.reset();
  runs_.reset();
}

}  // namespace quorvel
