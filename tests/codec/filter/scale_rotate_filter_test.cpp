// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "codec/filter/orientation_filter.h"
#include "codec/filter/rotate_filter.h"
#include "codec/filter/scale_filter.h"
#include "tests/codec/filter/filter_fixture.h"
#include "tests/support/log_capture.h"

namespace codec {
namespace {

using testing::Filtered;
using testing::FormatOf;
using testing::Noise;
using testing::PoolOf;
using testing::Recorder;
using testing::Size;
using Bytes = std::vector<uint8_t>;

MediaFormat ScaleFormat(Size size, Size target, int type, const char* name) {
  MediaFormat format = FormatOf(size);
  format.SetInt32("target-width", target.width);
  format.SetInt32("target-height", target.height);
  format.SetInt32("scale-color-type", type);
  format.SetString("color-format", name);
  return format;
}

MediaFormat RotateFormat(Size size, int rotation, int type, const char* name) {
  MediaFormat format = FormatOf(size);
  format.SetInt32("rotation", rotation);
  format.SetInt32("rotate-color-type", type);
  format.SetString("color-format", name);
  return format;
}

TEST(OrientationFilter, TakesEvenSizesAndTheEightOrientations) {
  const auto configure = [](Size size, int orientation) {
    OrientationFilter filter;
    MediaFormat format = FormatOf(size);
    format.SetInt32("orientation", orientation);
    return filter.Configure(format);
  };
  for (int orientation = 1; orientation <= 8; ++orientation) {
    EXPECT_EQ(configure({6, 4}, orientation), 0) << orientation;
  }
  EXPECT_EQ(configure({6, 4}, 0), -1);
  EXPECT_EQ(configure({6, 4}, 9), -1);
  EXPECT_EQ(configure({5, 4}, 1), -1);
  EXPECT_EQ(configure({6, 3}, 1), -1);
}

TEST(ScaleFilter, AveragesBlocksWhenItHalves) {
  constexpr Size kSize = {64, 32};
  const Bytes picture = Noise(int64_t{4} * kSize.width * kSize.height);
  for (const int type : {1, 2, 3, 4}) {
    const PoolOf pool(32 * 16 * 4);
    ScaleFilter filter;
    MediaFormat format = ScaleFormat(kSize, {32, 16}, type, "bgra");
    ASSERT_EQ(filter.Configure(format), 0);
    const Bytes out = Filtered(filter, picture, 32 * 16 * 4);
    ASSERT_EQ(out.size(), 32U * 16 * 4);
    for (int y = 0; y < 16; ++y) {
      for (int i = 0; i < 32 * 4; ++i) {
        const int x = i / 4 * 8 + i % 4;
        int sum = 0;
        for (const int at : {2 * y * 256 + x, 2 * y * 256 + x + 4, (2 * y + 1) * 256 + x,
                             (2 * y + 1) * 256 + x + 4}) {
          sum += picture[static_cast<size_t>(at)];
        }
        ASSERT_NEAR(out[static_cast<size_t>(y * 128 + i)], sum / 4.0, 1.5);
      }
    }
  }
}

TEST(ScaleFilter, ScalesEachPlaneOfYuv420p) {
  const PoolOf pool(20 * 10 * 12 / 8);
  Bytes picture(64 * 32, 50);
  picture.insert(picture.end(), 32 * 16, 100);
  picture.insert(picture.end(), 32 * 16, 200);
  ScaleFilter filter;
  MediaFormat format = ScaleFormat({64, 32}, {20, 10}, 5, "yuv420p");
  ASSERT_EQ(filter.Configure(format), 0);
  Bytes expected(200, 50);
  expected.insert(expected.end(), 50, 100);
  expected.insert(expected.end(), 50, 200);
  const Bytes out = Filtered(filter, picture, 300);
  ASSERT_EQ(out.size(), expected.size());
  for (size_t i = 0; i < out.size(); ++i) EXPECT_NEAR(out[i], expected[i], 1) << i;
}

TEST(ScaleFilter, PassesThePictureOnOrCopiesItWhenTheSizeStays) {
  const PoolOf pool(64);
  ScaleFilter filter;
  MediaFormat format = ScaleFormat({4, 4}, {4, 4}, 3, "bgra");
  ASSERT_EQ(filter.Configure(format), 0);
  const Bytes picture = Noise(64);
  EXPECT_EQ(Filtered(filter, picture, 64), picture);
  auto* const end = new Recorder;
  AppendFilter(&filter, end);
  Bytes given = Noise(64 + 68);
  filter.Process(given.data());
  EXPECT_EQ(end->seen, given.data());
}

TEST(ScaleFilter, ReportsATypeOutsideTheRangeAsADebugLine) {
  for (const int type : {0, 6}) {
    const test_support::LogCapture log;
    MediaFormat format = ScaleFormat({4, 4}, {2, 2}, type, "bgra");
    EXPECT_EQ(ScaleFilter().Configure(format), -1);
    EXPECT_TRUE(log.Has(kLogDebug, "codec::ScaleFilter", "Invalid scale color type"));
    EXPECT_EQ(log.Lines().size(), 1U);
  }
}

TEST(ScaleFilter, NeedsAColorFormat) {
  const test_support::LogCapture log;
  MediaFormat format = FormatOf({4, 4});
  EXPECT_EQ(ScaleFilter().Configure(format), -1);
  EXPECT_TRUE(log.Has(kLogError, "codec::ScaleFilter", "not set color format"));
}

TEST(ScaleFilter, AcceptsATargetOfZeroAndRefusesImpossibleOnes) {
  const PoolOf pool(64);
  const test_support::LogCapture log;
  ScaleFilter filter;
  MediaFormat empty = ScaleFormat({4, 4}, {0, 1000000000}, 3, "bgra");
  ASSERT_EQ(filter.Configure(empty), 0);
  Bytes picture(64 + 68);
  MediaBuffer* const buffer = filter.Process(picture.data());
  ASSERT_NE(buffer, nullptr);
  MediaBufferPool::Instance()->Give(buffer);
  for (const Size target : {Size{-2, 2}, Size{-2, -2}, Size{100000, 100000}}) {
    MediaFormat format = ScaleFormat({4, 4}, target, 3, "bgra");
    EXPECT_EQ(ScaleFilter().Configure(format), -1);
  }
  EXPECT_EQ(log.CountContaining(kLogError, "codec::ScaleFilter", "Invalid target size"), 3);
}

// One plane turned clockwise, `unit` bytes a pixel.
Bytes Turned(const Bytes& plane, int width, int height, int unit, int rotation) {
  const bool lies = rotation == 90 || rotation == 270;
  const int outWidth = lies ? height : width;
  const int outHeight = lies ? width : height;
  Bytes out;
  for (int y = 0; y < outHeight; ++y) {
    for (int x = 0; x < outWidth; ++x) {
      int fromX = x;
      int fromY = y;
      if (rotation == 90) fromX = y, fromY = height - 1 - x;
      if (rotation == 180) fromX = width - 1 - x, fromY = height - 1 - y;
      if (rotation == 270) fromX = width - 1 - y, fromY = x;
      const auto at = plane.begin() + (std::ptrdiff_t{fromY} * width + fromX) * unit;
      out.insert(out.end(), at, at + unit);
    }
  }
  return out;
}

TEST(RotateFilter, TurnsFourByteRowsExactly) {
  for (const Size size : {Size{1280, 720}, Size{5, 3}, Size{1, 7}}) {
    const Bytes picture = Noise(int64_t{4} * size.width * size.height);
    for (const int rotation : {0, 90, 180, 270}) {
      const PoolOf pool(static_cast<int32_t>(picture.size()));
      RotateFilter filter;
      MediaFormat format = RotateFormat(size, rotation, 3, "bgra");
      ASSERT_EQ(filter.Configure(format), 0);
      EXPECT_EQ(Filtered(filter, picture, static_cast<int>(picture.size())),
                Turned(picture, size.width, size.height, 4, rotation));
    }
  }
}

TEST(RotateFilter, TurnsThePlanesOfYuv420pExactly) {
  constexpr int kWidth = 40;
  constexpr int kHeight = 22;
  const Bytes y = Noise(kWidth * kHeight);
  const Bytes u(y.begin(), y.begin() + kWidth * kHeight / 4);
  const Bytes v(y.end() - kWidth * kHeight / 4, y.end());
  Bytes picture = y;
  picture.insert(picture.end(), u.begin(), u.end());
  picture.insert(picture.end(), v.begin(), v.end());
  for (const int rotation : {0, 90, 180, 270}) {
    Bytes expected;
    for (const Bytes& plane :
         {Turned(y, kWidth, kHeight, 1, rotation), Turned(u, kWidth / 2, kHeight / 2, 1, rotation),
          Turned(v, kWidth / 2, kHeight / 2, 1, rotation)}) {
      expected.insert(expected.end(), plane.begin(), plane.end());
    }
    const PoolOf pool(static_cast<int32_t>(picture.size()));
    RotateFilter filter;
    MediaFormat format = RotateFormat({kWidth, kHeight}, rotation, 5, "yuv420p");
    ASSERT_EQ(filter.Configure(format), 0);
    EXPECT_EQ(Filtered(filter, picture, static_cast<int>(picture.size())), expected) << rotation;
  }
}

TEST(RotateFilter, TurnsIntoItsOwnBufferInFrontOfAnotherFilter) {
  RotateFilter filter;
  MediaFormat format = RotateFormat({2, 1}, 180, 3, "bgra");
  ASSERT_EQ(filter.Configure(format), 0);
  auto* const end = new Recorder;
  AppendFilter(&filter, end);
  Bytes picture = {1, 2, 3, 4, 5, 6, 7, 8};
  filter.Process(picture.data());
  ASSERT_NE(end->seen, nullptr);
  EXPECT_EQ(Bytes(end->seen, end->seen + 8), (Bytes{5, 6, 7, 8, 1, 2, 3, 4}));
}

TEST(RotateFilter, MakesUprightPicturesOf720By1280) {
  constexpr Size kSize = {1280, 720};
  Bytes picture(int64_t{4} * kSize.width * kSize.height);
  for (size_t i = 0; i < 1280; ++i) picture[4 * i] = static_cast<uint8_t>(i % 251);
  const PoolOf pool(static_cast<int32_t>(picture.size()));
  RotateFilter filter;
  MediaFormat format = RotateFormat(kSize, 90, 3, "bgra");
  ASSERT_EQ(filter.Configure(format), 0);
  const Bytes out = Filtered(filter, picture, static_cast<int>(picture.size()));
  ASSERT_EQ(out.size(), picture.size());
  // The top row becomes the last column, in rows of 720.
  for (size_t i = 0; i < 1280; ++i) ASSERT_EQ(out[4 * (720 * i + 719)], i % 251) << i;
}

TEST(ScaleAndRotateFilters, RoundChromaRowsOfOddWidthsDown) {
  // 5 x 4: 20 bytes of luma, then planes of 5 bytes in rows of 2.
  const auto flat = [](size_t luma, size_t chroma) {
    Bytes picture(luma, 9);
    picture.insert(picture.end(), chroma, 50);
    picture.insert(picture.end(), chroma, 200);
    return picture;
  };
  const PoolOf pool(30);
  RotateFilter rotate;
  MediaFormat rotateFormat = RotateFormat({5, 4}, 180, 5, "yuv420p");
  ASSERT_EQ(rotate.Configure(rotateFormat), 0);
  EXPECT_EQ(Filtered(rotate, flat(20, 5), 30), flat(20, 5));
  ScaleFilter scale;
  MediaFormat scaleFormat = ScaleFormat({10, 8}, {5, 4}, 5, "yuv420p");
  ASSERT_EQ(scale.Configure(scaleFormat), 0);
  EXPECT_EQ(Filtered(scale, flat(80, 20), 30), flat(20, 5));
}

TEST(RotateFilter, RefusesOtherTurns) {
  const test_support::LogCapture log;
  MediaFormat format = RotateFormat({4, 4}, 45, 3, "bgra");
  EXPECT_EQ(RotateFilter().Configure(format), -1);
  EXPECT_TRUE(log.Has(kLogError, "codec::RotateFilter", "rotation must be 0 90 180 270"));
  MediaFormat incomplete = FormatOf({4, 4});
  EXPECT_EQ(RotateFilter().Configure(incomplete), -1);
  EXPECT_TRUE(log.Has(kLogError, "codec::RotateFilter", "not set color format"));
}

TEST(RotateFilter, WritesNothingForAnUnknownType) {
  const PoolOf pool(64);
  MediaBuffer* const marked = MediaBufferPool::Instance()->TakeVideo();
  std::fill(marked->Data(), marked->Data() + 64, 77);
  MediaBufferPool::Instance()->Reset();
  MediaBufferPool::Instance()->Give(marked);
  RotateFilter filter;
  MediaFormat format = RotateFormat({4, 4}, 90, 9, "bgra");
  ASSERT_EQ(filter.Configure(format), 0);
  EXPECT_EQ(Filtered(filter, Noise(64), 64), Bytes(64, 77));
  auto* const end = new Recorder;
  AppendFilter(&filter, end);
  Bytes picture(64 + 68);
  filter.Process(picture.data());
  EXPECT_EQ(end->calls, 1);
  EXPECT_EQ(end->seen, nullptr);
}

}  // namespace
}  // namespace codec
