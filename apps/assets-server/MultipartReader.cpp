#include "MultipartReader.h"

#include <algorithm>
#include <cctype>

namespace quorvel {

namespace {

// More blanks than this after a delimiter is no transport padding a client would send.
constexpr std::size_t kMaxPadding = 256;

bool isTokenChar(char c) {
  static constexpr std::string_view kSymbols = "!#$%&'*+-.^_`|~";
  return std::isalnum(static_cast<unsigned char>(c)) || kSymbols.find(c) != std::string_view::npos;
}

bool isBlank(char c) { return c == ' ' || c == '\t'; }

std::string lowered(std::string_view text) {
  std::string out(text);
  for (char& c : out) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return out;
}

// A left-to-right reader of one header field value.
class Scanner {
 public:
  explicit Scanner(std::string_view text) : text_(text) {}

  bool atEnd() const { return at_ == text_.size(); }
  void skipBlanks() {
    while (!atEnd() && isBlank(text_[at_])) ++at_;
  }
  bool take(char c) {
    if (atEnd() || text_[at_] != c) return false;
    ++at_;
    return true;
  }
  std::optional<std::string> token() {
    std::size_t start = at_;
    while (!atEnd() && isTokenChar(text_[at_])) ++at_;
    if (at_ == start) return std::nullopt;
    return std::string(text_.substr(start, at_ - start));
  }
  std::optional<std::string> quoted() {
    if (!take('"')) return std::nullopt;
    std::string value;
    while (!atEnd()) {
      auto c = static_cast<unsigned char>(text_[at_++]);
      if (c == '"') return value;
      if (c == '\\') {
        if (atEnd()) return std::nullopt;
        c = static_cast<unsigned char>(text_[at_++]);
      }
      // Controls other than the tab have no place in a quoted string.
      if ((c < 0x20 && c != '\t') || c == 0x7F) return std::nullopt;
      value += static_cast<char>(c);
    }
    return std::nullopt;
  }
  // *( OWS ";" OWS [ name "=" ( token / quoted-string ) ] ) up to the end; false when malformed.
  bool parameters(std::vector<std::pair<std::string, std::string>>& into) {
    for (;;) {
      skipBlanks();
      if (atEnd()) return true;
      if (!take(';')) return false;
      skipBlanks();
      if (atEnd() || text_[at_] == ';') continue;
      auto name = token();
      if (!name || !take('=')) return false;
      auto value = !atEnd() && text_[at_] == '"' ? quoted() : token();
      if (!value) return false;
      into.emplace_back(lowered(*name), std::move(*value));
    }
  }

