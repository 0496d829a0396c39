#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "curl/CurlHttpClient.h"
#include "support/ScriptedHttpServer.h"
#include "support/TemporaryTree.h"

namespace quorvel::testing {
namespace {

// Straight to the client: the declared size is what the file held when the upload was set up.
class CurlHttpClientTest : public ::testing::Test {
 protected:
  struct Result {
    std::mutex mutex;
    std::condition_variable changed;
    std::optional<std::optional<std::string>> error;
  };

  std::shared_ptr<Result> sendAndWait(HttpRequest request, std::shared_ptr<HttpTask>* task) {
    auto result = std::make_shared<Result>();
    *task = client.send(std::move(request),
                        [result](std::optional<HttpResponse>, std::optional<std::string> error) {
                          std::lock_guard lock(result->mutex);
                          result->error = std::move(error);
                          result->changed.notify_all();
                        });
    return result;
  }

  static bool waitFor(Result& result) {
    std::unique_lock lock(result.mutex);
    return result.changed.wait_for(lock, std::chrono::seconds(10),
                                   [&] { return result.error.has_value(); });
  }

  TemporaryTree files{"quorvel-http"};
  ScriptedHttpServer server;
  CurlHttpClient client;
};

TEST_F(CurlHttpClientTest, FileThatShrinksFailsAtOnceInsteadOfWaitingForTheTimeOut) {
  files.write("shrinking.bin", std::string(4096, 'x'));
  HttpRequest request;
  request.url = server.origin() + "/upload";
  request.bodyFile = HttpFileContent{(files.path() / "shrinking.bin").string(), 4096 + (1 << 20)};
  request.timeout = std::chrono::minutes(5);
  std::shared_ptr<HttpTask> task;
  auto result = sendAndWait(std::move(request), &task);
  ASSERT_TRUE(waitFor(*result));
  ASSERT_TRUE(result->error->has_value());
  EXPECT_THAT(**result->error, ::testing::HasSubstr("shorter"));
}

}  // namespace
}  // namespace quorvel::testing
