#pragma once

#include <QUrl>
#include <functional>

#include "quorvel/platform/VideoPlayback.h"

namespace quorvel {

// Movie playback in the Qt front end: the view's movie player covers the SDK's screens until the
// movie ends or the person closes it. The front end shows it when asked.
class QtVideoPlayback : public VideoPlayback {
 public:
  using Closed = std::function<void(const std::string& problem)>;
  explicit QtVideoPlayback(std::function<void(const QUrl& movie, Closed closed)> present)
      : present_(std::move(present)) {}

  void play(const std::string& moviePath, Closed closed) override;

 private:
  std::function<void(const QUrl& movie, Closed closed)> present_;
};

}  // namespace quorvel
