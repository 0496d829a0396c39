#pragma once

#include <functional>
#include <string>

#include "quorvel/Export.h"

namespace quorvel {

// Opens a URL in the system (a settings page, a browser). The completion runs on the main queue
// and tells whether the system could open it.
class QUORVEL_EXPORT UrlOpener {
 public:
  virtual ~UrlOpener() = default;
  virtual void open(const std::string& url, std::function<void(bool opened)> completion) = 0;
};

}  // namespace quorvel
