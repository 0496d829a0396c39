#pragma once

#include <functional>
#include <optional>
#include <string>

#include "quorvel/Image.h"

namespace quorvel {

// Turns a recorded movie into what is uploaded and reviewed.
class MediaExport {
 public:
  virtual ~MediaExport() = default;

  // Copies the streams of moviePath into an MPEG-4 file at mp4Path without re-encoding, with the
  // index first (faststart). completion runs on any thread, with an error text on failure.
  virtual void exportMP4(const std::string& moviePath, const std::string& mp4Path,
                         std::function<void(std::optional<std::string> error)> completion) = 0;
  // The movie's first frame, upright; nothing when it cannot be read.
  virtual std::optional<Image> thumbnail(const std::string& moviePath) = 0;
};

}  // namespace quorvel
