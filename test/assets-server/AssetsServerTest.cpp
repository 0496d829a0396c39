#include <gtest/gtest.h>
#include <httplib.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "AssetsServer.h"
#include "LoopbackHttp.h"
#include "MultipartReader.h"
#include "ResultsSeal.h"
#include "support/TemporaryTree.h"

namespace quorvel {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using namespace testing;

constexpr std::uint64_t kMaxBytes = 1 << 20;

std::size_t fileCount(const fs::path& root) {
  std::size_t count = 0;
  for (const auto& entry : fs::recursive_directory_iterator(root)) count += entry.is_regular_file();
  return count;
}

class AssetsServerTest : public ::testing::Test {
 protected:
  void SetUp() override { port = server.start(); }

  // The answer of an upload that must succeed.
  json stored(const std::string& appID, const std::string& fileName, const std::string& content,
              const std::string& type = "text/plain") {
    std::string answer = roundTrip(port, request(appID, part(fileName, type, content) + kClose));
    EXPECT_EQ(statuses(answer), std::vector<int>{200}) << answer;
    return json::parse(answer.substr(answer.find("\r\n\r\n") + 4), nullptr, false);
  }

  fs::path fileOf(const json& answer) const {
    return storage() / answer.value("url", "").substr(server.address().size() + 8);  // "/assets/"
  }

  fs::path storage() const { return tree.path() / "storage"; }

