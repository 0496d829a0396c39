#include <gtest/gtest.h>

#include "device/CryptoHelper.h"
#include "run/ResultsSubmission.h"
#include "support/ObservingHttpClient.h"
#include "support/ScriptedHttpServer.h"
#include "support/SdkFixture.h"
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
    start(std::vector<std::string>{"charging_v1"}, std::nullopt, "SERIAL1");
    ASSERT_EQ(topInterface(), "TestsFinishedViewController");
  }

  // Presses Finish and lets the answer, whatever it is, reach the run.
  void finish() {
    press("uiBtDone_TouchUpInside");
    ASSERT_TRUE(http->waitForExchanges(++exchanges));
    settle();
  }

  // OK on the failure alert, then Finish again against a backend that stores: the host gets 200
  // and every document that reached the backend whole carries the one valid seal.
  void retryDelivers() {
    ASSERT_TRUE(alertOn());
    alertOn()->performAction(0);
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

// One fault of each kind the uploader can report (AssetUploadTest maps every backend fault to
// one of them): an error, an object with or without an address, no object, no answer at all.
TEST_F(ResultsUploadFaultTest, EachKindOfUploadOutcomeEndsTheRunAsItsModeSays) {
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
      {"500 with an object", Reply::json(500, kStored), stored, failed},
      {"500 with an array", Reply::json(500, "[1]"), waits, failed},
      {"500 with invalid UTF-8", Reply::json(500, "{\"url\": \"\xc3\"}"), waits, failed},
      {"401 with an error object", Reply::json(401, R"({"error": "unknown key"})"), noUrl, failed},
      {"200 without a url", Reply::json(200, R"({"filename": "f.json"})"), noUrl, failed},
      {"good answer", Reply::json(200, kStored), stored, stored},
  };

  for (const auto& fault : faults) {
    for (bool strict : {false, true}) {
      SCOPED_TRACE(std::string(fault.name) + (strict ? ", strict" : ""));
      restart();
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
        EXPECT_FALSE(alertOn());
        EXPECT_TRUE(overlayShown());
        EXPECT_EQ(outcome->calls, 0);
      } else {
        EXPECT_TRUE(alertOn());
        retryDelivers();
      }
    }
  }
}

TEST_F(ResultsUploadFaultTest, StrictRunGivesUpOnAnAnswerThatNeverComes) {
  toEndScreen(true);
  server.script({Reply::stall()});  // within the 60 s time-out all along
  press("uiBtDone_TouchUpInside");
  ASSERT_TRUE(waitUntil([&] { return server.requests().size() == 1; }));
  env.queue->advance(ResultsSubmission::strictAnswerWaitSeconds - 1);
  EXPECT_FALSE(alertOn());
  env.queue->advance(1);
  EXPECT_TRUE(alertOn());
  // The request is cancelled; its late answer is dropped.
  ASSERT_TRUE(http->waitForExchanges(++exchanges));
  settle();
  retryDelivers();
}

// Strictness covers the screens' uploads too: an error answer's address is not taken.
TEST_F(ResultsUploadFaultTest, StrictRunRefusesAnIdentifierPhotoAnsweredWithAnError) {
  for (bool strict : {false, true}) {
    SCOPED_TRACE(strict ? "strict" : "lenient");
    restart();
    pointAt(server.origin());
    server.script({Reply::json(500, kStored)});
    sdk.strictUploads = strict;
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
      ASSERT_TRUE(alertOn(entry));
      alertOn(entry)->performAction(1);
    } else {
      ASSERT_EQ(topInterface(), "MultiTouch_v2_ViewController");
      press("uiBtCancel_TouchUpInside");
    }
    settle();
    EXPECT_EQ(outcome->calls, 1);
  }
}

}  // namespace
}  // namespace quorvel::testing
