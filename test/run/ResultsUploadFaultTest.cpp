#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "AssetsServer.h"
#include "backend/AssetUploaderWebService.h"
#include "device/CryptoHelper.h"
#include "quorvel/ui/AlertController.h"
#include "run/ResultsSubmission.h"
#include "run/RunController.h"
#include "support/ObservingHttpClient.h"
#include "support/ScriptedHttpServer.h"
#include "support/SdkFixture.h"
#include "support/SelfSignedTlsPeer.h"
#include "support/TestImages.h"

namespace quorvel::testing {
namespace {

using Reply = ScriptedHttpServer::Reply;

const std::string kStored = R"({"filename": "f.json", "url": "http://127.0.0.1/f.json"})";

// How a run stands once its results upload has been answered.
struct Ends {
  enum Kind { alert, open, delivered } kind;
  std::string url = "";  // the "url" the host gets when delivered
};

// The document in a request's single multipart part, or null when its body did not all arrive.
Dictionary documentIn(const ScriptedHttpServer::Request& request) {
  const std::size_t start = request.body.find("\r\n\r\n");
  const std::size_t end = request.body.rfind("\r\n--");
  if (start == std::string::npos || end == std::string::npos || end < start) return nullptr;
  Dictionary document =
      Dictionary::parse(request.body.substr(start + 4, end - start - 4), nullptr, false);
  return document.is_discarded() ? nullptr : document;
}

// Whole runs through performTests whose results upload meets a misbehaving backend, judged by
// what the host and the backend get; every failure must leave a retry that sends the same seal.
class ResultsUploadFaultTest : public SdkFixture {
 protected:
  void pointAt(const std::string& origin) {
    env.setAssetsHost(origin);
    platform().httpClient = http;
  }

  // A run with nothing to test, identified by its serial number, on its end screen.
  void toEndScreen(bool strict) {
    pointAt(server.origin());
    sdk.strictUploads = strict;
    sdk.hideStartScreen = true;
    hostWithNavigation();
    start(std::vector<std::string>{"charging_v1"}, std::nullopt, "SERIAL1");
    ASSERT_EQ(topInterface(), "TestsFinishedViewController");
  }

  // Presses Finish and lets the answer, whatever it is, reach the run.
  void finish() {
    press("uiBtDone_TouchUpInside");
    ASSERT_TRUE(http->waitForExchanges(++exchanges));
    settle();
  }

  std::shared_ptr<AlertController> alert() const {
    auto shown = navigation();
    return shown ? std::dynamic_pointer_cast<AlertController>(shown->presentedViewController())
                 : nullptr;
  }

  bool overlayShown() const { return window && !window->overlays().empty(); }

  // OK on the failure alert, then Finish again against a backend that stores: the host gets 200
  // and every document that reached the backend whole carries the one valid seal.
  void retryDelivers() {
    ASSERT_TRUE(alert());
    alert()->performAction(0);
    settle();
    env.queue->advance(0.1);
    ASSERT_FALSE(overlayShown());
    ASSERT_EQ(topInterface(), "TestsFinishedViewController");
    ASSERT_EQ(outcome->calls, 0);
    pointAt(server.origin());
    server.script({Reply::json(200, kStored)});
    finish();
    ASSERT_EQ(outcome->calls, 1);
    EXPECT_EQ(outcome->response->at("status_code"), 200);
    EXPECT_EQ(outcome->response->at("uploaded_results_info").at("url"), "http://127.0.0.1/f.json");
    const Dictionary last = documentIn(server.requests().back());
    ASSERT_TRUE(last.is_object());
    EXPECT_EQ(last.at("sha256"), CryptoHelper::hexString(CryptoHelper::sha256(
                                     std::string_view(last.at("data").dump() + "app-0123456789"))));
    for (const auto& request : server.requests()) {
      const Dictionary earlier = documentIn(request);
      if (!earlier.is_null()) {
        EXPECT_EQ(earlier, last);
      }
    }
    // A stale answer would have tried to show a second alert.
    EXPECT_EQ(env.log->indexOf("Zephyn Log: Attempt to present"), -1);
  }