  testing::TemporaryTree tree{"quorvel-assets-server"};
  AssetsServer server{{.storage = tree.path() / "storage",
                       .apiKeys = {"key-1", "key-2"},
                       .maxBytes = kMaxBytes,
                       .readTimeout = std::chrono::seconds(30)}};
  int port = 0;
};

TEST_F(AssetsServerTest, StoresThePartByteForByteAndServesItBackWithItsType) {
  // Boundary-like runs everywhere, also across the reader's chunk edges; NULs and high bytes.
  std::string tricky;
  std::mt19937 random(7);
  while (tricky.size() < 200000) {
    tricky += "\r\n--" + kBoundary.substr(0, random() % kBoundary.size());
    tricky += static_cast<char>(random() % 256);
  }
  tricky += "\r\n--" + kBoundary.substr(0, kBoundary.size() - 1);
  const std::tuple<std::string, std::string, std::string> cases[] = {
      {"audio.m4a", "audio/mp4", tricky}, {"audio.m4a", "image/png", ""}};
  for (const auto& [fileName, type, content] : cases) {
    json answer = stored("team-app", fileName, content, type);
    std::string name = answer.value("filename", "");
    EXPECT_TRUE(name.ends_with("-" + fileName)) << name;
    std::string url = answer.value("url", "");
    ASSERT_TRUE(url.starts_with(server.address() + "/assets/")) << url;

    auto served = httplib::Client("127.0.0.1", port).Get(url.substr(server.address().size()));
    ASSERT_TRUE(served && served->status == 200) << url;
    EXPECT_TRUE(served->body == content) << type << " served " << served->body.size();
    EXPECT_EQ(served->get_header_value("Content-Type"), type);
    // A browser opening the url saves the bytes rather than running them as a page.
    EXPECT_EQ(served->get_header_value("X-Content-Type-Options"), "nosniff");
    EXPECT_EQ(served->get_header_value("Content-Disposition"),
              "attachment; filename=\"" + name + "\"");
  }
}

// Each refused from the head alone when it can be (the body is never sent), with its reason in
// JSON; nothing stored but the one asset, and nothing served but the assets.
TEST_F(AssetsServerTest, RefusesBadHeadsBodiesAndPathsWithTheirStatus) {
  const std::string asset =
      stored("app", "a.txt", "abc").value("url", "").substr(server.address().size());
  // A file outside the storage that looks like a stored one.
  tree.write("x", "secret");
  tree.write("x.meta.json", R"({"stored_filename": "x", "media_type": "text/plain"})");
  const std::string upload = "POST /v3/applications/app/asset-upload HTTP/1.1\r\nHost: x\r\n";
  const std::string type = "Content-Type: multipart/form-data; boundary=" + kBoundary + "\r\n";
  const std::string huge = "Content-Length: 900000000000\r\n";
  const std::string key = "Authorization: Bearer key-1\r\n";
  const std::string rest = key + "Content-Length: 1\r\n\r\n";
  std::string manyFields;
  for (std::size_t i = 0; i <= AssetsServer::kMaxHeaderFields; ++i) {
    manyFields += "X-" + std::to_string(i) + ": y\r\n";
  }
  const std::string one = part("a.txt", "text/plain", "abc");
  auto get = [](const std::string& path) { return "GET " + path + " HTTP/1.1\r\nHost: x\r\n\r\n"; };
  const std::pair<std::string, int> cases[] = {
      // Malformed or oversized heads.
      {upload + "X: " + std::string(AssetsServer::kMaxHeadBytes, 'y') + "\r\n" + rest, 431},
      {upload + manyFields + rest, 431},
      {upload + "No colon here\r\n" + rest, 400},
      {upload + "Authorization: Bearer key-1" + std::string(1, '\0') + "more\r\n" + rest, 400},
      {upload + "Authorization: Basic key-1\r\n" + type + huge + "\r\n", 401},
      // Refused instead of "100 Continue".
      {upload + "Expect: 100-continue\r\nAuthorization: Bearer nope\r\n" + type + huge + "\r\n",
       401},
      {upload + key + type + "Content-Length: " + std::to_string(kMaxBytes + 1) + "\r\n\r\n", 413},
      {upload + key + type + "Content-Length: 100\r\nContent-Encoding: gzip\r\n\r\n", 415},
      {upload + key + type + "Transfer-Encoding: chunked\r\n\r\n", 411},
      {upload + key + "Content-Type: application/octet-stream\r\nContent-Length: 100\r\n\r\n", 415},
      // Bodies that are not one part named content, to an app that has no upload yet.
      {request("new", part("a.txt", "text/plain", "abc", "file") + kClose), 400},
      {request("new", one + one + kClose), 400},
      {request("new", one), 400},  // no close delimiter
      // Unknown methods and paths.
      {get("/v3/applications/app/asset-upload"), 405},
      {get(asset + ".meta.json"), 404},
      {get("/assets/../x"), 404},
      {get("/assets/..%2F..%2Fx/x"), 404},
  };
  for (const auto& [sent, status] : cases) {
    std::string answer = roundTrip(port, sent);
    EXPECT_EQ(statuses(answer), std::vector<int>{status}) << sent.substr(0, 160) << answer;
    EXPECT_NE(answer.find("{\"error\":"), std::string::npos) << answer;
  }
  EXPECT_EQ(fileCount(storage()), 2u);
  // Not even a folder for the app whose uploads were all refused.
  EXPECT_EQ(std::distance(fs::directory_iterator(storage()), fs::directory_iterator()), 1);
}

// A refused request's unread body, and bytes after a complete request, are no request; a body
// announced with "Expect: 100-continue" is read once the head is accepted.
TEST_F(AssetsServerTest, TakesNoBodyForAnotherRequestAndContinuesOnlyAfterTheHead) {
  std::string inner = request("app", part("inner.txt", "text/plain", "smuggled") + kClose);
  std::string refused = request("app", inner, "wrong");
  std::string refusedHead = refused.substr(0, refused.size() - inner.size());
  EXPECT_EQ(statuses(roundTrip(port, refusedHead, inner)), std::vector<int>{401});
  EXPECT_EQ(fileCount(storage()), 0u);
  std::string first = request("app", part("first.txt", "text/plain", "1") + kClose);
  EXPECT_EQ(statuses(roundTrip(port, first, inner)), std::vector<int>{200});
  EXPECT_EQ(fileCount(storage()), 2u);

  std::size_t headEnd = first.find("\r\n\r\n") + 2;
  std::string expecting = first.substr(0, headEnd) + "Expect: 100-continue\r\n\r\n";
  EXPECT_EQ(statuses(roundTrip(port, expecting, first.substr(headEnd + 2))),
            (std::vector<int>{100, 200}));
}

TEST(MultipartReader, TakesTheBoundaryOfFormDataAsMediaTypesAreWritten) {
  const std::vector<std::pair<std::string, std::optional<std::string>>> cases = {
      {"multipart/form-data; boundary=----WebKit7MA4", "----WebKit7MA4"},
      // Names without case, any parameters around it, quoted or not, no blanks required.
      {"MULTIPART/Form-Data; BOUNDARY=abc", "abc"},
      {"multipart/form-data;boundary=abc;charset=utf-8", "abc"},
      {"multipart/form-data; charset=utf-8; boundary=\"a b:c?\"", "a b:c?"},
      {"multipart/form-data; boundary=" + std::string(70, 'x'), std::string(70, 'x')},
      // Refused: another parameter's name, none, empty, twice, too long, a character RFC 2046
      // does not allow, a trailing blank, another media type, an unclosed quote.
      {"multipart/form-data; xboundary=abc", std::nullopt},
      {"multipart/form-data", std::nullopt},
      {"multipart/form-data; boundary=", std::nullopt},
      {"multipart/form-data; boundary=a; boundary=b", std::nullopt},
      {"multipart/form-data; boundary=" + std::string(71, 'x'), std::nullopt},
      {"multipart/form-data; boundary=\"a@b\"", std::nullopt},
      {"multipart/form-data; boundary=\"ab \"", std::nullopt},
      {"multipart/mixed; boundary=abc", std::nullopt},
      {"multipart/form-data; boundary=\"abc", std::nullopt},
  };
  for (const auto& [value, boundary] : cases) {
    EXPECT_EQ(MultipartReader::boundaryOf(value), boundary) << value;
  }
}

struct Outcome {
  std::vector<MultipartReader::Part> parts;
  std::vector<std::string> contents;
  bool fed = true;
  bool finished = false;
  std::string problem;
};

// The body fed chunk bytes at a time, as a network read would cut it.
Outcome readParts(const std::string& body, std::size_t chunk) {
  Outcome outcome;
  MultipartReader reader(
      "XyZ",
      [&](const MultipartReader::Part& part) {
        outcome.parts.push_back(part);
        outcome.contents.emplace_back();
        return true;
      },
      [&](const char* data, std::size_t size) {
        outcome.contents.back().append(data, size);
        return true;
      });
  for (std::size_t at = 0; at < body.size() && outcome.fed; at += chunk) {
    outcome.fed = reader.feed(body.data() + at, std::min(chunk, body.size() - at));
  }
  outcome.finished = reader.finished();
  outcome.problem = reader.problem();
  return outcome;
}

TEST(MultipartReader, ReadsPartsWhereverTheReadsCutTheBody) {
  // Near-delimiters inside the bytes, a preamble, blanks after a delimiter, a token name, an
  // escaped quote in a file name, and a close delimiter that ends the body without its CRLF.
  const std::string content = "a\r\n--XyY\r\n-\r\n--Xy\r\r\n--XyQ";
  const std::string body =
      "preamble\r\n--XyZ  \r\nContent-Disposition: form-data; name=content; "
      "filename=\"a\\\"b.m4a\"\r\ncontent-type: audio/mp4\r\n\r\n" +
      content + "\r\n--XyZ\r\nContent-Disposition: FORM-DATA; name=\"note\"\r\n\r\n\r\n--XyZ--";
  for (std::size_t chunk : {std::size_t{1}, std::size_t{2}, std::size_t{7}, body.size()}) {
    Outcome outcome = readParts(body, chunk);
    ASSERT_TRUE(outcome.fed) << chunk << ": " << outcome.problem;
    EXPECT_TRUE(outcome.finished) << chunk;
    ASSERT_EQ(outcome.parts.size(), 2u) << chunk;
    EXPECT_EQ(outcome.parts[0].name, "content");
    EXPECT_EQ(outcome.parts[0].filename, "a\"b.m4a");
    EXPECT_EQ(outcome.parts[0].contentType, "audio/mp4");
    EXPECT_EQ(outcome.contents[0], content) << chunk;
    EXPECT_EQ(outcome.parts[1].name, "note");
    EXPECT_EQ(outcome.parts[1].filename, std::nullopt);
    EXPECT_EQ(outcome.contents[1], "");
  }
  // The SDK's own shape: an empty line first, the close delimiter with its CRLF, an epilogue.
  Outcome sdk = readParts(
      "\r\n--XyZ\r\nContent-Disposition: form-data; name=\"content\"; filename=\"image.png\"\r\n"
      "Content-Type: image/png\r\n\r\nJPEG\r\n--XyZ--\r\nanything",
      5);
  EXPECT_TRUE(sdk.finished);
  EXPECT_EQ(sdk.contents, std::vector<std::string>{"JPEG"});
  // Cut before the close delimiter: well formed so far, not finished.
  Outcome cut = readParts("--XyZ\r\nContent-Disposition: form-data; name=a\r\n\r\nabc\r\n--Xy", 4);
  EXPECT_TRUE(cut.fed);
  EXPECT_FALSE(cut.finished);
}

TEST(MultipartReader, RefusesMalformedDelimitersAndHeaderFields) {
  const std::string start = "--XyZ\r\n";
  const std::string disposition = "Content-Disposition: form-data; name=a\r\n";
  const std::vector<std::string> bodies = {
      start + "Content-Disposition form-data\r\n\r\nx\r\n--XyZ--",
      start + disposition + "X-Bad: a" + '\0' + "b\r\n\r\nx\r\n--XyZ--",
      start + disposition + " folded: line\r\n\r\nx\r\n--XyZ--",
      start + "Content-Type: text/plain\r\n\r\nx\r\n--XyZ--",
      start + "Content-Disposition: attachment; name=a\r\n\r\nx\r\n--XyZ--",
      start + "Content-Disposition: form-data; filename=a\r\n\r\nx\r\n--XyZ--",
      start + disposition + disposition + "\r\nx\r\n--XyZ--",
      start + disposition + "\r\nx\r\n--XyZmore\r\n--XyZ--",
      start + disposition + "X: " + std::string(MultipartReader::kMaxHeaderBytes, 'y'),
  };
  for (const auto& body : bodies) {
    for (std::size_t chunk : {std::size_t{3}, body.size()}) {
      Outcome outcome = readParts(body, chunk);
      EXPECT_FALSE(outcome.fed) << body.substr(0, 80);
      EXPECT_FALSE(outcome.problem.empty()) << body.substr(0, 80);
    }
  }
}

TEST(ResultsSeal, FindsTheTopLevelMemberTextAsWritten) {
  const std::pair<std::string, std::optional<std::string>> cases[] = {
      // Nested keys of the same name and brackets or quotes inside strings do not mislead it.
      {R"({"a":{"data":1},"s":"\"data\":[","data":{"x":"}\"{"}})", R"({"x":"}\"{"})"},
      {"{\"d\\u0061ta\" :\n [1, {\"y\": 2}] }", "[1, {\"y\": 2}]"},
      // The last of repeated keys, as the parser takes it.
      {R"({"data":1,"data":{"z":true}})", R"({"z":true})"},
      {"\xEF\xBB\xBF {\"data\":-1.5e3}", "-1.5e3"},
      {R"([{"data":{}}])", std::nullopt},
      {R"({"data":{})", std::nullopt},
  };
  for (const auto& [document, data] : cases) {
    EXPECT_EQ(ResultsSeal::memberText(document, "data"), data) << document;
  }
}

