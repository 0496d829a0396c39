#pragma once

#include <optional>
#include <string>

#include "quorvel/Dictionary.h"
#include "quorvel/Export.h"

namespace quorvel {

// The host application's information dictionary ("NSCameraUsageDescription",
// "NSMicrophoneUsageDescription", "CFBundleShortVersionString", "CFBundleVersion" ...).
class QUORVEL_EXPORT HostBundle {
 public:
  virtual ~HostBundle() = default;
  virtual Dictionary infoDictionary() const = 0;

  // The entry under key when it is a non-empty string.
  std::optional<std::string> string(const std::string& key) const {
    Dictionary info = infoDictionary();
    auto it = info.find(key);
    if (it == info.end() || !it->is_string()) return std::nullopt;
    std::string value = it->get<std::string>();
    if (value.empty()) return std::nullopt;
    return value;
  }
};

// A host bundle that answers a fixed dictionary.
class QUORVEL_EXPORT StaticHostBundle : public HostBundle {
 public:
  explicit StaticHostBundle(Dictionary info = Dictionary::object()) : info_(std::move(info)) {}
  Dictionary infoDictionary() const override { return info_; }

 private:
  Dictionary info_;
};

}  // namespace quorvel
