#include <gtest/gtest.h>

#include <random>

#include "media/QrCodeReader.h"
#include "support/GreyPicture.h"

namespace quorvel::testing {
namespace {

std::vector<std::string> read(const GreyPicture& picture) {
  return QrCodeReader::read(picture.pixels.data(), picture.width, picture.height,
                            picture.rowStride);
}

// The start code as the video test shows it: 55 bytes, version 4.
const std::string kStartCode = "QRVL:START:0f8fad5b-d9cb-469f-a165-70867728950e:1709287";

TEST(QrCodeReader, ReadsACodeStraightAndAsAMirrorShowsIt) {
  // A camera frame whose rows are padded past the picture: the padding must not be read.
  GreyPicture picture(1280, 720, 1344, 128);
  picture.drawCode(kStartCode, 400, 100);
  for (std::size_t row = 0; row < 720; ++row) {
    std::fill_n(picture.pixels.begin() + static_cast<long>(row * 1344 + 1280), 64, 0);
  }
  EXPECT_EQ(read(picture), std::vector<std::string>{kStartCode});
  picture.mirror();
  EXPECT_EQ(read(picture), std::vector<std::string>{kStartCode});
}

TEST(QrCodeReader, GivesEveryCodeInViewAsUtf8Text) {
  GreyPicture picture(1280, 720, 0, 200);
  picture.drawCode("Ação nº 1", 40, 40, 10);
  picture.drawCode("second", 700, 300, 10);
  auto texts = read(picture);
  std::sort(texts.begin(), texts.end());
  EXPECT_EQ(texts, (std::vector<std::string>{"Ação nº 1", "second"}));
}

TEST(QrCodeReader, FindsNothingWithoutACode) {
  GreyPicture noise(640, 480);
  std::mt19937 random(7);
  for (auto& pixel : noise.pixels) pixel = static_cast<std::uint8_t>(random() % 256);
  EXPECT_TRUE(read(noise).empty());
  EXPECT_TRUE(read(GreyPicture(640, 480)).empty());
  // A stride shorter than a row is not a picture.
  GreyPicture code(400, 400);
  code.drawCode("x", 0, 0, 10);
  EXPECT_TRUE(QrCodeReader::read(code.pixels.data(), 400, 400, 399).empty());
}

}  // namespace
}  // namespace quorvel::testing