TEST(ResultsSeal, VerifiesTheDataAsWrittenWithTheAppIdAndNothingTooDeep) {
  const std::string data = R"({ "tests_results" : {"buttons": {"success": true}} })";
  EXPECT_TRUE(ResultsSeal::verify(sealed(data, "app/1"), "app/1"));
  EXPECT_FALSE(ResultsSeal::verify(sealed("[1]", "app"), "app"));
  EXPECT_FALSE(ResultsSeal::verify(R"({"sha256": 1, "data": {}})", "app"));
  // A seal over a document nested past the limit is not checked at all.
  auto nested = [](std::size_t levels) {
    return "{\"a\":" + std::string(levels, '[') + std::string(levels, ']') + "}";
  };
  const std::size_t room = ResultsSeal::kMaxDepth - 2;  // the document and its data
  EXPECT_TRUE(ResultsSeal::verify(sealed(nested(room), "app"), "app"));
  EXPECT_FALSE(ResultsSeal::verify(sealed(nested(room + 1), "app"), "app"));
}

#ifdef __SANITIZE_ADDRESS__
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

long statusKiB(const char* field) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with(field)) return std::stol(line.substr(std::strlen(field)));
  }
  return -1;
}

TEST(ResultsSeal, ChecksAStoredDocumentInLittleMoreMemoryThanItsSize) {
  // One long string value: a checker that copies the document or buffers whole tokens shows.
  const std::size_t size = kSanitized ? 4 << 20 : 60 << 20;
  testing::TemporaryTree tree{"quorvel-seal-memory"};
  const fs::path file = tree.path() / "jsonResults.json";
  {
    std::ofstream(file, std::ios::binary)
        << sealed(R"({"log":")" + std::string(size, 'x') + "\"}", "app");
  }
  // The peak from here on (Linux resets it on writing 5 to clear_refs).
  const bool peakReset = static_cast<bool>(std::ofstream("/proc/self/clear_refs") << "5");
  const long before = statusKiB("VmRSS:");
  EXPECT_TRUE(ResultsSeal::verifyFile(file, "app"));
  const long growth = (statusKiB("VmHWM:") - before) * 1024;
  RecordProperty("seal_check_peak_growth_bytes", std::to_string(growth));
  if (kSanitized) GTEST_SKIP() << "AddressSanitizer keeps freed blocks: resident size says nothing";
  if (!peakReset) GTEST_SKIP() << "no way to reset the peak resident size here";
  EXPECT_LT(growth, static_cast<long>(size) * 3 / 2) << "bytes over a document of " << size;
}

