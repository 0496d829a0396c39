#pragma once

#include <optional>
#include <string>

#include "media/IsoMovieFile.h"

namespace quorvel {

// Copies an ISO base media file (QuickTime or MPEG-4) with its index first, so that it plays
// while it downloads, under the given brand: the samples are copied as they are and the chunk
// offsets moved, which is what a pass-through export to MP4 does. `to` is replaced only once the
// copy is complete. Nothing, or what went wrong.
std::optional<std::string> writeIndexFirst(const std::string& from, const std::string& to,
                                           IsoMovieFile::Brand brand);

}  // namespace quorvel
