#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace quorvel {

// The parts of a request target (or of a url the server handed out) that routes are chosen by.
class RequestTarget {
 public:
  static constexpr std::string_view kApplicationsPrefix = "/v3/applications/";
  static constexpr std::string_view kAssetPrefix = "/assets/";

  // The path as sent: neither decoded nor with its query. The absolute form ("http://host/path")
  // names the same path.
  static std::string_view path(std::string_view target);
  // The text after the first "?", empty without one.
  static std::string_view query(std::string_view target);
  // A query's parameters, percent-decoded ("+" is a space); nothing when an escape is broken or a
  // name repeats, so that no two readers can take it differently.
  static std::optional<std::map<std::string, std::string>> parameters(std::string_view query);
  // ASCII letters compared without their case, as header values and schemes are.
  static bool equalIgnoringCase(std::string_view a, std::string_view b);
  // The folder and name of an asset path ("/assets/folder/name", or under another prefix), or
  // nothing.
  static std::optional<std::pair<std::string_view, std::string_view>> asset(
      std::string_view path, std::string_view prefix = kAssetPrefix);
};

}  // namespace quorvel