// Seal checks run beside the connections: while large documents are being checked, another upload
// is answered. The last byte of each large body goes out together, so their checks start at once.
TEST(ResultsSeal, LargeDocumentsBeingCheckedHoldUpNoOtherUpload) {
  testing::TemporaryTree tree{"quorvel-seal-beside"};
  AssetsServer server{
      {.storage = tree.path() / "storage", .apiKeys = {"key-2"}, .maxBytes = 64 << 20}};
  const int port = server.start();
  std::string data = "{\"a\":[";
  // Large enough that the checks outlast the small upload; smaller where sanitizers slow them.
  while (data.size() < (kSanitized ? 3 << 20 : 24 << 20)) data += "{\"b\":[1.5,\"c\",true,null]},";
  data += "0]}";
  const std::string large =
      request("app", part("jsonResults.json", "application/json", sealed(data, "app")) + kClose);
  data = {};
  std::vector<int> checked;
  std::vector<std::thread> senders;
  for (int i = 0; i < 8; ++i) {
    checked.push_back(connectTo(port));
    senders.emplace_back(
        [fd = checked.back(), &large] { send(fd, large.data(), large.size() - 1, MSG_NOSIGNAL); });
  }
  for (auto& sender : senders) sender.join();
  for (int fd : checked) send(fd, &large.back(), 1, MSG_NOSIGNAL);
  json answer = json::parse(
      [&] {
        std::string small =
            roundTrip(port, request("app", part("a.txt", "text/plain", "abc") + kClose));
        return small.substr(small.find("\r\n\r\n") + 4);
      }(),
      nullptr, false);
  EXPECT_TRUE(answer.contains("url")) << answer;
  int pending = 0;
  for (int fd : checked) {
    char peek = 0;
    pending += recv(fd, &peek, 1, MSG_PEEK | MSG_DONTWAIT) < 0;
  }
  EXPECT_EQ(pending, 8) << "large documents answered before the small upload";
  for (int fd : checked) {
    EXPECT_EQ(statuses(readToEnd(fd)), std::vector<int>{200});
    close(fd);
  }
}

