#include "ResultsSeal.h"

#include <fstream>
#include <functional>
#include <istream>
#include <nlohmann/json.hpp>
#include <optional>
#include <streambuf>
#include <utility>
#include <vector>

#include "Sha256.h"

namespace quorvel {

namespace {

// Bytes of the document read at a time.
constexpr std::size_t kChunkBytes = 64 * 1024;
// A string longer than this is judged by the parser piece by piece.
constexpr std::size_t kPieceBytes = 16 * 1024;
// Valid string text has a place to cut at least every 12 bytes (a surrogate pair's escapes).
constexpr std::size_t kPieceSlack = 64;
// Runs of blanks or digits are cut to this: the parser judges them the same.
constexpr std::size_t kMaxRun = 32;
// Key text longer than this names no member looked for.
constexpr std::size_t kMaxKeyBytes = 256;
// A "sha256" member longer than this cannot hold a digest, escaped or not.
constexpr std::size_t kMaxSealBytes = 512;

bool isJsonSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
bool isDigit(char c) { return c >= '0' && c <= '9'; }

// Told the raw text of each top-level member's value as it passes: begin on its first bytes, end on
// its last.
using MemberText =
    std::function<void(const std::string& key, std::string_view text, bool begin, bool end)>;

// A document as a JSON parser is shown it: byte for byte, except that a long string is handed to
// the parser in pieces beforehand and stands as "" in the stream, and long runs of blanks or digits
// are cut short. The parser's verdict on the stream is its verdict on the document, while neither
// it nor this reader ever holds more than a piece (nlohmann's lexer keeps each token twice, so a
// long string would cost twice its size). Pieces are cut only where no escape or UTF-8 sequence is
// split and no surrogate pair is parted, so the pieces are valid exactly when the whole string is.
class Skeleton : public std::streambuf {
 public:
  Skeleton(std::streambuf& document, MemberText member)
      : document_(document), member_(std::move(member)), in_(kChunkBytes) {
    piece_.reserve(kPieceBytes + kPieceSlack);
  }

  // True when a piece of a long string was refused: the document is not JSON whatever follows.
  bool broken() const { return broken_; }

 protected:
  int_type underflow() override {
    out_.clear();
    while (out_.empty() && !ended_) {
      std::streamsize got = document_.sgetn(in_.data(), static_cast<std::streamsize>(in_.size()));
      if (got <= 0) {
        ended_ = true;
        // Cut off inside a string: show the parser an unterminated one.
        if (inString_) out_ += '"';
        break;
      }
      scan(in_.data(), static_cast<std::size_t>(got));
    }
    if (out_.empty()) return traits_type::eof();
    setg(out_.data(), out_.data(), out_.data() + out_.size());
    return traits_type::to_int_type(out_[0]);
  }

 private:
  enum class Expect { kKey, kColon, kValue, kComma };
  enum class Kind { kNone, kScalar, kString, kNested };

  void scan(const char* data, std::size_t size) {
    valueFrom_ = 0;
    for (std::size_t i = 0; i < size; ++i) {
      const char c = data[i];
      if (inString_) {
        stringByte(c);
        if (!inString_ && depth_ == 1 && kind_ == Kind::kString) endValue(data, i + 1);
        continue;
      }
      if (depth_ == 1 && topIsObject_) member(data, i, c);
      if (c == '"') {
        inString_ = true;
        pieced_ = false;
        escapeLeft_ = 0;
        highSurrogate_ = false;
        piece_.clear();
        spaceRun_ = digitRun_ = 0;
        continue;
      }
      if (c == '{' || c == '[') {
        if (depth_ == 0 && !topSeen_) topIsObject_ = c == '{';
        topSeen_ = true;
        ++depth_;
      } else if ((c == '}' || c == ']') && depth_ > 0) {
        --depth_;
        if (depth_ == 1 && kind_ == Kind::kNested) endValue(data, i + 1);
      }
      skeletonByte(c);
    }
    if (kind_ != Kind::kNone) flushValue(data, size, false);
  }

