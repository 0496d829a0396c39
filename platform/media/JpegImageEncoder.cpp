#include "media/JpegImageEncoder.h"

#include <png.h>

#include <algorithm>
#include <cmath>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>

// jpeglib.h needs FILE and size_t declared before it.
#include <jpeglib.h>

namespace quorvel {

namespace {

struct Pixels {
  int width = 0;
  int height = 0;
  int channels = 3;  // 3: R, G, B; 1: grey
  std::vector<std::uint8_t> bytes;
};

// libjpeg reports errors by longjmp; only plain data lives across it.
struct JumpingErrors {
  jpeg_error_mgr manager;
  std::jmp_buf jump;
};

void jumpOut(j_common_ptr info) {
  std::longjmp(reinterpret_cast<JumpingErrors*>(info->err)->jump, 1);
}

void quiet(j_common_ptr, int) {}

bool decodeJpeg(const std::vector<std::uint8_t>& bytes, Pixels& pixels) {
  jpeg_decompress_struct info{};
  JumpingErrors errors{};
  info.err = jpeg_std_error(&errors.manager);
  errors.manager.error_exit = jumpOut;
  errors.manager.emit_message = quiet;
  if (setjmp(errors.jump) != 0) {
    jpeg_destroy_decompress(&info);
    return false;
  }
  jpeg_create_decompress(&info);
  jpeg_mem_src(&info, bytes.data(), static_cast<unsigned long>(bytes.size()));
  jpeg_read_header(&info, TRUE);
  info.out_color_space = JCS_RGB;
  jpeg_start_decompress(&info);
  pixels.width = static_cast<int>(info.output_width);
  pixels.height = static_cast<int>(info.output_height);
  pixels.channels = 3;
  pixels.bytes.resize(static_cast<std::size_t>(pixels.width) * pixels.height * 3);
  while (info.output_scanline < info.output_height) {
    JSAMPROW row = &pixels.bytes[static_cast<std::size_t>(info.output_scanline) * pixels.width * 3];
    jpeg_read_scanlines(&info, &row, 1);
  }
  jpeg_finish_decompress(&info);
  jpeg_destroy_decompress(&info);
  return true;
}

bool decodePng(const std::vector<std::uint8_t>& bytes, Pixels& pixels) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  if (!png_image_begin_read_from_memory(&image, bytes.data(), bytes.size())) return false;
  image.format = PNG_FORMAT_RGB;  // transparency over black, as JPEG has none
  pixels.width = static_cast<int>(image.width);
  pixels.height = static_cast<int>(image.height);
  pixels.channels = 3;
  pixels.bytes.resize(PNG_IMAGE_SIZE(image));
  if (!png_image_finish_read(&image, nullptr, pixels.bytes.data(), 0, nullptr)) {
    png_image_free(&image);
    return false;
  }
  return true;
}

std::optional<std::vector<std::uint8_t>> encodeJpeg(const Pixels& pixels, double quality) {
  if (pixels.width <= 0 || pixels.height <= 0) return std::nullopt;
  jpeg_compress_struct info{};
  JumpingErrors errors{};
  unsigned char* out = nullptr;
  unsigned long size = 0;
  info.err = jpeg_std_error(&errors.manager);
  errors.manager.error_exit = jumpOut;
  errors.manager.emit_message = quiet;
  if (setjmp(errors.jump) != 0) {
    jpeg_destroy_compress(&info);
    std::free(out);
    return std::nullopt;
  }
  jpeg_create_compress(&info);
  jpeg_mem_dest(&info, &out, &size);
  info.image_width = static_cast<JDIMENSION>(pixels.width);
  info.image_height = static_cast<JDIMENSION>(pixels.height);
  info.input_components = pixels.channels;
  info.in_color_space = pixels.channels == 1 ? JCS_GRAYSCALE : JCS_RGB;
  jpeg_set_defaults(&info);
  const int percent = static_cast<int>(std::lround(std::clamp(quality, 0.01, 1.0) * 100));
  jpeg_set_quality(&info, percent, TRUE);  // baseline tables
  jpeg_start_compress(&info, TRUE);
  while (info.next_scanline < info.image_height) {
    auto* row = const_cast<JSAMPROW>(
        &pixels.bytes[static_cast<std::size_t>(info.next_scanline) * pixels.width *
                      static_cast<std::size_t>(pixels.channels)]);
    jpeg_write_scanlines(&info, &row, 1);
  }
  jpeg_finish_compress(&info);
  std::vector<std::uint8_t> jpeg(out, out + size);
  jpeg_destroy_compress(&info);
  std::free(out);
  return jpeg;
}

}  // namespace

std::optional<std::vector<std::uint8_t>> JpegImageEncoder::jpegData(
    const Image& image, double compressionQuality) const {
  Pixels pixels;
  if (image.kind == Image::Kind::bitmap) {
    if (image.width <= 0 || image.height <= 0 ||
        image.bytes.size() < static_cast<std::size_t>(image.width) * image.height) {
      return std::nullopt;
    }
    pixels = {image.width, image.height, 1, image.bytes};
    return encodeJpeg(pixels, compressionQuality);
  }
  std::vector<std::uint8_t> fromFile;
  const std::vector<std::uint8_t>* bytes = &image.bytes;
  if (image.kind == Image::Kind::asset) return std::nullopt;
  if (image.kind == Image::Kind::file) {
    std::ifstream file(image.name, std::ios::binary);
    if (!file) return std::nullopt;
    fromFile.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    bytes = &fromFile;
  }
  if (bytes->size() < 4) return std::nullopt;
  const bool jpeg = (*bytes)[0] == 0xFF && (*bytes)[1] == 0xD8;
  if (!(jpeg ? decodeJpeg(*bytes, pixels) : decodePng(*bytes, pixels))) return std::nullopt;
  return encodeJpeg(pixels, compressionQuality);
}

}  // namespace quorvel
