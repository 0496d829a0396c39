#include "media/PngWriter.h"

#include <zlib.h>

#include <string>

namespace quorvel {

namespace {

void put32(std::vector<std::uint8_t>& out, std::uint32_t v) {
  for (int shift = 24; shift >= 0; shift -= 8) out.push_back(static_cast<std::uint8_t>(v >> shift));
}

void chunk(std::vector<std::uint8_t>& out, const char* type,
           const std::vector<std::uint8_t>& data) {
  put32(out, static_cast<std::uint32_t>(data.size()));
  const std::size_t start = out.size();
  out.insert(out.end(), type, type + 4);
  out.insert(out.end(), data.begin(), data.end());
  put32(out, static_cast<std::uint32_t>(
                 crc32(0, out.data() + start, static_cast<uInt>(out.size() - start))));
}

}  // namespace

std::optional<std::vector<std::uint8_t>> PngWriter::encode(const std::vector<std::uint8_t>& rgb,
                                                           int width, int height) {
  const auto rowBytes = static_cast<std::size_t>(width) * 3;
  if (width <= 0 || height <= 0 || rgb.size() < rowBytes * static_cast<std::size_t>(height)) {
    return std::nullopt;
  }
  // Each row: filter 2 (Up), then its bytes less the ones above.
  std::vector<std::uint8_t> filtered;
  filtered.reserve((rowBytes + 1) * static_cast<std::size_t>(height));
  for (int y = 0; y < height; ++y) {
    const std::uint8_t* row = &rgb[static_cast<std::size_t>(y) * rowBytes];
    filtered.push_back(2);
    for (std::size_t x = 0; x < rowBytes; ++x) {
      filtered.push_back(static_cast<std::uint8_t>(row[x] - (y > 0 ? row[x - rowBytes] : 0)));
    }
  }
  uLongf compressedSize = compressBound(static_cast<uLong>(filtered.size()));
  std::vector<std::uint8_t> compressed(compressedSize);
  if (compress2(compressed.data(), &compressedSize, filtered.data(),
                static_cast<uLong>(filtered.size()), Z_DEFAULT_COMPRESSION) != Z_OK) {
    return std::nullopt;
  }
  compressed.resize(compressedSize);

  std::vector<std::uint8_t> png = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
  std::vector<std::uint8_t> header;
  put32(header, static_cast<std::uint32_t>(width));
  put32(header, static_cast<std::uint32_t>(height));
  header.insert(header.end(), {8, 2, 0, 0, 0});  // 8 bits, RGB, deflate, no filter choice, plain
  chunk(png, "IHDR", header);
  chunk(png, "IDAT", compressed);
  chunk(png, "IEND", {});
  return png;
}

}  // namespace quorvel
