#include <gtest/gtest.h>
#include <strings.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "AssetStore.h"
#include "AssetsServer.h"
#include "LoopbackHttp.h"
#include "ResultsSeal.h"
#include "support/TemporaryTree.h"

namespace quorvel {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using namespace testing;
using Random = std::mt19937_64;
using namespace std::string_literals;

// What the server may answer, whatever a client got wrong; a 500 would blame the server itself.
const std::set<int> kAllowed = {200, 206, 400, 401, 404, 405, 411, 413, 415, 416, 431};
const std::string kHuge(17000, 'x');  // past the head's limit

std::uint64_t environmentNumber(const char* name, std::uint64_t otherwise) {
  const char* text = std::getenv(name);
  return text && *text ? std::strtoull(text, nullptr, 10) : otherwise;
}

std::size_t pick(Random& random, std::size_t count) { return count ? random() % count : 0; }

const std::string& oneOf(Random& random, const std::vector<std::string>& values) {
  return values[pick(random, values.size())];
}

bool isContentLength(const std::string& line) {
  return strncasecmp(line.c_str(), "content-length:", 15) == 0;
}

void replaceFirst(std::string& text, const std::string& from, const std::string& to) {
  if (std::size_t at = text.find(from); at != std::string::npos) text.replace(at, from.size(), to);
}

// A request taken apart so that mutations can aim at its pieces.
struct Request {
  std::vector<std::string> head;  // the request line, then one line per header field
  std::string body;
  std::string next;           // a second request on the same connection
  bool lengthFollows = true;  // Content-Length is written as the body's size

