#pragma once

#include <memory>
#include <vector>

#include "quorvel/Export.h"
#include "quorvel/ui/Observable.h"
#include "quorvel/ui/Window.h"

namespace quorvel {

// The application's windows, one of which may be the key window.
class QUORVEL_EXPORT Application : public Observable {
 public:
  const std::vector<std::shared_ptr<Window>>& windows() const { return windows_; }
  std::shared_ptr<Window> keyWindow() const;

  void addWindow(std::shared_ptr<Window> window);
  void removeWindow(const Window& window);
  // Makes window (added if needed) the key window.
  void makeKeyWindow(const std::shared_ptr<Window>& window);

 private:
  std::vector<std::shared_ptr<Window>> windows_;
};

}  // namespace quorvel
