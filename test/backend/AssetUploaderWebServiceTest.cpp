#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <set>

#include "backend/AssetUploaderWebService.h"
#include "backend/Endpoints.h"
#include "media/JpegImageEncoder.h"
#include "support/ObservingHttpClient.h"
#include "support/ScriptedHttpServer.h"
#include "support/SdkFixture.h"
#include "support/SelfSignedTlsPeer.h"
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

  // Made after SetUp: an uploader keeps the ports installed when it is made.
  AssetUploaderWebService makeUploader(bool strict) const {
    return {platform(), Environment::production, "app-1", "key-1", strict};
  }

  std::string writeDocument(const std::string& name, const std::string& content) {
    documents->write(name, content);
    return (documents->path() / name).string();
  }

  // Uploads file against the scripted reply and returns what the caller heard.
  std::vector<Answer> answersTo(Reply reply, bool strict, const std::string& file) {
    server.script({reply});
    answers->clear();
    int before = exchanges++;
    makeUploader(strict).uploadFile(file, record());
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
  makeUploader(false).uploadImage(photo, record());
  ASSERT_TRUE(http->waitForExchanges(1));

  auto requests = server.requests();
  ASSERT_EQ(requests.size(), 1u);
  const auto& request = requests[0];
  EXPECT_THAT(request.head, ::testing::StartsWith("POST /v3/applications/app-1/asset-upload "));
  EXPECT_EQ(request.header("Authorization"), "Bearer key-1");
  EXPECT_EQ(request.header("Content-Type"),
            "multipart/form-data; boundary=----WebKitFormBoundary7MA4YWxkTrZu0gW");
  EXPECT_EQ(request.headerCount("Expect"), 0);

  auto jpeg = JpegImageEncoder().jpegData(photo, 0.8);
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
    makeUploader(false).uploadFile(writeDocument(name, content), record());
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
  makeUploader(false).uploadFile(writeDocument("line\r\nX-Evil: 1.txt", "x"), record());
  makeUploader(false).uploadFile((documents->path() / "missing.bin").string(), record());
  ASSERT_EQ(answers->size(), 2u);
  for (const auto& answer : *answers) {
    EXPECT_FALSE(answer.response);
    EXPECT_TRUE(answer.error);
  }
  EXPECT_TRUE(server.requests().empty());
}

// What one caller heard: an object, (nothing, nothing), no completion at all, or an error whose
// text holds says.
struct Heard {
  enum Kind { object, nothing, silence, error } kind;
  std::string says = "";
};

Heard heard(const std::vector<Answer>& answers) {
  if (answers.empty()) return {Heard::silence};
  EXPECT_EQ(answers.size(), 1u);
  const Answer& answer = answers[0];
  if (answer.error) return {Heard::error, *answer.error};
  return {answer.response ? Heard::object : Heard::nothing};
}

