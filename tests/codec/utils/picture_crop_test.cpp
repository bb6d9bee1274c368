// SPDX-License-Identifier: MIT
#include "codec/utils/picture_crop.h"

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <string>
#include <vector>

namespace codec {
namespace {

using Bytes = std::vector<uint8_t>;

// One component of all pixels, read one by one, as FFmpeg's own tools do for formats that they
// compare.
std::vector<uint16_t> Component(const Bytes& picture, const AVPixFmtDescriptor& format, int width,
                                int height, int component, int columns, int rows) {
  std::array<uint8_t*, 4> planes{};
  std::array<int, 4> strides{};
  av_image_fill_arrays(planes.data(), strides.data(), picture.data(),
                       av_pix_fmt_desc_get_id(&format), width, height, 1);
  const std::array<const uint8_t*, 4> data = {planes[0], planes[1], planes[2], planes[3]};
  std::vector<uint16_t> values;
  std::vector<uint16_t> line(static_cast<size_t>(columns));
  for (int row = 0; row < rows; ++row) {
    const bool readsPalette = (format.flags & AV_PIX_FMT_FLAG_PAL) != 0;
    av_read_image_line(line.data(), const_cast<const uint8_t**>(data.data()), strides.data(),
                       &format, 0, row, component, columns, readsPalette ? 1 : 0);
    values.insert(values.end(), line.begin(), line.end());
  }
  return values;
}

Bytes RandomPicture(size_t bytes) {
  std::mt19937 random(17);
  Bytes picture(bytes);
  for (uint8_t& byte : picture) byte = static_cast<uint8_t>(random());
  return picture;
}

// Formats whose pixels av_read_image_line can find in memory.
std::vector<const AVPixFmtDescriptor*> Formats() {
  std::vector<const AVPixFmtDescriptor*> formats;
  const AVPixFmtDescriptor* format = nullptr;
  while ((format = av_pix_fmt_desc_next(format)) != nullptr) {
    constexpr uint64_t kOther = AV_PIX_FMT_FLAG_HWACCEL | AV_PIX_FMT_FLAG_BAYER;
    // The description of this one tells where the first pixel of each row is, and no other.
    if (av_pix_fmt_desc_get_id(format) == AV_PIX_FMT_UYYVYY411) continue;
    if ((format->flags & kOther) == 0 && format->nb_components > 0) formats.push_back(format);
  }
  return formats;
}

struct Crop {
  int width, height, toWidth, toHeight;
};
constexpr Crop kCrops[] = {
    {5, 5, 4, 4}, {313, 273, 312, 272}, {16, 7, 16, 6}, {9, 8, 8, 8}, {6, 4, 6, 4}};

TEST(PictureCrop, KeepsTheTopLeftPixelsOfEveryFormat) {
  EXPECT_GT(Formats().size(), 100U);
  for (const AVPixFmtDescriptor* format : Formats()) {
    const AVPixelFormat id = av_pix_fmt_desc_get_id(format);
    for (const Crop& crop : kCrops) {
      SCOPED_TRACE(std::string(format->name) + " " + std::to_string(crop.width));
      const int bytes = av_image_get_buffer_size(id, crop.width, crop.height, 1);
      const int cropped = av_image_get_buffer_size(id, crop.toWidth, crop.toHeight, 1);
      ASSERT_GT(bytes, 0);
      const Bytes picture = RandomPicture(static_cast<size_t>(bytes));
      // One byte more, which must stay.
      Bytes part(static_cast<size_t>(cropped) + 1, 0xA5);
      ASSERT_EQ(CropPicture(id, picture.data(), crop.width, crop.height, part.data(), crop.toWidth,
                            crop.toHeight),
                cropped);
      EXPECT_EQ(part.back(), 0xA5);
      part.pop_back();
      for (int c = 0; c < format->nb_components; ++c) {
        const bool isChroma = (c == 1 || c == 2) && format->nb_components > 2;
        const int columns =
            isChroma ? AV_CEIL_RSHIFT(crop.toWidth, format->log2_chroma_w) : crop.toWidth;
        const int rows =
            isChroma ? AV_CEIL_RSHIFT(crop.toHeight, format->log2_chroma_h) : crop.toHeight;
        ASSERT_EQ(Component(part, *format, crop.toWidth, crop.toHeight, c, columns, rows),
                  Component(picture, *format, crop.width, crop.height, c, columns, rows))
            << c;
      }
      // In place it comes to the same.
      Bytes shared = picture;
      CropPicture(id, shared.data(), crop.width, crop.height, shared.data(), crop.toWidth,
                  crop.toHeight);
      shared.resize(part.size());
      ASSERT_EQ(shared, part);
    }
  }
}

TEST(PictureCrop, RefusesPartsThatAreNone) {
  const Bytes picture(64);
  Bytes part(64, 0xA5);
  const auto crop = [&](AVPixelFormat format, int width, int height) {
    return CropPicture(format, picture.data(), 4, 4, part.data(), width, height);
  };
  EXPECT_LT(crop(AV_PIX_FMT_YUV420P, 0, 4), 0);
  EXPECT_LT(crop(AV_PIX_FMT_YUV420P, 4, -2), 0);
  EXPECT_LT(crop(AV_PIX_FMT_YUV420P, 6, 4), 0);
  EXPECT_LT(crop(AV_PIX_FMT_YUV420P, 4, 6), 0);
  EXPECT_LT(crop(AV_PIX_FMT_NONE, 4, 4), 0);
  EXPECT_LT(crop(AV_PIX_FMT_VAAPI, 4, 4), 0);
  EXPECT_EQ(part, Bytes(64, 0xA5));
}

TEST(PictureCrop, KnowsTheEvenSide) {
  EXPECT_EQ(EvenSide(313), 312);
  EXPECT_EQ(EvenSide(312), 312);
  EXPECT_EQ(EvenSide(3), 2);
  EXPECT_EQ(EvenSide(1), 2);
  EXPECT_EQ(EvenSide(0), 2);
}

}  // namespace
}  // namespace codec