  explicit Request(const std::string& whole, std::string then = "") : next(std::move(then)) {
    std::size_t end = whole.find("\r\n\r\n");
    for (std::size_t at = 0, eol; at < end + 2; at = eol + 2) {
      eol = whole.find("\r\n", at);
      head.push_back(whole.substr(at, eol - at));
    }
    body = whole.substr(end + 4);
  }
  std::string render() const {
    std::string out;
    for (const std::string& line : head) {
      out += lengthFollows && isContentLength(line)
                 ? "Content-Length: " + std::to_string(body.size())
                 : line;
      out += "\r\n";
    }
    return out + "\r\n" + body + next;
  }
  std::string& field(Random& random) {
    return head[head.size() > 1 ? 1 + pick(random, head.size() - 1) : 0];
  }
};

// Text of a valid request swapped for variants: the request line, the media type and its
// boundary, the part's name, file name and header fields.
struct Swap {
  bool inHead;
  std::string from;
  std::vector<std::string> to;
};
const std::vector<Swap> kSwaps = {
    {true, "POST ", {"HEAD ", "PUT ", "post ", "GET "}},
    {true, "/app/", {"/../../", "/%2E%2E/", "/a\0b/"s, "/" + std::string(3000, 'a') + "/", "//"}},
    {true, " HTTP/1.1", {" HTTP/1.0", " HTTP/2.0", " HTTP/1.1 x", ""}},
    {true, "multipart/form-data", {"MULTIPART/Form-Data", "multipart/mixed", "text/plain", ""}},
    {true,
     "boundary=" + kBoundary,
     {"boundary=other", "boundary=\"" + kBoundary + "\"", "boundary=" + std::string(70, 'b'),
      "boundary=" + std::string(71, 'b'), "boundary=" + kBoundary + "; boundary=x",
      "boundary=", "boundary=\"'()+_,-./:=? x\"", "boundary=a b ", "BOUNDARY=" + kBoundary, "x=y"}},
    {false, "--" + kBoundary, {"--other", "--" + kBoundary + " ", "-" + kBoundary, ""}},
    {false,
     "name=\"content\"",
     {"name=content", "NAME=\"content\"", "name=\"Content\"", "name=\"\"", "",
      "name=\"content\"; name=\"x\"", "name=\"con\\\"tent\"", "name=\"content",
      "name = \"content\""}},
    {false,
     "filename=\"",
     {"x=\"", "filename=\"\";x=\"", "filename=\"../../", "filename=\"..\\\\..\\\\", "filename=\"/",
      "filename=\"\xc3\xa9\xe2\x82\xac\xff", "filename=\"" + std::string(5000, 'n'),
      "filename=\"a\0"s, "filename=", "filename*=UTF-8''%E2%82%AC", "filename=\"a\"; filename=\""}},
    {false,
     "\"\r\nContent-Type: ",
     {".part\"\r\nContent-Type: ", ".meta.json\"\r\nContent-Type: ", "\\\"\r\nContent-Type: ",
      "\r\nContent-Type: ", "\"\r\nX-Junk: y\r\nContent-Type: ",
      "\"\r\nContent-Transfer-Encoding: base64\r\nContent-Type: ", "\"\r\nX: " + kHuge + "\r\n",
      "\"\r\nno colon\r\nContent-Type: ", "\"\r\nContent-Type: b\r\nContent-Type: ", "\"\r\n"}},
    {false, "\r\n\r\n", {"\r\n", "\r\n \r\n", "\n\n"}},
};

// Header fields in another case, twice, gone, with odd bytes or sheer length; Content-Length
// wrong, twice, missing, or chunked instead.
using Mutation = std::function<void(Request&, Random&)>;
const std::vector<Mutation> kMutations = {
    [](Request& r, Random& random) {
      std::string& line = r.field(random);
      for (std::size_t i = 0; i < std::min(line.find(':'), line.size()); ++i) {
        auto c = static_cast<unsigned char>(line[i]);
        line[i] = static_cast<char>(random() % 2 ? std::toupper(c) : std::tolower(c));
      }
    },
    [](Request& r, Random& random) { r.head.push_back(r.field(random)); },
    [](Request& r, Random& random) {
      if (r.head.size() > 1) r.head.erase(r.head.begin() + 1 + pick(random, r.head.size() - 1));
    },
    [](Request& r, Random& random) {
      std::string& line = r.head[pick(random, r.head.size())];
      line.insert(pick(random, line.size() + 1),
                  oneOf(random, {" ", "\t", std::string(1, '\0'), "\r", "\n", "\x7f", "\xff", ":",
                                 std::string(9000, 'a'), kHuge}));
    },
    [](Request& r, Random& random) {
      for (int i = 0, count = random() % 2 ? 1 : 70; i < count; ++i) {
        r.head.push_back("X-" + std::to_string(i) + ": " + (count == 1 ? kHuge : "y"));
      }
    },
    [](Request& r, Random& random) {
      std::erase_if(r.head, isContentLength);
      const std::string n = std::to_string(r.body.size());
      const std::string value = oneOf(
          random, {std::to_string(pick(random, r.body.size())), std::to_string(r.body.size() + 1),
                   "0", "-1", "abc", "1e3", "0x10", "+" + n, n + ", " + n, " " + n + " ",
                   "99999999999999999999", "900000000000", "", "chunked", "both"});
      r.lengthFollows = false;
      if (value == "chunked" || value == "both") {
        std::ostringstream hex;
        hex << std::hex << r.body.size() << "\r\n" << r.body << "\r\n0\r\n\r\n";
        r.body = hex.str();
        r.head.push_back("Transfer-Encoding: chunked");
        if (value == "both") r.head.push_back("Content-Length: " + n);
      } else if (!value.empty()) {
        r.head.push_back("Content-Length: " + value);
      }
    },
};
// On the bytes as sent: cut short, bits flipped, bytes inserted or deleted.
const std::vector<std::function<void(std::string&, Random&)>> kByteMutations = {
    [](std::string& s, Random& random) { s.resize(pick(random, s.size())); },
    [](std::string& s, Random& random) {
      for (int i = 0; i < 4 && !s.empty(); ++i) s[pick(random, s.size())] ^= 1 << pick(random, 8);
    },
    [](std::string& s, Random& random) {
      std::string bytes(1 + pick(random, 16), '\0');
      for (char& c : bytes) c = static_cast<char>(random());
      s.insert(pick(random, s.size() + 1), bytes);
    },
    [](std::string& s, Random& random) { s.erase(pick(random, s.size()), 1 + pick(random, 64)); },
};

// One to three mutations of a valid request, chosen by random; returns the bytes to send.
std::string mutated(Request request, Random& random) {
  const std::size_t structural = kSwaps.size() + kMutations.size();
  std::vector<std::size_t> kinds(1 + pick(random, 3));
  for (auto& kind : kinds) kind = pick(random, structural + kByteMutations.size());
  std::sort(kinds.begin(), kinds.end());  // the bytes as sent change last
  for (std::size_t kind : kinds) {
    if (kind < kSwaps.size()) {
      const std::string& to = oneOf(random, kSwaps[kind].to);
      if (!kSwaps[kind].inHead) replaceFirst(request.body, kSwaps[kind].from, to);
      for (std::string& line : request.head) {
        if (kSwaps[kind].inHead) replaceFirst(line, kSwaps[kind].from, to);
      }
    } else if (kind < structural) {
      kMutations[kind - kSwaps.size()](request, random);
    }
  }
  std::string sent = request.render();
  for (std::size_t kind : kinds) {
    if (kind >= structural) kByteMutations[kind - structural](sent, random);
  }
  return sent;
}

// Why an answer is not one the server may give: nothing at all, or one HTTP/1.1 answer (after a
// "100 Continue") with an allowed status and exactly the body its Content-Length announces.
std::string judge(std::string answer, bool headRequest, int& status) {
  for (status = 0; !answer.empty();) {
    std::size_t end = answer.find("\r\n\r\n");
    if (!answer.starts_with("HTTP/1.1 ") || end == std::string::npos || answer[12] != ' ') {
      return "a malformed answer head";
    }
    status = std::atoi(answer.substr(9, 3).c_str());
    std::string head = answer.substr(0, end + 2);
    answer.erase(0, end + 4);
    if (status == 100) continue;
    if (!kAllowed.contains(status)) return "status " + std::to_string(status);
    for (char& c : head) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    std::size_t at = head.find("\r\ncontent-length: ");
    if (at == std::string::npos) return "no Content-Length";
    std::size_t length = std::stoull(head.substr(at + 18));
    // A HEAD gets no body, unless it was too malformed (400, 431) to be known as one.
    const bool unknown = status == 400 || status == 431;
    if (answer.size() != length && !(headRequest && answer.empty())) return "a body's length";
    if (headRequest && !unknown && !answer.empty()) return "a body after HEAD";
    break;
  }
  return "";
}

// Takes away the temporary files under root, so that each case answers for its own alone.
bool temporaryFileLeft(const fs::path& root) {
  std::vector<fs::path> left;
  for (const auto& entry : fs::recursive_directory_iterator(root)) {
    if (entry.path().string().ends_with(AssetStore::kTemporarySuffix)) left.push_back(entry);
  }
  for (const auto& file : left) fs::remove(file);
  return !left.empty();
}

// What is wrong with the store: an asset without metadata recording its name, size and digest, a
// metadata file without its asset, a temporary file. Counts the assets.
std::string storeProblems(const fs::path& root, std::size_t& assets) {
  std::ostringstream problems;
  const std::string meta(AssetStore::kMetadataSuffix);
  assets = 0;
  for (const auto& entry : fs::recursive_directory_iterator(root)) {
    const fs::path& file = entry.path();
    const std::string name = file.filename().string();
    if (!entry.is_regular_file()) continue;
    if (name.ends_with(AssetStore::kTemporarySuffix)) {
      problems << "temporary file left: " << file << "\n";
    } else if (name.ends_with(meta)) {
      if (!fs::exists(file.parent_path() / name.substr(0, name.size() - meta.size()))) {
        problems << "metadata without its asset: " << file << "\n";
      }
    } else {
      ++assets;
      std::ifstream in(file.string() + meta);
      json metadata = json::parse(in, nullptr, false);
      std::string bytes = fileContents(file);
      if (!metadata.is_object() || metadata.value("stored_filename", "") != name ||
          metadata.value("size", ~std::uint64_t{0}) != bytes.size() ||
          metadata.value("sha256", "") != ResultsSeal::sha256Hex(bytes)) {
        problems << "asset and metadata disagree: " << file << " "
                 << (metadata.is_discarded() ? "no readable metadata" : metadata.dump()) << "\n";
      }
    }
  }
  return problems.str();
}

// Valid requests mutated at random, each on its own connection closed for sending once the
// request is out, so that the server answers or closes at once instead of waiting for more.
// QUORVEL_MUTATION_SEED and QUORVEL_MUTATION_CASES pick other runs; QUORVEL_MUTATION_CASE=i
// replays case i alone.
TEST(AssetsServerMutation, MutatedRequestsGetAllowedAnswersAndLeaveTheStoreWhole) {
  const std::uint64_t seed = environmentNumber("QUORVEL_MUTATION_SEED", 1);
  const std::uint64_t first = environmentNumber("QUORVEL_MUTATION_CASE", 0);
  const std::uint64_t end = std::getenv("QUORVEL_MUTATION_CASE")
                                ? first + 1
                                : environmentNumber("QUORVEL_MUTATION_CASES", 1000);
  TemporaryTree tree{"quorvel-assets-mutation"};
  AssetsServer server{
      {.storage = tree.path() / "storage", .apiKeys = {"key-2"}, .maxBytes = 1 << 16}};
  const int port = server.start();
  const std::string results =
      R"({"sha256":")" + ResultsSeal::sha256Hex("{}app") + R"(","data":{}})";
  const std::string upload = request("app", part("a.txt", "text/plain", "0123456789") + kClose);
  std::string answer = roundTrip(port, upload);
  ASSERT_EQ(statuses(answer), std::vector<int>{200}) << answer;
  const std::string url = json::parse(answer.substr(answer.find("\r\n\r\n") + 4))["url"];
  std::string expecting = upload;
  replaceFirst(expecting, "\r\n\r\n", "\r\nExpect: 100-continue\r\n\r\n");
  const std::vector<Request> seeds = {
      Request(upload),
      Request(expecting),
      Request(request("app", part("jsonResults.json", "application/json", results) + kClose)),
      Request("GET " + url.substr(server.address().size()) +
              " HTTP/1.1\r\nHost: 127.0.0.1\r\nRange: bytes=2-5\r\n\r\n"),
      Request(upload, upload),
  };

  std::size_t stored = 1, failures = 0;
  // Three failing cases are enough to go on with.
  for (std::uint64_t index = first; index < end && failures < 3; ++index) {
    Random random(seed * 1000003 + index);
    std::string sent = mutated(seeds[pick(random, seeds.size())], random);
    int fd = connectTo(port, std::chrono::seconds(5));
    send(fd, sent.data(), sent.size(), MSG_NOSIGNAL);  // may meet an early answer's close
    shutdown(fd, SHUT_WR);
    bool closed = false;
    answer = readToEnd(fd, &closed);
    close(fd);
    int status = 0;
    std::string problem = closed ? judge(answer, sent.starts_with("HEAD "), status)
                                 : "neither an answer nor a close within 5 s";
    const std::size_t bodyAt = answer.find("\r\n\r\n{\"filename\":");
    if (problem.empty() && status == 200 && bodyAt != std::string::npos) {
      ++stored;
      // The server can only have stored bytes the client sent.
      std::string storedUrl = json::parse(answer.substr(bodyAt + 4)).value("url", "");
      fs::path file = server.storage() / storedUrl.substr(server.address().size() + 8);
      if (sent.find(fileContents(file)) == std::string::npos) problem = "stored bytes never sent";
    }
    if (temporaryFileLeft(server.storage()) && problem.empty()) problem = "a temporary file left";
    if (!problem.empty()) {
      ++failures;
      ADD_FAILURE() << problem << "\nreplay: QUORVEL_MUTATION_SEED=" << seed
                    << " QUORVEL_MUTATION_CASE=" << index
                    << " quorvel_tests --gtest_filter=AssetsServerMutation.*\nsent (" << sent.size()
                    << " bytes): " << ::testing::PrintToString(sent.substr(0, 1500))
                    << "\nanswer: " << ::testing::PrintToString(answer.substr(0, 400));
    }
  }
  std::size_t assets = 0;
  EXPECT_EQ(storeProblems(server.storage(), assets), "");
  EXPECT_EQ(assets, stored) << "assets, for uploads answered 200";
  for (const auto& entry : fs::directory_iterator(tree.path())) {
    EXPECT_TRUE(entry.path() == server.storage() ||
                entry.path().string().starts_with(server.runsDatabase().string()))
        << "a file outside the storage: " << entry.path();
  }
  // A restart's clean-up takes away no upload that was answered 200.
  server.stop();
  server.start();
  EXPECT_EQ(storeProblems(server.storage(), assets), "") << "after a restart";
  EXPECT_EQ(assets, stored) << "assets after a restart";
  EXPECT_EQ(statuses(roundTrip(server.port(), upload)), std::vector<int>{200});
}

}  // namespace
}  // namespace quorvel
