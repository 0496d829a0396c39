#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace quorvel {

// Writes R, G, B rows as a PNG image (8 bits a channel, zlib at its default level, each row
// filtered by its upper neighbour, which suits photographs and flat colours alike).
class PngWriter {
 public:
  static std::optional<std::vector<std::uint8_t>> encode(const std::vector<std::uint8_t>& rgb,
                                                         int width, int height);
};

}  // namespace quorvel