TEST_F(AssetsServerTest, ChecksTheSealOfAResultsDocument) {
  const std::string appID = "team/app";
  const std::string data = R"({"device_info":{"os":"x"},"tests_results":{}})";
  const std::string spaced = "{ \"tests_results\" : {},\n  \"device_info\": {\"os\":\"x\"} }";
  const auto seal = [&](const std::string& text) { return ResultsSeal::sha256Hex(text + appID); };
  const std::pair<std::string, bool> cases[] = {
      {sealed(data, appID), true},
      // Sealed over the text as written, not over a re-serialisation of it.
      {R"({"data": )" + spaced + R"(, "sha256": ")" + seal(spaced) + "\"}", true},
      {R"({"sha256":")" + seal(data) + R"(","data":{"tests_results":{}}})", false},
      {sealed(data, "team"), false},
  };
  for (const auto& [document, valid] : cases) {
    json answer = stored(appID, "jsonResults.json", document, "application/json");
    std::ifstream metadata(fileOf(answer).string() + ".meta.json");
    EXPECT_EQ(json::parse(metadata, nullptr, false)["seal_valid"], valid) << document;
  }
}

TEST_F(AssetsServerTest, KeepsEveryAppInItsOwnFolderInsideTheStorage) {
  // Long IDs (one that escapes to 900 bytes, two that differ only at the end) still get folders.
  const std::vector<std::string> appIDs = {"team/app",
                                           "..",
                                           "../../outside",
                                           "%2E%2E",
                                           "~2E",
                                           std::string(300, '/'),
                                           std::string(299, 'a') + "b",
                                           std::string(299, 'a') + "c"};
  std::set<fs::path> folders;
  for (const auto& appID : appIDs) {
    json answer = stored(appID, "a.txt", appID);
    fs::path folder = fs::canonical(fileOf(answer).parent_path());
    EXPECT_EQ(folder.parent_path(), fs::canonical(storage())) << appID;
    folders.insert(folder);
  }
  EXPECT_EQ(folders.size(), appIDs.size());
  // Beside the storage, only the runs database.
  for (const auto& entry : fs::directory_iterator(tree.path())) {
    EXPECT_TRUE(entry.path() == storage() ||
                entry.path().string().starts_with(server.runsDatabase().string()))
        << entry.path();
  }
}

