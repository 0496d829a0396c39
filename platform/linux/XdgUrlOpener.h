#pragma once

#include "quorvel/platform/UrlOpener.h"

namespace quorvel {

// Opens URLs with the desktop's xdg-open; the completion tells whether it exited successfully.
class XdgUrlOpener : public UrlOpener {
 public:
  void open(const std::string& url, std::function<void(bool opened)> completion) override;
};

}  // namespace quorvel