TEST_F(AssetUploadTest, EachBackendFaultGivesItsOutcomeWithAndWithoutStrictAnswers) {
  constexpr std::size_t cap = 16 << 20;      // CurlHttpClient's default response limit
  constexpr std::uint64_t large = 64 << 20;  // sparse: more than every socket buffer holds
  const std::string stored = R"({"filename": "f", "url": "http://127.0.0.1/f"})";
  const std::string refusal = R"({"error": "missing or unknown API key"})";
  std::string exactlyCap = stored + std::string(cap - stored.size(), ' ');
  Reply earlyRefusal = Reply::json(413, R"({"error": "too large"})");
  earlyRefusal.beforeBody = true;
  SelfSignedTlsPeer tls;
  const std::string closed = "http://127.0.0.1:" + std::to_string(ScriptedHttpServer::closedPort());
  using enum Heard::Kind;
  const Heard tooLarge{error, "larger than"};

  struct Fault {
    const char* name;
    Reply reply;
    Heard lenient;
    Heard strict;
    std::string origin = "";     // another peer than the scripted server
    std::uint64_t fileSize = 0;  // a sparse file of this size instead of a small document
  };
  const std::vector<Fault> faults = {
      {"refused connection", Reply::json(200, "{}"), {error}, {error}, closed},
      {"500 with an object", Reply::json(500, stored), {object}, {error, "answered 500"}},
      {"500 with an array", Reply::json(500, "[1]"), {nothing}, {error, "answered 500"}},
      {"500, bad UTF-8",
       Reply::json(500, "{\"url\": \"\xc3\"}"),
       {silence},
       {error, "answered 500"}},
      {"401 with an error object", Reply::json(401, refusal), {object}, {error, "answered 401"}},
      {"200 without a url", Reply::json(200, refusal), {object}, {error, "no address"}},
      {"200 with cut-off JSON", Reply::json(200, "{\"open\": "), {nothing}, {error, "no address"}},
      {"200 with invalid UTF-8", Reply::json(200, "\xff"), {silence}, {error, "not UTF-8"}},
      // Not followed: the server sees one request (checked below) and its answer has no body.
      {"redirect", Reply::answer(307, "", "Location: /\r\n"), {nothing}, {error, "answered 307"}},
      {"gzip past the limit", Reply::gzipJson(200, std::string(cap + 1, ' ')), tooLarge, tooLarge},
      {"answer of exactly the limit", Reply::json(200, exactlyCap), {object}, {object}},
      {"answer past the limit", Reply::json(200, exactlyCap + " "), tooLarge, tooLarge},
      // The refusal goes out before the body is read; the server then reads the body away.
      {"early refusal of a large body", earlyRefusal, {object}, {error, "answered 413"}, "", large},
      {"self-signed https peer", Reply::json(200, "{}"), {error}, {error}, tls.origin()},
  };

  for (const auto& fault : faults) {
    for (bool strict : {false, true}) {
      SCOPED_TRACE(std::string(fault.name) + (strict ? ", strict" : ""));
      env.setAssetsHost(fault.origin.empty() ? server.origin() : fault.origin);
      platform().httpClient = http;
      std::string file = writeDocument("r.json", "{}");
      if (fault.fileSize > 0) std::filesystem::resize_file(file, fault.fileSize);
      const std::size_t before = server.requests().size();
      const Heard expected = strict ? fault.strict : fault.lenient;
      const Heard got = heard(answersTo(fault.reply, strict, file));
      EXPECT_EQ(got.kind, expected.kind);
      EXPECT_THAT(got.says, ::testing::HasSubstr(expected.says));
      // Nothing is retried or followed.
      EXPECT_EQ(server.requests().size(), before + (fault.origin.empty() ? 1 : 0));
    }
  }
  // The key never went out over the unverified channel.
  EXPECT_GE(tls.handshakesAttempted(), 2);
  EXPECT_EQ(tls.handshakesCompleted(), 0);
}

class EndpointsTest : public SdkFixture {
 protected:
  // The upload address with the installed host's information dictionary.
  static std::string uploadURL(Environment environment, const std::string& appID) {
    return Endpoints::assetUploadURL(environment, appID, *platform().hostBundle);
  }
};

TEST_F(EndpointsTest, EnvironmentPicksItsHostAndTheAppIDGoesInAsGiven) {
  env.setHostInfo({{"QuorvelAssetsHostProduction", "https://prod.example"},
                   {"QuorvelAssetsHostQA", "https://qa.example/"},
                   {"QuorvelAssetsHostIntegrations", "http://127.0.0.1:8080"}});
  env.install();
  // A slash adds a path segment, unescaped.
  const std::pair<int, const char*> cases[] = {
      {0, "https://prod.example/v3/applications/team/app/asset-upload"},
      {1, "https://qa.example/v3/applications/team/app/asset-upload"},
      {2, "http://127.0.0.1:8080/v3/applications/team/app/asset-upload"},
      {7, "https://prod.example/v3/applications/team/app/asset-upload"}};
  for (const auto& [raw, url] : cases) {
    EXPECT_EQ(uploadURL(static_cast<Environment>(raw), "team/app"), url) << raw;
  }
  // Without overrides the build's own hosts are used.
  env.setHostInfo(Dictionary::object());
  env.install();
  EXPECT_TRUE(uploadURL(Environment::production, "a").starts_with("https://"));
}

TEST_F(EndpointsTest, MissingAppIDOrUnusableAddressIsAProgrammingError) {
  EXPECT_DEATH(uploadURL(Environment::production, ""), "app ID");
  EXPECT_DEATH(uploadURL(Environment::production, "has space"), "not a valid URL");
  // A NUL byte would end the address early in every C interface it passes through.
  EXPECT_DEATH(uploadURL(Environment::production, std::string("app\0/x", 6)), "not a valid URL");
}

TEST(URLSyntax, OnlyAbsoluteHttpAddressesOfURLCharacters) {
  EXPECT_TRUE(isParsableURL("https://h/v3/applications/a%20b/asset-upload"));
  EXPECT_TRUE(isParsableURL("HTTP://127.0.0.1:1/x"));
  for (const char* bad :
       {"ftp://h/x", "h/x", "https:///x", "https://h/\"", "https://h/%2", "https://h/\xc3\xa9"}) {
    EXPECT_FALSE(isParsableURL(bad)) << bad;
  }
}

}  // namespace
}  // namespace quorvel::testing
