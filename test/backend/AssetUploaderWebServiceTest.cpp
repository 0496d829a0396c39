#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <condition_variable>
#include <mutex>
#include <regex>
#include <set>
#include <thread>

#include "backend/AssetUploaderWebService.h"
#include "curl/CurlHttpClient.h"
#include "media/FfmpegImageEncoder.h"
#include "quorvel/platform/Platform.h"
#include "support/ObservingHttpClient.h"
#include "support/ScriptedHttpServer.h"
#include "support/SdkFixture.h"
#include "support/TestImages.h"

namespace quorvel::testing {
namespace {

using Reply = ScriptedHttpServer::Reply;

struct Answer {
  std::optional<Dictionary> response;
  std::optional<std::string> error;
};

class AssetUploadTest : public SdkFixture {
 protected:
  void SetUp() override {
    SdkFixture::SetUp();
    env.setHostInfo({{"QuorvelAssetsHostProduction", server.origin()}});
    env.install();
    platform().httpClient = http;
  }

  AssetUploaderWebService::Completion record() {
    return
        [answers = answers](std::optional<Dictionary> response, std::optional<std::string> error) {
          answers->push_back({std::move(response), std::move(error)});
        };
  }

  AssetUploaderWebService uploader{Environment::production, "app-1", "key-1"};

  std::string writeDocument(const std::string& name, const std::string& content) {
    documents->write(name, content);
    return (documents->path() / name).string();
  }

  // Uploads a small file against the scripted reply and returns what the caller heard.
  std::vector<Answer> answersTo(Reply reply) {
    server.script({reply});
    answers->clear();
    int before = exchanges++;
    uploader.uploadFile(writeDocument("r.json", "{}"), record());
    EXPECT_TRUE(http->waitForExchanges(before + 1));
    return *answers;
  }

  ScriptedHttpServer server;
  std::shared_ptr<ObservingHttpClient> http = std::make_shared<ObservingHttpClient>();
  std::shared_ptr<std::vector<Answer>> answers = std::make_shared<std::vector<Answer>>();
  int exchanges = 0;
};

TEST_F(AssetUploadTest, ImageGoesOutAsJpegLabelledPngWithTheFixedBoundary) {
  Image photo = Image::encoded(makePng(64, 48));
  uploader.uploadImage(photo, record());
  ASSERT_TRUE(http->waitForExchanges(1));

  auto requests = server.requests();
  ASSERT_EQ(requests.size(), 1u);
  const auto& request = requests[0];
  EXPECT_THAT(request.head, ::testing::StartsWith("POST /v3/applications/app-1/asset-upload "));
  EXPECT_EQ(request.header("Authorization"), "Bearer key-1");
  EXPECT_EQ(request.header("Content-Type"),
            "multipart/form-data; boundary=----WebKitFormBoundary7MA4YWxkTrZu0gW");
  EXPECT_EQ(request.headerCount("Expect"), 0);

  auto jpeg = FfmpegImageEncoder().jpegData(photo, 0.8);
  ASSERT_TRUE(jpeg);
  EXPECT_EQ(request.body,
            "\r\n------WebKitFormBoundary7MA4YWxkTrZu0gW\r\n"
            "Content-Disposition: form-data; name=\"content\"; filename=\"image.png\"\r\n"
            "Content-Type: image/png\r\n\r\n" +
                std::string(jpeg->begin(), jpeg->end()) +
                "\r\n------WebKitFormBoundary7MA4YWxkTrZu0gW--\r\n");
  ASSERT_EQ(answers->size(), 1u);
  EXPECT_EQ(answers->at(0).response, Dictionary::object());
}

TEST_F(AssetUploadTest, FileIsStreamedUnderItsNameAndMediaTypeWithAFreshBoundary) {
  std::string content = "\r\n--\r\n------WebKitFormBoundary7MA4YWxkTrZu0gW--\r\n";
  for (int i = 0; i < 256; ++i) content += static_cast<char>(i);
  const std::pair<const char*, const char*> cases[] = {
      {"audio.m4a", "audio/mp4"}, {"clip.MP4", "video/mp4"}, {"noext", "application/octet-stream"}};
  for (const auto& [name, mediaType] : cases) {
    uploader.uploadFile(writeDocument(name, content), record());
  }
  ASSERT_TRUE(http->waitForExchanges(3));

  auto requests = server.requests();
  ASSERT_EQ(requests.size(), 3u);
  std::set<std::string> boundaries;
  const std::regex uuid("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}");
  for (const auto& request : requests) {
    std::string type = request.header("Content-Type");
    std::string boundary = type.substr(type.find('=') + 1);
    EXPECT_TRUE(std::regex_match(boundary, uuid)) << boundary;
    boundaries.insert(boundary);
    std::string disposition = request.body.substr(0, request.body.find("\r\n\r\n"));
    auto match = std::find_if(std::begin(cases), std::end(cases), [&](const auto& c) {
      return disposition.find(std::string("filename=\"") + c.first + "\"") != std::string::npos;
    });
    ASSERT_NE(match, std::end(cases)) << disposition;
    EXPECT_EQ(request.body,
              "\r\n--" + boundary +
                  "\r\nContent-Disposition: form-data; name=\"content\"; filename=\"" +
                  match->first + "\"\r\nContent-Type: " + match->second + "\r\n\r\n" + content +
                  "\r\n--" + boundary + "--\r\n");
    EXPECT_EQ(request.header("Content-Length"), std::to_string(request.body.size()));
  }
  EXPECT_EQ(boundaries.size(), 3u);
}

TEST_F(AssetUploadTest, NamesThatCouldInjectHeadersAreNotSent) {
  uploader.uploadFile(writeDocument("line\r\nX-Evil: 1.txt", "x"), record());
  uploader.uploadFile((documents->path() / "missing.bin").string(), record());
  ASSERT_EQ(answers->size(), 2u);
  for (const auto& answer : *answers) {
    EXPECT_FALSE(answer.response);
    EXPECT_TRUE(answer.error);
  }
  EXPECT_TRUE(server.requests().empty());
}

TEST_F(AssetUploadTest, EachKindOfAnswerGivesItsCompletion) {
  auto only = [](const std::vector<Answer>& heard) {
    EXPECT_EQ(heard.size(), 1u);
    return heard.empty() ? Answer{} : heard[0];
  };
  // The status code is not examined: an object in an error answer is a response.
  auto error500 = only(answersTo(Reply::json(500, "{}")));
  EXPECT_EQ(error500.response, Dictionary::object());
  EXPECT_FALSE(error500.error);

  auto object = only(answersTo(Reply::json(200, R"({"filename": "f", "url": "u"})")));
  EXPECT_EQ(object.response, (Dictionary{{"filename", "f"}, {"url", "u"}}));

  for (const char* notAnObject : {"[1, 2]", "{\"open\": "}) {
    auto heard = only(answersTo(Reply::json(200, notAnObject)));
    EXPECT_FALSE(heard.response) << notAnObject;
    EXPECT_FALSE(heard.error) << notAnObject;
  }

  // Deliberately silent.
  EXPECT_TRUE(answersTo(Reply::json(200, "{\"url\": \"\xff\xfe\"}")).empty());

  auto reset = only(answersTo(Reply::resetAfterHeaders()));
  EXPECT_FALSE(reset.response);
  EXPECT_TRUE(reset.error);

  AssetUploaderWebService::timeoutInterval = std::chrono::milliseconds(300);
  auto stalled = only(answersTo(Reply::stall()));
  EXPECT_FALSE(stalled.response);
  EXPECT_EQ(stalled.error, "The request timed out.");
}

}  // namespace
}  // namespace quorvel::testing
