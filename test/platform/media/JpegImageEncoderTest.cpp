#include <gtest/gtest.h>

#include "media/JpegImageEncoder.h"
#include "support/TemporaryTree.h"
#include "support/TestImages.h"

namespace quorvel::testing {
namespace {

// The first luminance quantisation values of the first DQT segment.
std::vector<int> firstQuantisers(const std::vector<std::uint8_t>& jpeg, std::size_t count) {
  for (std::size_t i = 0; i + 5 + count < jpeg.size(); ++i) {
    if (jpeg[i] == 0xFF && jpeg[i + 1] == 0xDB) {
      return std::vector<int>(jpeg.begin() + static_cast<long>(i) + 5,
                              jpeg.begin() + static_cast<long>(i + 5 + count));
    }
  }
  return {};
}

TEST(JpegImageEncoder, EncodesBytesFilesAndBitmapsAsJpegOnTheLibjpegQualityScale) {
  JpegImageEncoder encoder;
  auto png = makePng(50, 20);
  auto jpeg = encoder.jpegData(Image::encoded(png), 0.8);
  ASSERT_TRUE(jpeg);
  EXPECT_EQ(decodedSize(*jpeg).width, 50);
  EXPECT_EQ(decodedSize(*jpeg).height, 20);
  // libjpeg's quality 80 table: 40% of the standard 16, 11 and 12, rounded as libjpeg does, in
  // zig-zag order.
  EXPECT_EQ(firstQuantisers(*jpeg, 3), (std::vector<int>{6, 4, 5}));
  auto best = encoder.jpegData(Image::encoded(png), 1.0);
  auto worst = encoder.jpegData(Image::encoded(png), 0.1);
  ASSERT_TRUE(best && worst);
  EXPECT_LT(worst->size(), jpeg->size());
  EXPECT_LT(jpeg->size(), best->size());

  TemporaryTree tree("quorvel-image");
  tree.write("photo.png", std::string(png.begin(), png.end()));
  EXPECT_EQ(encoder.jpegData(Image::file((tree.path() / "photo.png").string()), 0.8), jpeg);
  // A JPEG is read as well as a PNG, and the SDK's grey bitmaps too.
  EXPECT_EQ(decodedSize(*encoder.jpegData(Image::encoded(*jpeg), 0.8)).width, 50);
  auto grey = encoder.jpegData(Image::bitmap(33, 17, std::vector<std::uint8_t>(33 * 17, 200)), 0.8);
  ASSERT_TRUE(grey);
  EXPECT_EQ(decodedSize(*grey).width, 33);
  EXPECT_EQ(decodedSize(*grey).height, 17);
}

TEST(JpegImageEncoder, WhatIsNotAReadableImageGivesNothing) {
  JpegImageEncoder encoder;
  EXPECT_FALSE(encoder.jpegData(Image::encoded({}), 0.8));
  EXPECT_FALSE(encoder.jpegData(Image::encoded({1, 2, 3, 4, 5, 6, 7, 8}), 0.8));
  EXPECT_FALSE(encoder.jpegData(Image::file("/nonexistent/photo.png"), 0.8));
  EXPECT_FALSE(encoder.jpegData(Image::asset("imgStart"), 0.8));
  EXPECT_FALSE(encoder.jpegData(Image::bitmap(10, 10, std::vector<std::uint8_t>(50)), 0.8));
}

}  // namespace
}  // namespace quorvel::testing