// Closing with the client's extra bytes unread would reset the connection while the end of a large
// file is still on its way.
TEST_F(AssetsServerTest, ServesALargeAssetWholeWhateverTheClientSendsAfterItsRequest) {
  const std::string content(8 << 20, 'x');  // more than the socket buffers hold
  tree.write("storage/big/1-a.bin", content);
  tree.write("storage/big/1-a.bin.meta.json",
             R"({"stored_filename": "1-a.bin", "media_type": "application/octet-stream"})");
  for (const std::string range : {"", "Range: bytes=1-\r\n"}) {
    const std::string get = "GET /assets/big/1-a.bin HTTP/1.1\r\nHost: x\r\n" + range + "\r\n";
    std::string answer = roundTrip(port, get, "more bytes");
    const std::size_t body = answer.find("\r\n\r\n");
    ASSERT_NE(body, std::string::npos) << range;
    EXPECT_EQ(answer.size() - body - 4, content.size() - (range.empty() ? 0 : 1)) << range;
  }
}

TEST_F(AssetsServerTest, RemovesWhatACrashLeftWhenItStarts) {
  // Uploads named like these leftovers are kept: the mutation test's restart shows it.
  json kept = stored("app", "kept.txt", "kept");
  server.stop();
  // A crash can stop an upload at any step: receiving, before its metadata, or in between.
  const fs::path folder = fileOf(kept).parent_path();
  for (const char* leftover : {"1b4e28ba.part", "2c5f39cb-a.txt", "3d6a4adc-b.txt.meta.json",
                               "3d6a4adc-b.txt.meta.json.part"}) {
    std::ofstream(folder / leftover) << "x";
  }
  std::ofstream(storage() / "4e7f5b0d.part") << "x";  // an upload still coming in
  port = server.start();
  EXPECT_EQ(fileCount(storage()), 2u);
  auto served =
      httplib::Client("127.0.0.1", port).Get(kept.value("url", "").substr(server.address().size()));
  EXPECT_TRUE(served && served->body == "kept") << kept;
}

