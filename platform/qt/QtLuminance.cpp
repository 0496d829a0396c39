#include "qt/QtLuminance.h"

#include <QVideoFrameFormat>

namespace quorvel {

namespace {

// Copies one byte per pixel out of rows of `step`-byte samples, starting at `offset` in each row.
QImage pick(const uchar* bits, int stride, int width, int height, int step, int offset) {
  QImage grey(width, height, QImage::Format_Grayscale8);
  for (int y = 0; y < height; ++y) {
    const uchar* in = bits + static_cast<qsizetype>(y) * stride + offset;
    uchar* out = grey.scanLine(y);
    for (int x = 0; x < width; ++x) out[x] = in[x * step];
  }
  return grey;
}

// 10-bit samples in the low bits of little-endian 16-bit words.
QImage pickTenBit(const uchar* bits, int stride, int width, int height) {
  QImage grey(width, height, QImage::Format_Grayscale8);
  for (int y = 0; y < height; ++y) {
    const uchar* in = bits + static_cast<qsizetype>(y) * stride;
    uchar* out = grey.scanLine(y);
    for (int x = 0; x < width; ++x) {
      out[x] = static_cast<uchar>((in[2 * x] | (in[2 * x + 1] << 8)) >> 2);
    }
  }
  return grey;
}

}  // namespace

QImage QtLuminance::of(const QVideoFrame& source) {
  // Mapping changes the frame's state; a copy shares the pixels.
  QVideoFrame frame = source;
  if (!frame.isValid() || !frame.map(QVideoFrame::ReadOnly)) return {};
  const uchar* bits = frame.bits(0);
  const int stride = frame.bytesPerLine(0);
  const int width = frame.width();
  const int height = frame.height();
  QImage grey;
  switch (frame.pixelFormat()) {
    case QVideoFrameFormat::Format_Y8:
    case QVideoFrameFormat::Format_YUV420P:
    case QVideoFrameFormat::Format_YUV422P:
    case QVideoFrameFormat::Format_YV12:
    case QVideoFrameFormat::Format_NV12:
    case QVideoFrameFormat::Format_NV21:
    case QVideoFrameFormat::Format_IMC1:
    case QVideoFrameFormat::Format_IMC2:
    case QVideoFrameFormat::Format_IMC3:
    case QVideoFrameFormat::Format_IMC4:
      grey = pick(bits, stride, width, height, 1, 0);
      break;
    // 16-bit samples with the value in the high bits: their high byte, little-endian.
    case QVideoFrameFormat::Format_Y16:
    case QVideoFrameFormat::Format_P010:
    case QVideoFrameFormat::Format_P016:
      grey = pick(bits, stride, width, height, 2, 1);
      break;
    case QVideoFrameFormat::Format_YUV420P10:
      grey = pickTenBit(bits, stride, width, height);
      break;
    case QVideoFrameFormat::Format_YUYV:
      grey = pick(bits, stride, width, height, 2, 0);
      break;
    case QVideoFrameFormat::Format_UYVY:
      grey = pick(bits, stride, width, height, 2, 1);
      break;
    case QVideoFrameFormat::Format_AYUV:
    case QVideoFrameFormat::Format_AYUV_Premultiplied:
      grey = pick(bits, stride, width, height, 4, 1);
      break;
    case QVideoFrameFormat::Format_Jpeg:
      grey =
          QImage::fromData(bits, frame.mappedBytes(0)).convertToFormat(QImage::Format_Grayscale8);
      break;
    default: {
      const QImage::Format format =
          QVideoFrameFormat::imageFormatFromPixelFormat(frame.pixelFormat());
      if (format != QImage::Format_Invalid) {
        // convertToFormat copies, so nothing refers to the mapped pixels afterwards.
        grey =
            QImage(bits, width, height, stride, format).convertToFormat(QImage::Format_Grayscale8);
      }
      break;
    }
  }
  frame.unmap();
  return grey;
}

}  // namespace quorvel
