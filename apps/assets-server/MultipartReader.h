#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quorvel {

// Reads a multipart/form-data body as it streams in, with the syntax of RFC 2046 and the fields of
// RFC 7578: delimiter lines, each part's header fields, then its bytes, which are passed on as
// they come and never held whole. Only the bytes that might begin a delimiter wait for more.
class MultipartReader {
 public:
  struct Part {
    std::string name;                     // Content-Disposition: form-data; name=...
    std::optional<std::string> filename;  // its filename parameter, when there is one
    std::string contentType;              // as declared; empty when the part declares none
  };
  // Each returns false to stop reading (the caller then knows why).
  using PartStarted = std::function<bool(const Part& part)>;
  using PartBytes = std::function<bool(const char* data, std::size_t size)>;

  // A field value split as RFC 9110 writes media types: type and subtype in lower case, and the
  // parameters with lower-case names and their values unquoted. Nothing when it is malformed.
  struct MediaType {
    std::string type;
    std::string subtype;
    std::vector<std::pair<std::string, std::string>> parameters;
  };
  static std::optional<MediaType> parseMediaType(std::string_view value);

  // The boundary of a Content-Type value that is multipart/form-data with exactly one boundary
  // parameter of 1 to 70 of RFC 2046's characters; nothing otherwise.
  static std::optional<std::string> boundaryOf(std::string_view contentType);

  MultipartReader(const std::string& boundary, PartStarted started, PartBytes bytes);

  // The next bytes of the body. False once the body is malformed (see problem()) or a callback
  // stopped it; later calls then do nothing.
  bool feed(const char* data, std::size_t size);
  // The close delimiter was read: the body is complete. What follows it is ignored.
  bool finished() const { return state_ == State::epilogue; }
  // Why the body was refused; empty while it is well formed.
  const std::string& problem() const { return problem_; }

  // A part's header block longer than this is refused.
  static constexpr std::size_t kMaxHeaderBytes = 16 * 1024;

 private:
  enum class State { preamble, afterDelimiter, headers, body, epilogue, stopped };
  bool step();
  bool fail(std::string why);
  bool startPart(std::string_view block);

  std::string delimiter_;  // CRLF "--" boundary
  PartStarted started_;
  PartBytes bytes_;
  State state_ = State::preamble;
  std::string buffer_;  // bytes not yet taken, never more than a read's worth and a delimiter
  std::size_t at_ = 0;  // where the bytes not yet taken begin in buffer_
  std::string problem_;
};

}  // namespace quorvel
