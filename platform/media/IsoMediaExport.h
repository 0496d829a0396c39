#pragma once

#include "quorvel/platform/MediaExport.h"

namespace quorvel {

// MediaExport. The MP4 is the movie's own samples, untouched, behind its index under the MPEG-4
// brand (a pass-through export, as players stream it), made on a thread of its own that ends
// after the completion; mp4Path is only replaced once the file is complete. Thumbnails are the
// first H.264 picture (OpenH264), upright, as PNG images at most 640 pixels on their long side.
class IsoMediaExport : public MediaExport {
 public:
  void exportMP4(const std::string& moviePath, const std::string& mp4Path,
                 std::function<void(std::optional<std::string> error)> completion) override;
  std::optional<Image> thumbnail(const std::string& moviePath) override;
};

}  // namespace quorvel
