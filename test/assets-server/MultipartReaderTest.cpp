#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "MultipartReader.h"

namespace quorvel {
namespace {

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
Outcome read(const std::string& body, std::size_t chunk) {
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
    Outcome outcome = read(body, chunk);
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
  Outcome sdk = read(
      "\r\n--XyZ\r\nContent-Disposition: form-data; name=\"content\"; filename=\"image.png\"\r\n"
      "Content-Type: image/png\r\n\r\nJPEG\r\n--XyZ--\r\nanything",
      5);
  EXPECT_TRUE(sdk.finished);
  EXPECT_EQ(sdk.contents, std::vector<std::string>{"JPEG"});
  // Cut before the close delimiter: well formed so far, not finished.
  Outcome cut = read("--XyZ\r\nContent-Disposition: form-data; name=a\r\n\r\nabc\r\n--Xy", 4);
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
      Outcome outcome = read(body, chunk);
      EXPECT_FALSE(outcome.fed) << body.substr(0, 80);
      EXPECT_FALSE(outcome.problem.empty()) << body.substr(0, 80);
    }
  }
}

}  // namespace
}  // namespace quorvel