TEST_F(AssetsServerTest, SlowAndSilentClientsHoldNothingButTheirOwnConnection) {
  // More idle connections than the old server had threads: half trickle a first byte, half say
  // nothing, and none finishes its head.
  std::vector<int> idle;
  for (int i = 0; i < 48; ++i) {
    idle.push_back(connectTo(port));
    if (i % 2 == 0) send(idle.back(), "P", 1, MSG_NOSIGNAL);
  }
  EXPECT_TRUE(stored("app", "a.txt", "abc").contains("url"));
  for (int fd : idle) close(fd);
}

TEST_F(AssetsServerTest, AnswersHalfClosedClientsAbsoluteTargetsAndRangesAsHttpSays) {
  // A client that closes its sending side after a whole request still gets its answer.
  int fd = connectTo(port);
  std::string whole = request("app", part("a.txt", "text/plain", "0123456789") + kClose);
  send(fd, whole.data(), whole.size(), MSG_NOSIGNAL);
  shutdown(fd, SHUT_WR);
  std::string answer = readToEnd(fd);
  close(fd);
  ASSERT_EQ(statuses(answer), std::vector<int>{200}) << answer;
  std::string url = json::parse(answer.substr(answer.find("\r\n\r\n") + 4))["url"];
  const std::string path = url.substr(server.address().size());
  // No head or half a head is no request: a client that stops sending there is gone, not
  // malformed.
  for (std::size_t sent : {0, 40}) {
    fd = connectTo(port);
    send(fd, whole.data(), sent, MSG_NOSIGNAL);
    shutdown(fd, SHUT_WR);
    EXPECT_EQ(readToEnd(fd), "") << sent;
    close(fd);
  }

  std::string absolute = whole;
  absolute.replace(5, 0, server.address());
  EXPECT_EQ(statuses(roundTrip(port, absolute)), std::vector<int>{200});

  // An invalid range (last before first) is ignored, also where first is past the end; positions of
  // any length are valid, and a huge one is past any file.
  const std::tuple<std::string, int, std::string, std::string> cases[] = {
      {"bytes=2-4", 206, "234", "bytes 2-4/10"},
      {"bytes=7-", 206, "789", "bytes 7-9/10"},
      {"bytes=-3", 206, "789", "bytes 7-9/10"},
      {"bytes=8-99", 206, "89", "bytes 8-9/10"},
      {"bytes=10-", 416, "", "bytes */10"},
      {"bytes=0-1,4-5", 200, "0123456789", ""},
      {"pages=1-2", 200, "0123456789", ""},
      {"bytes=12-5", 200, "0123456789", ""},
      {"bytes=0-99999999999999999999", 206, "0123456789", "bytes 0-9/10"},
      {"bytes=-99999999999999999999", 206, "0123456789", "bytes 0-9/10"},
      {"bytes=99999999999999999999-", 416, "", "bytes */10"},
  };
  httplib::Client client("127.0.0.1", port);
  for (const auto& [range, status, body, contentRange] : cases) {
    auto got = client.Get(path.c_str(), {{"Range", range}});
    ASSERT_TRUE(got) << range;
    EXPECT_EQ(got->status, status) << range;
    if (status != 416) {
      EXPECT_EQ(got->body, body) << range;
    }
    EXPECT_EQ(got->get_header_value("Content-Range"), contentRange) << range;
  }
}

