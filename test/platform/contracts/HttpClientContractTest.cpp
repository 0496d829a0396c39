#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <thread>

#include "curl/CurlHttpClient.h"
#include "platform/contracts/Implementation.h"
#include "support/ScriptedHttpServer.h"
#include "support/TemporaryTree.h"

namespace quorvel::testing {
namespace {

using Reply = ScriptedHttpServer::Reply;

using HttpClientImplementation = Implementation<HttpClient, std::shared_ptr<HttpClient>>;

// What every HttpClient must do against a loopback peer: stream a body in one piece with its
// length, end with an error on cancel, silence past the time-out, a reset, refusal and a file that
// shrank, always once and on its own thread, hand a redirect back as it is and a compressed answer
// decoded.
class HttpClientContract : public ::testing::TestWithParam<HttpClientImplementation> {
 protected:
  struct Outcome {
    std::optional<HttpResponse> response;
    std::optional<std::string> error;
    std::thread::id thread;
  };

  // Sends a post to origin (the peer's by default), changed by change.
  std::shared_ptr<HttpTask> send(const std::function<void(HttpRequest&)>& change = nullptr,
                                 const std::string& origin = "") {
    HttpRequest request;
    request.url = (origin.empty() ? server.origin() : origin) + "/v3/applications/app/asset-upload";
    request.headers = {{"Expect", ""}};
    if (change) change(request);
    auto promise = std::make_shared<std::promise<Outcome>>();
    pending = promise->get_future();
    return client->send(std::move(request), [promise](auto response, auto error) {
      promise->set_value({std::move(response), std::move(error), std::this_thread::get_id()});
    });
  }
  // The outcome of the last send, or nothing after ten seconds.
  std::optional<Outcome> outcome() {
    if (pending.wait_for(std::chrono::seconds(10)) != std::future_status::ready) return {};
    return pending.get();
  }
  // The status and body that the last send was answered with, on another thread and without an
  // error; {0, ""} when there was none.
  std::pair<int, std::string> answer() {
    auto got = outcome();
    EXPECT_TRUE(got && got->response && !got->error) << (got && got->error ? *got->error : "");
    if (!got || !got->response) return {0, ""};
    EXPECT_NE(got->thread, std::this_thread::get_id());
    return {got->response->statusCode, {got->response->body.begin(), got->response->body.end()}};
  }
  // The error that the last send ended with, without an answer; "" when there was none.
  std::string error() {
    auto got = outcome();
    EXPECT_TRUE(got && got->error && !got->response) << "no error, or an answer too";
    return got && got->error ? *got->error : "";
  }

  std::shared_ptr<HttpClient> client = GetParam().make();
  std::future<Outcome> pending;
  ScriptedHttpServer server;
  TemporaryTree files{"quorvel-http-contract"};
};

TEST_P(HttpClientContract, StreamsPrefixFileAndSuffixAsOneBodyOfItsLength) {
  server.script({Reply::json(201, R"({"url":"http://127.0.0.1/x"})")});
  std::string content(300000, '\0');
  for (std::size_t i = 0; i < content.size(); ++i) content[i] = static_cast<char>(i * 7);
  files.write("content.bin", content);
  send([&](HttpRequest& request) {
    request.bodyPrefix = "--b\r\nhead\r\n\r\n";
    request.bodyFile = HttpFileContent{(files.path() / "content.bin").string(), content.size()};
    request.bodySuffix = "\r\n--b--\r\n";
    request.headers.emplace_back("Content-Length", std::to_string(request.contentLength()));
  });
  EXPECT_EQ(answer(), std::pair(201, std::string(R"({"url":"http://127.0.0.1/x"})")));
  ASSERT_EQ(server.requests().size(), 1u);
  const auto received = server.requests().front();
  EXPECT_EQ(received.body, "--b\r\nhead\r\n\r\n" + content + "\r\n--b--\r\n");
  EXPECT_EQ(received.headerCount("Content-Length"), 1);
  EXPECT_EQ(received.header("Transfer-Encoding"), "");
}

TEST_P(HttpClientContract, CancelTimeOutRefusalAndAShrunkFileEachEndWithAnError) {
  server.script({Reply::stall()});
  auto task = send();
  while (server.requests().empty()) std::this_thread::sleep_for(std::chrono::milliseconds(5));
  task->cancel();
  EXPECT_EQ(error(), "cancelled") << "cancel did not end a stalled request";
  send([](HttpRequest& request) { request.timeout = std::chrono::milliseconds(300); });
  EXPECT_NE(error(), "") << "the time-out never fired";
  // The time-out is for silence, not for the whole exchange: an answer that keeps coming is slow
  // but not late. The body is most of the answer, so that its bytes, not the head's, keep it alive.
  Reply trickled = Reply::json(200, R"({"url": ")" + std::string(4000, 'u') + R"("})");
  trickled.pieces = 8;
  trickled.gap = std::chrono::milliseconds(100);
  server.script({trickled});
  send([](HttpRequest& request) { request.timeout = std::chrono::milliseconds(300); });
  EXPECT_EQ(answer().first, 200) << "a slow answer was taken for silence";

  // An answer cut off by a reset is no answer, whatever its head said.
  server.script({Reply::resetAfterHeaders()});
  send();
  EXPECT_NE(error(), "") << "reset";
  send(nullptr, "http://127.0.0.1:" + std::to_string(ScriptedHttpServer::closedPort()));
  EXPECT_NE(error(), "") << "refused";

  // The declared size is what the file held when the upload was set up: a file that shrank
  // since fails at once instead of waiting for the time-out.
  files.write("shrinking.bin", std::string(4096, 'x'));
  send([&](HttpRequest& request) {
    request.bodyFile = HttpFileContent{(files.path() / "shrinking.bin").string(), 4096 + (1 << 20)};
    request.timeout = std::chrono::minutes(5);
  });
  EXPECT_THAT(error(), ::testing::HasSubstr("shorter"));
}

TEST_P(HttpClientContract, RedirectIsAnAnswerAndACompressedAnswerArrivesDecoded) {
  server.script({Reply::answer(307, "moved", "Location: /elsewhere\r\n"),
                 Reply::gzipJson(200, R"({"url":"http://127.0.0.1/x"})")});
  for (const auto& expected :
       {std::pair<int, std::string>{307, "moved"}, {200, R"({"url":"http://127.0.0.1/x"})"}}) {
    send();
    EXPECT_EQ(answer(), expected);
  }
  EXPECT_EQ(server.requests().size(), 2u);
}

INSTANTIATE_TEST_SUITE_P(Implementations, HttpClientContract,
                         ::testing::Values(HttpClientImplementation{
                             "Curl", [] { return std::make_shared<CurlHttpClient>(); }}),
                         nameOfImplementation);

}  // namespace
}  // namespace quorvel::testing