 private:
  std::string_view text_;
  std::size_t at_ = 0;
};

bool isBoundaryChar(char c) {
  static constexpr std::string_view kSymbols = "'()+_,-./:=? ";
  return std::isalnum(static_cast<unsigned char>(c)) || kSymbols.find(c) != std::string_view::npos;
}

}  // namespace

std::optional<MultipartReader::MediaType> MultipartReader::parseMediaType(std::string_view value) {
  Scanner scanner(value);
  scanner.skipBlanks();
  auto type = scanner.token();
  if (!type || !scanner.take('/')) return std::nullopt;
  auto subtype = scanner.token();
  if (!subtype) return std::nullopt;
  MediaType media{lowered(*type), lowered(*subtype), {}};
  if (!scanner.parameters(media.parameters)) return std::nullopt;
  return media;
}

std::optional<std::string> MultipartReader::boundaryOf(std::string_view contentType) {
  auto media = parseMediaType(contentType);
  if (!media || media->type != "multipart" || media->subtype != "form-data") return std::nullopt;
  std::optional<std::string> boundary;
  for (const auto& [name, value] : media->parameters) {
    if (name != "boundary") continue;
    if (boundary) return std::nullopt;
    boundary = value;
  }
  if (!boundary || boundary->empty() || boundary->size() > 70 || boundary->back() == ' ' ||
      !std::all_of(boundary->begin(), boundary->end(), isBoundaryChar)) {
    return std::nullopt;
  }
  return boundary;
}

MultipartReader::MultipartReader(const std::string& boundary, PartStarted started, PartBytes bytes)
    : delimiter_("\r\n--" + boundary),
      started_(std::move(started)),
      bytes_(std::move(bytes)),
      // The first delimiter may open the body itself, without the line break before it.
      buffer_("\r\n") {}

bool MultipartReader::feed(const char* data, std::size_t size) {
  if (state_ == State::stopped) return false;
  if (state_ == State::epilogue) return true;
  buffer_.append(data, size);
  while (step()) {
  }
  if (state_ == State::stopped) return false;
  buffer_.erase(0, at_);
  at_ = 0;
  return true;
}

bool MultipartReader::fail(std::string why) {
  problem_ = std::move(why);
  state_ = State::stopped;
  return false;
}

bool MultipartReader::step() {
  const std::size_t available = buffer_.size() - at_;
  switch (state_) {
    case State::preamble:
    case State::body: {
      const std::size_t found = buffer_.find(delimiter_, at_);
      // Short of a delimiter, only its possible beginning at the end waits for more bytes.
      const std::size_t held = delimiter_.size() - 1;
      const std::size_t end =
          found != std::string::npos
              ? found
              : std::max(at_, buffer_.size() > held ? buffer_.size() - held : std::size_t{0});
      if (state_ == State::body && end > at_ && !bytes_(buffer_.data() + at_, end - at_)) {
        state_ = State::stopped;
        return false;
      }
      at_ = end;
      if (found == std::string::npos) return false;
      at_ += delimiter_.size();
      state_ = State::afterDelimiter;
      return true;
    }
    case State::afterDelimiter: {
      if (available < 2) return false;
      if (buffer_.compare(at_, 2, "--") == 0) {
        at_ = buffer_.size();
        state_ = State::epilogue;
        return false;
      }
      std::size_t i = at_;
      while (i < buffer_.size() && isBlank(buffer_[i])) ++i;
      if (i - at_ > kMaxPadding) return fail("a delimiter line goes on past its boundary");
      if (buffer_.size() - i < 2) return false;
      if (buffer_.compare(i, 2, "\r\n") != 0) {
        return fail("the boundary appears inside a part, or a delimiter line is malformed");
      }
      at_ = i + 2;
      state_ = State::headers;
      return true;
    }
    case State::headers: {
      std::size_t end = buffer_.compare(at_, 2, "\r\n") == 0 ? at_ : buffer_.find("\r\n\r\n", at_);
      if (end == std::string::npos) {
        if (available > kMaxHeaderBytes) return fail("a part's header fields are too long");
        return false;
      }
      if (end - at_ > kMaxHeaderBytes) return fail("a part's header fields are too long");
      std::string_view block(buffer_.data() + at_, end - at_);
      at_ = end + (end == at_ ? 2 : 4);
      if (!startPart(block)) return false;
      state_ = State::body;
      return true;
    }
    case State::epilogue:
    case State::stopped:
      return false;
  }
  return false;
}

bool MultipartReader::startPart(std::string_view block) {
  Part part;
  bool disposed = false;
  bool typed = false;
  while (!block.empty()) {
    std::size_t lineEnd = block.find("\r\n");
    std::string_view line = block.substr(0, lineEnd);
    block = lineEnd == std::string_view::npos ? std::string_view() : block.substr(lineEnd + 2);
    std::size_t colon = line.find(':');
    if (colon == std::string_view::npos || colon == 0 ||
        !std::all_of(line.begin(), line.begin() + static_cast<long>(colon), isTokenChar)) {
      return fail("a part's header line is not a field");
    }
    std::string_view value = line.substr(colon + 1);
    if (std::any_of(value.begin(), value.end(),
                    [](char c) { return c == '\0' || c == '\r' || c == '\n'; })) {
      return fail("a part's header field holds a control character");
    }
    const std::string name = lowered(line.substr(0, colon));
    if (name == "content-disposition") {
      if (std::exchange(disposed, true)) return fail("a part has two Content-Disposition fields");
      Scanner scanner(value);
      scanner.skipBlanks();
      auto type = scanner.token();
      std::vector<std::pair<std::string, std::string>> parameters;
      if (!type || lowered(*type) != "form-data" || !scanner.parameters(parameters)) {
        return fail("a part's Content-Disposition is not form-data");
      }
      std::optional<std::string> partName;
      for (auto& [key, text] : parameters) {
        if (key == "name" && !partName) partName = text;
        if (key == "filename" && !part.filename) part.filename = text;
      }
      if (!partName) return fail("a part has no name");
      part.name = *partName;
    } else if (name == "content-type") {
      if (std::exchange(typed, true)) return fail("a part has two Content-Type fields");
      std::size_t first = value.find_first_not_of(" \t");
      std::size_t last = value.find_last_not_of(" \t");
      part.contentType = first == std::string_view::npos
                             ? std::string()
                             : std::string(value.substr(first, last - first + 1));
    }
  }
  if (!disposed) return fail("a part has no Content-Disposition");
  if (!started_(part)) {
    state_ = State::stopped;
    return false;
  }
  return true;
}

}  // namespace quorvel