TEST(AssetsServerDeadlines, ClosesSilentHeadsAndRefusesTricklingBodies) {
  testing::TemporaryTree tree{"quorvel-assets-deadlines"};
  // A body a byte at a time: below the least rate, or above it but past the whole body's time.
  const std::pair<std::uint64_t, std::chrono::milliseconds> limits[] = {
      {1 << 20, std::chrono::hours(1)}, {1, std::chrono::milliseconds(1000)}};
  for (const auto& [rate, deadline] : limits) {
    AssetsServer server{{.storage = tree.path() / "storage",
                         .apiKeys = {"key-1"},
                         .headDeadline = std::chrono::milliseconds(200),
                         .readTimeout = std::chrono::milliseconds(300),
                         .minBytesPerSecond = rate,
                         .bodyDeadline = deadline}};
    int port = server.start();
    // Nothing sent: the server closes without an answer once the head's time is up.
    int silent = connectTo(port);
    EXPECT_EQ(readToEnd(silent), "");
    close(silent);

    std::string body = part("a.txt", "text/plain", std::string(100, 'x')) + kClose;
    std::string whole = request("app", body, "key-1");
    std::string head = whole.substr(0, whole.size() - body.size());
    int slow = connectTo(port);
    send(slow, head.data(), head.size(), MSG_NOSIGNAL);
    std::string answer;
    for (std::size_t i = 0; i < body.size() && answer.empty(); ++i) {
      send(slow, body.data() + i, 1, MSG_NOSIGNAL);
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
      char peek[16];
      if (recv(slow, peek, sizeof peek, MSG_PEEK | MSG_DONTWAIT) > 0) answer = readToEnd(slow);
    }
    close(slow);
    EXPECT_EQ(statuses(answer), std::vector<int>{408}) << rate << answer;
    server.stop();
    EXPECT_EQ(fileCount(tree.path() / "storage"), 0u);
  }
}

// Past the cap, a connection waits until a session ends, however idle the sessions are.
TEST(AssetsServerDeadlines, ServesNoMoreSessionsAtOnceThanItsCap) {
  testing::TemporaryTree tree{"quorvel-assets-cap"};
  AssetsServer server{{.storage = tree.path() / "storage", .apiKeys = {"key-2"}, .maxSessions = 4}};
  int port = server.start();
  std::vector<int> idle;
  for (int i = 0; i < 4; ++i) idle.push_back(connectTo(port));
  int next = connectTo(port);
  std::string whole = request("app", part("a.txt", "text/plain", "abc") + kClose);
  send(next, whole.data(), whole.size(), MSG_NOSIGNAL);
  pollfd answered{next, POLLIN, 0};
  EXPECT_EQ(poll(&answered, 1, 500), 0) << "served past the cap";
  close(idle[0]);
  EXPECT_EQ(statuses(readToEnd(next)), std::vector<int>{200});
  close(next);
  for (std::size_t i = 1; i < idle.size(); ++i) close(idle[i]);
}

}  // namespace
}  // namespace quorvel
