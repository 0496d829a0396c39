#pragma once

#include <memory>
#include <string>
#include <vector>

#include "quorvel/Export.h"
#include "quorvel/ui/Observable.h"
#include "quorvel/ui/ViewController.h"

namespace quorvel {

class LoadingView;

// A window of the application: a root screen and, above it, full-window overlays.
class QUORVEL_EXPORT Window : public Observable {
 public:
  explicit Window(std::shared_ptr<ViewController> root = nullptr) : root_(std::move(root)) {}

  std::shared_ptr<ViewController> rootViewController() const { return root_; }
  void setRootViewController(std::shared_ptr<ViewController> root);

  bool isKeyWindow() const { return isKey_; }

  const std::vector<std::shared_ptr<LoadingView>>& overlays() const { return overlays_; }

  std::string description() const;

 private:
  friend class Application;
  friend class LoadingView;

  void addOverlay(std::shared_ptr<LoadingView> overlay);
  void removeOverlay(const LoadingView& overlay);

  std::shared_ptr<ViewController> root_;
  std::vector<std::shared_ptr<LoadingView>> overlays_;
  bool isKey_ = false;
};

}  // namespace quorvel