  // Follows the members of the top-level object: c is a byte between them, or a value's first.
  void member(const char* data, std::size_t at, char c) {
    if (kind_ == Kind::kScalar && (isJsonSpace(c) || c == ',' || c == '}' || c == ']')) {
      endValue(data, at);
    }
    if (isJsonSpace(c)) return;
    if (expect_ == Expect::kKey && c == '"') {
      keyText_.clear();
      inKey_ = true;
    } else if (expect_ == Expect::kColon && c == ':') {
      expect_ = Expect::kValue;
    } else if (expect_ == Expect::kComma && c == ',') {
      expect_ = Expect::kKey;
    } else if (expect_ == Expect::kValue) {
      kind_ = c == '"' ? Kind::kString : c == '{' || c == '[' ? Kind::kNested : Kind::kScalar;
      valueFrom_ = at;
      valueBegun_ = false;
      expect_ = Expect::kComma;
    }
  }

  void flushValue(const char* data, std::size_t end, bool last) {
    member_(key_, std::string_view(data + valueFrom_, end - valueFrom_), !valueBegun_, last);
    valueBegun_ = true;
    valueFrom_ = 0;
  }

  void endValue(const char* data, std::size_t end) {
    flushValue(data, end, true);
    kind_ = Kind::kNone;
  }

  void stringByte(char c) {
    if (inKey_ && keyText_.size() <= kMaxKeyBytes) keyText_ += c;
    if (escapeLeft_ > 0) {
      escapeByte(c);
      piece_ += c;
      return;
    }
    if (c == '"') {
      endString();
      return;
    }
    // Before c the string may be cut: not inside a UTF-8 sequence nor between a pair's halves.
    const bool continuation = (static_cast<unsigned char>(c) & 0xC0) == 0x80;
    if (!continuation && !(c == '\\' && highSurrogate_) && piece_.size() >= kPieceBytes) {
      checkPiece();
    }
    highSurrogate_ = false;
    if (c == '\\') {
      escapeLeft_ = 1;
      unicode_ = false;
    }
    piece_ += c;
    if (piece_.size() > kPieceBytes + kPieceSlack) {
      broken_ = true;
      piece_.clear();
    }
  }

  // The bytes after a backslash: one letter, and four hex digits after "u".
  void escapeByte(char c) {
    if (!unicode_) {
      unicode_ = c == 'u';
      escapeLeft_ = unicode_ ? 4 : 0;
      code_ = 0;
      return;
    }
    const int digit = isDigit(c)             ? c - '0'
                      : c >= 'a' && c <= 'f' ? c - 'a' + 10
                      : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                             : 0;
    code_ = code_ * 16 + static_cast<unsigned>(digit);
    if (--escapeLeft_ == 0) highSurrogate_ = code_ >= 0xD800 && code_ <= 0xDBFF;
  }

  void endString() {
    inString_ = false;
    if (pieced_) {
      checkPiece();
      out_ += "\"\"";
    } else {
      out_ += '"';
      out_ += piece_;
      out_ += '"';
    }
    piece_.clear();
    if (inKey_) {
      inKey_ = false;
      expect_ = Expect::kColon;
      // A key as the parser reads it: escapes such as "d\u0061ta" name "data" too.
      nlohmann::json name = keyText_.size() <= kMaxKeyBytes
                                ? nlohmann::json::parse("\"" + keyText_, nullptr, false)
                                : nlohmann::json();
      key_ = name.is_string() ? name.get<std::string>() : std::string();
    }
  }

  void checkPiece() {
    pieced_ = true;
    quoted_.assign(1, '"');
    quoted_ += piece_;
    quoted_ += '"';
    if (!nlohmann::json::accept(quoted_)) broken_ = true;
    piece_.clear();
  }

  void skeletonByte(char c) {
    if (isJsonSpace(c)) {
      digitRun_ = 0;
      if (spaceRun_++ == 0) out_ += c;
    } else if (isDigit(c)) {
      spaceRun_ = 0;
      if (digitRun_++ < kMaxRun) out_ += c;
    } else {
      spaceRun_ = digitRun_ = 0;
      out_ += c;
    }
  }

