// SPDX-License-Identifier: MIT
#include "codec/ffmpeg/compat_pictures.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>

namespace codec::ffmpeg {
namespace {

TEST(LayOutPicture, TakesTheBytesOfThePixels) {
  constexpr int kWidth = 64;
  constexpr int kHeight = 48;
  uint8_t picture = 0;
  int formats = 0;
  for (const AVPixFmtDescriptor* each = av_pix_fmt_desc_next(nullptr); each != nullptr;
       each = av_pix_fmt_desc_next(each)) {
    if ((each->flags & AV_PIX_FMT_FLAG_HWACCEL) != 0) continue;
    const AVPixelFormat format = av_pix_fmt_desc_get_id(each);
    for (const int alignment : {1, 32}) {
      std::array<uint8_t*, 4> planes{};
      std::array<int, 4> strides{};
      const int bytes = LayOutPicture(planes.data(), strides.data(), &picture, format, kWidth,
                                      kHeight, alignment);
      EXPECT_EQ(bytes, av_image_get_buffer_size(format, kWidth, kHeight, alignment)) << each->name;
      EXPECT_EQ(planes[0], &picture) << each->name;
    }
    ++formats;
  }
  EXPECT_GT(formats, 100);
}

TEST(LayOutPicture, GivesGrayPicturesOnePlane) {
  uint8_t picture = 0;
  std::array<uint8_t*, 4> planes{};
  std::array<int, 4> strides{};
  EXPECT_EQ(LayOutPicture(planes.data(), strides.data(), &picture, AV_PIX_FMT_GRAY8, 10, 4), 40);
  EXPECT_EQ(planes[0], &picture);
  EXPECT_EQ(planes[1], nullptr);
  EXPECT_EQ(strides[0], 10);
}

TEST(LayOutPicture, TellsWhatCannotBe) {
  std::array<uint8_t*, 4> planes{};
  std::array<int, 4> strides{};
  EXPECT_LT(LayOutPicture(planes.data(), strides.data(), nullptr, AV_PIX_FMT_NONE, 10, 4), 0);
  EXPECT_LT(LayOutPicture(planes.data(), strides.data(), nullptr, AV_PIX_FMT_GRAY8, -1, 4), 0);
}

}  // namespace
}  // namespace codec::ffmpeg