  ScriptedHttpServer server;
  std::shared_ptr<ObservingHttpClient> http = std::make_shared<ObservingHttpClient>();
  int exchanges = 0;
};

TEST_F(ResultsUploadFaultTest, EachBackendFaultEndsTheRunAsItsModeSays) {
  constexpr std::size_t cap = 16 << 20;
  const std::string refusal = R"({"error": "missing or unknown API key"})";
  Reply trickled = Reply::json(200, kStored);
  trickled.pieces = 12;  // 1.65 s in all, never 1 s without progress
  trickled.gap = std::chrono::milliseconds(150);
  Reply earlyRefusal = Reply::json(413, R"({"error": "too large"})");
  earlyRefusal.beforeBody = true;
  Reply earlyReset = Reply::raw("HTTP/1.1 401 Scripted\r\nContent-Length: 100\r\n\r\n{\"err");
  earlyReset.kind = Reply::Kind::resetMidBody;
  earlyReset.beforeBody = true;
  SelfSignedTlsPeer tls;
  const std::string closed = "http://127.0.0.1:" + std::to_string(ScriptedHttpServer::closedPort());

  struct Fault {
    const char* name;
    Reply reply;
    Ends lenient;
    Ends strict;
    std::string origin = "";  // another peer than the scripted server
  };
  const Ends failed{Ends::alert}, waits{Ends::open},
      stored{Ends::delivered, "http://127.0.0.1/f.json"}, noUrl{Ends::delivered, ""};
  const std::vector<Fault> faults = {
      {"refused connection", Reply::json(200, kStored), failed, failed, closed},
      {"reset mid-body", Reply::resetAfterHeaders(), failed, failed},
      {"stall past the time-out", Reply::stall(), failed, failed},
      {"slow answer within the time-out", trickled, stored, stored},
      {"500 with an object", Reply::json(500, kStored), stored, failed},
      {"500 with an array", Reply::json(500, "[1]"), waits, failed},
      {"500 with invalid UTF-8", Reply::json(500, "{\"url\": \"\xc3\"}"), waits, failed},
      {"500 with nothing", Reply::answer(500, ""), waits, failed},
      {"401 with an error object", Reply::json(401, refusal), noUrl, failed},
      {"200 without a url", Reply::json(200, R"({"filename": "f.json"})"), noUrl, failed},
      {"redirect", Reply::answer(307, "", "Location: /elsewhere\r\n"), waits, failed},
      {"gzip-encoded answer", Reply::gzipJson(200, kStored), stored, stored},
      {"answer past the limit", Reply::json(200, kStored + std::string(cap, ' ')), failed, failed},
      {"early refusal", earlyRefusal, noUrl, failed},
      {"early refusal cut off by a reset", earlyReset, failed, failed},
      {"self-signed https peer", Reply::json(200, kStored), failed, failed, tls.origin()},
      {"good answer", Reply::json(200, kStored), stored, stored},
  };

  for (const auto& fault : faults) {
    for (bool strict : {false, true}) {
      SCOPED_TRACE(std::string(fault.name) + (strict ? ", strict" : ""));
      SetUp();
      AssetUploaderWebService::timeoutInterval = std::chrono::seconds(1);
      toEndScreen(strict);
      server.script({fault.reply});
      if (!fault.origin.empty()) pointAt(fault.origin);
      finish();
      const Ends& expected = strict ? fault.strict : fault.lenient;
      if (expected.kind == Ends::delivered) {
        ASSERT_EQ(outcome->calls, 1);
        EXPECT_EQ(outcome->response->at("status_code"), 200);
        EXPECT_EQ(outcome->response->at("uploaded_results_info").at("url"), expected.url);
        EXPECT_EQ(stack(), (std::vector<std::string>{"HostHome", "HostDetail"}));
      } else if (expected.kind == Ends::open) {
        // Not even the strict wait ends it.
        env.queue->advance(ResultsSubmission::strictAnswerWaitSeconds);
        EXPECT_FALSE(alert());
        EXPECT_TRUE(overlayShown());
        EXPECT_EQ(outcome->calls, 0);
      } else {
        EXPECT_TRUE(alert());
        retryDelivers();
      }
      TearDown();
    }
  }
  SetUp();
}

TEST_F(ResultsUploadFaultTest, StrictRunGivesUpOnAnAnswerThatNeverComes) {
  toEndScreen(true);
  server.script({Reply::stall()});  // within the 60 s time-out all along
  press("uiBtDone_TouchUpInside");
  ASSERT_TRUE(waitUntil([&] { return server.requests().size() == 1; }));
  env.queue->advance(ResultsSubmission::strictAnswerWaitSeconds - 1);
  EXPECT_FALSE(alert());
  env.queue->advance(1);
  EXPECT_TRUE(alert());
  // The request is cancelled; its late answer is dropped.
  ASSERT_TRUE(http->waitForExchanges(++exchanges));
  settle();
  retryDelivers();
}

// Strictness covers the screens' uploads too: an error answer's address is not taken.
TEST_F(ResultsUploadFaultTest, StrictRunRefusesAnIdentifierPhotoAnsweredWithAnError) {
  for (bool strict : {false, true}) {
    SCOPED_TRACE(strict ? "strict" : "lenient");
    SetUp();
    pointAt(server.origin());
    server.script({Reply::json(500, kStored)});
    sdk.strictUploads = strict;
    hostWithNavigation();
    start(std::vector<std::string>{"multi_touch_v2"});
    press("uiBtNext_TouchUpInside");
    auto entry = top();
    ASSERT_EQ(entry->interfaceName(), "IMEIViewController");
    env.picker->next = Image::encoded(makePng(40, 30));
    press("uiBtAttachImage_TouchUpInside");
    press("uiBtNext_TouchUpInside");
    ASSERT_TRUE(http->waitForExchanges(++exchanges));
    settle();
    if (strict) {
      // The photo's own retry alert, on the screen that sent it; its cancel ends the run.
      auto photoAlert =
          std::dynamic_pointer_cast<AlertController>(entry->presentedViewController());
      ASSERT_TRUE(photoAlert);
      photoAlert->performAction(1);
    } else {
      ASSERT_EQ(topInterface(), "MultiTouch_v2_ViewController");
      press("uiBtCancel_TouchUpInside");
    }
    settle();
    EXPECT_EQ(outcome->calls, 1);
    TearDown();
  }
  SetUp();
}

TEST_F(ResultsUploadFaultTest, WrongApiKeyAgainstTheReferenceServer) {
  TemporaryTree storage{"quorvel-assets"};
  AssetsServer reference{AssetsServer::Options{storage.path(), {"another-key"}}};
  reference.start();
  for (bool strict : {false, true}) {
    SCOPED_TRACE(strict ? "strict" : "lenient");
    SetUp();
    toEndScreen(strict);
    pointAt(reference.address());
    finish();
    if (strict) {
      EXPECT_TRUE(alert());
      EXPECT_EQ(outcome->calls, 0);
    } else {
      // Stored nowhere, yet reported as done.
      ASSERT_EQ(outcome->calls, 1);
      EXPECT_EQ(outcome->response->at("status_code"), 200);
      EXPECT_EQ(outcome->response->at("uploaded_results_info").at("url"), "");
    }
    TearDown();
  }
  reference.stop();
  SetUp();
}

}  // namespace
}  // namespace quorvel::testing