  std::streambuf& document_;
  MemberText member_;
  std::vector<char> in_;
  std::string out_;
  bool ended_ = false;
  bool broken_ = false;
  // Where the reader is.
  std::size_t depth_ = 0;
  bool topSeen_ = false;
  bool topIsObject_ = false;
  bool inString_ = false;
  std::string piece_;
  std::string quoted_;
  bool pieced_ = false;
  int escapeLeft_ = 0;
  bool unicode_ = false;
  unsigned code_ = 0;
  bool highSurrogate_ = false;
  std::size_t spaceRun_ = 0;
  std::size_t digitRun_ = 0;
  // The top-level member being read.
  Expect expect_ = Expect::kKey;
  bool inKey_ = false;
  std::string keyText_;
  std::string key_;
  Kind kind_ = Kind::kNone;
  std::size_t valueFrom_ = 0;
  bool valueBegun_ = false;
};

// Stops at the first level too deep, so the parser's own stack stays small as well.
struct DepthLimit : nlohmann::json::json_sax_t {
  std::size_t depth = 0;
  bool open() { return ++depth <= ResultsSeal::kMaxDepth; }
  bool close() {
    --depth;
    return true;
  }
  bool null() override { return true; }
  bool boolean(bool) override { return true; }
  bool number_integer(number_integer_t) override { return true; }
  bool number_unsigned(number_unsigned_t) override { return true; }
  bool number_float(number_float_t, const string_t&) override { return true; }
  bool string(string_t&) override { return true; }
  bool binary(binary_t&) override { return true; }
  bool start_object(std::size_t) override { return open(); }
  bool key(string_t&) override { return true; }
  bool end_object() override { return close(); }
  bool start_array(std::size_t) override { return open(); }
  bool end_array() override { return close(); }
  bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception&) override {
    return false;
  }
};

// True when document is JSON nested no deeper than kMaxDepth; its top-level members go to member on
// the way. No tree is built: one as deep or as wide as the bytes allow would cost many times their
// size.
bool readDocument(std::streambuf& document, MemberText member) {
  Skeleton skeleton(document, std::move(member));
  std::istream stream(&skeleton);
  DepthLimit limit;
  return nlohmann::json::sax_parse(stream, &limit) && !skeleton.broken();
}

// Text in memory as a stream, without a copy.
class TextBuffer : public std::streambuf {
 public:
  explicit TextBuffer(std::string_view text) {
    char* begin = const_cast<char*>(text.data());
    setg(begin, begin, begin + text.size());
  }
};

bool verifyStream(std::streambuf& document, std::string_view appID) {
  std::optional<Sha256> digest;
  std::string expected;
  bool dataIsObject = false;
  std::string seal;
  const bool json = readDocument(
      document, [&](const std::string& key, std::string_view text, bool begin, bool end) {
        if (key == "data") {
          if (begin) {
            digest.emplace();
            expected.clear();
            dataIsObject = text.front() == '{';
          }
          digest->update(text);
          if (end) {
            digest->update(appID);
            expected = digest->finishHex();
          }
        } else if (key == "sha256") {
          if (begin) seal.clear();
          if (seal.size() <= kMaxSealBytes)
            seal.append(text.substr(0, kMaxSealBytes + 1 - seal.size()));
        }
      });
  if (!json || !dataIsObject || expected.empty() || seal.size() > kMaxSealBytes) return false;
  nlohmann::json given = nlohmann::json::parse(seal, nullptr, false);
  return given.is_string() && given.get<std::string>() == expected;
}

}  // namespace

std::optional<std::string> ResultsSeal::memberText(std::string_view document,
                                                   std::string_view key) {
  std::optional<std::string> found;
  TextBuffer stream(document);
  const bool json =
      readDocument(stream, [&](const std::string& name, std::string_view text, bool begin, bool) {
        if (name != key) return;
        if (begin) found.emplace();
        found->append(text);
      });
  return json ? found : std::nullopt;
}

bool ResultsSeal::verify(std::string_view document, std::string_view appID) {
  TextBuffer stream(document);
  return verifyStream(stream, appID);
}

bool ResultsSeal::verifyFile(const std::filesystem::path& file, std::string_view appID) {
  std::error_code error;
  const std::uintmax_t size = std::filesystem::file_size(file, error);
  if (error || size > kMaxDocumentBytes) return false;
  std::filebuf stream;
  if (!stream.open(file, std::ios::in | std::ios::binary)) return false;
  return verifyStream(stream, appID);
}

std::string ResultsSeal::sha256Hex(std::string_view bytes, std::string_view more) {
  // Digested piece by piece: the document is not copied to append the app ID.
  Sha256 digest;
  digest.update(bytes);
  digest.update(more);
  return digest.finishHex();
}

}  // namespace quorvel
