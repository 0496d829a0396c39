#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

#include "curl/CurlHttpClient.h"
#include "support/ObservingHttpClient.h"
#include "support/ScriptedHttpServer.h"
#include "support/TemporaryTree.h"

namespace quorvel::testing {
namespace {

using Reply = ScriptedHttpServer::Reply;

struct HttpClientImplementation {
  std::string name;
  std::function<std::shared_ptr<HttpClient>()> make;
};

// What every HttpClient must do against a loopback peer: stream a body in one piece with its
// length, and end with an error on cancel, time-out and refusal, always on its own thread.
class HttpClientContract : public ::testing::TestWithParam<HttpClientImplementation> {
 protected:
  struct Outcome {
    std::mutex mutex;
    std::condition_variable changed;
    bool done = false;
    std::optional<HttpResponse> response;
    std::optional<std::string> error;
    std::thread::id thread;
  };

  std::shared_ptr<HttpTask> send(HttpRequest request) {
    return client->send(std::move(request), [outcome = outcome](std::optional<HttpResponse> r,
                                                                std::optional<std::string> e) {
      std::lock_guard lock(outcome->mutex);
      outcome->response = std::move(r);
      outcome->error = std::move(e);
      outcome->thread = std::this_thread::get_id();
      outcome->done = true;
      outcome->changed.notify_all();
    });
  }

  bool finished() {
    std::unique_lock lock(outcome->mutex);
    return outcome->changed.wait_for(lock, std::chrono::seconds(10), [&] { return outcome->done; });
  }

  HttpRequest post(const std::string& origin) {
    HttpRequest request;
    request.url = origin + "/v3/applications/app/asset-upload";
    request.headers = {{"Expect", ""}};
    return request;
  }

  std::shared_ptr<HttpClient> client = GetParam().make();
  std::shared_ptr<Outcome> outcome = std::make_shared<Outcome>();
  ScriptedHttpServer server;
  TemporaryTree files{"quorvel-http-contract"};
};

TEST_P(HttpClientContract, StreamsPrefixFileAndSuffixAsOneBodyOfItsLength) {
  server.script({Reply::json(201, R"({"url":"http://127.0.0.1/x"})")});
  std::string content(300000, '\0');
  for (std::size_t i = 0; i < content.size(); ++i) content[i] = static_cast<char>(i * 7);
  files.write("content.bin", content);
  HttpRequest request = post(server.origin());
  request.bodyPrefix = "--b\r\nhead\r\n\r\n";
  request.bodyFile = HttpFileContent{(files.path() / "content.bin").string(), content.size()};
  request.bodySuffix = "\r\n--b--\r\n";
  request.headers.emplace_back("Content-Length", std::to_string(request.contentLength()));
  send(request);
  ASSERT_TRUE(finished());
  EXPECT_FALSE(outcome->error);
  ASSERT_TRUE(outcome->response);
  EXPECT_EQ(outcome->response->statusCode, 201);
  EXPECT_EQ(std::string(outcome->response->body.begin(), outcome->response->body.end()),
            R"({"url":"http://127.0.0.1/x"})");
  EXPECT_NE(outcome->thread, std::this_thread::get_id());
  ASSERT_EQ(server.requests().size(), 1u);
  const auto received = server.requests().front();
  EXPECT_EQ(received.body, request.bodyPrefix + content + request.bodySuffix);
  EXPECT_EQ(received.headerCount("Content-Length"), 1);
  EXPECT_EQ(received.header("Transfer-Encoding"), "");
}

TEST_P(HttpClientContract, CancelTimeOutAndRefusalEachEndWithAnError) {
  server.script({Reply::stall()});
  auto task = send(post(server.origin()));
  while (server.requests().empty()) std::this_thread::sleep_for(std::chrono::milliseconds(5));
  task->cancel();
  ASSERT_TRUE(finished()) << "cancel did not end a stalled request";
  EXPECT_EQ(outcome->error, std::optional<std::string>("cancelled"));
  EXPECT_FALSE(outcome->response);

  outcome = std::make_shared<Outcome>();
  HttpRequest slow = post(server.origin());
  slow.timeout = std::chrono::milliseconds(300);
  send(slow);
  ASSERT_TRUE(finished()) << "the time-out never fired";
  EXPECT_TRUE(outcome->error);

  outcome = std::make_shared<Outcome>();
  send(post("http://127.0.0.1:" + std::to_string(ScriptedHttpServer::closedPort())));
  ASSERT_TRUE(finished());
  EXPECT_TRUE(outcome->error);
  EXPECT_FALSE(outcome->response);
}

// The declared size is what the file held when the upload was set up: a file that shrinks since
// fails at once instead of waiting for the time-out.
TEST_P(HttpClientContract, AFileThatShrinksFailsAtOnce) {
  files.write("shrinking.bin", std::string(4096, 'x'));
  HttpRequest request = post(server.origin());
  request.bodyFile = HttpFileContent{(files.path() / "shrinking.bin").string(), 4096 + (1 << 20)};
  request.timeout = std::chrono::minutes(5);
  send(request);
  ASSERT_TRUE(finished());
  ASSERT_TRUE(outcome->error);
  EXPECT_NE(outcome->error->find("shorter"), std::string::npos) << *outcome->error;
}

INSTANTIATE_TEST_SUITE_P(
    Implementations, HttpClientContract,
    ::testing::Values(HttpClientImplementation{"Curl",
                                               [] { return std::make_shared<CurlHttpClient>(); }},
                      HttpClientImplementation{
                          "Observing", [] { return std::make_shared<ObservingHttpClient>(); }}),
    [](const auto& implementation) { return implementation.param.name; });

}  // namespace
}  // namespace quorvel::testing
