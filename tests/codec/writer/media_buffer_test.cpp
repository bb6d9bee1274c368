// SPDX-License-Identifier: MIT
#include "codec/writer/media_buffer.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>

namespace codec {
namespace {

TEST(MediaBuffer, IsNewWithoutData) {
  const MediaBuffer buffer(2);
  EXPECT_EQ(buffer.Data(), nullptr);
  EXPECT_EQ(buffer.type, 2);
  EXPECT_EQ(buffer.pts, 0);
  EXPECT_EQ(buffer.size, 0);
  EXPECT_EQ(buffer.Capacity(), 0);
}

TEST(MediaBuffer, AllocatesTheSizeAskedFor) {
  MediaBuffer buffer(1);
  buffer.Allocate(100);
  ASSERT_NE(buffer.Data(), nullptr);
  EXPECT_EQ(buffer.size, 100);
  EXPECT_EQ(buffer.Capacity(), 100);
  buffer.Allocate(0);
  EXPECT_EQ(buffer.Data(), nullptr);
  EXPECT_EQ(buffer.size, 0);
  buffer.Allocate(-5);
  EXPECT_EQ(buffer.Data(), nullptr);
}

// The address sanitizer sees a write that leaves the allocation.
TEST(MediaBuffer, HasSlackForRoundedUpChromaAtEveryShape) {
  const int sizes[] = {1, 2, 3, 5, 7, 16, 33, 101, 1001};
  for (const int w : sizes) {
    for (const int h : sizes) {
      MediaBuffer buffer(1);
      buffer.Allocate(w * h * 12 / 8);
      const size_t rounded = static_cast<size_t>(w * h + 2 * ((w + 1) / 2) * ((h + 1) / 2));
      if (buffer.Data() == nullptr) continue;
      std::memset(buffer.Data(), 1, rounded);
    }
  }
}

TEST(MediaBuffer, CopiesInAndSetsTheSize) {
  MediaBuffer buffer(1);
  buffer.Allocate(4);
  const uint8_t bytes[] = {1, 2, 3, 4, 5};
  buffer.CopyIn(bytes, 3);
  EXPECT_EQ(buffer.size, 3);
  EXPECT_EQ(std::memcmp(buffer.Data(), bytes, 3), 0);
}

TEST(MediaBuffer, CopiesNothingForACountOfZeroOrLess) {
  MediaBuffer buffer(1);
  buffer.Allocate(4);
  const uint8_t byte = 1;
  buffer.CopyIn(&byte, 0);
  EXPECT_EQ(buffer.size, 4);
  buffer.CopyIn(&byte, -1);
  EXPECT_EQ(buffer.size, 4);
}

TEST(MediaBuffer, CopiesNothingThatDoesNotFit) {
  MediaBuffer buffer(1);
  buffer.Allocate(4);
  std::memset(buffer.Data(), 9, 4);
  const uint8_t bytes[] = {1, 2, 3, 4, 5};
  buffer.CopyIn(bytes, 5);
  EXPECT_EQ(buffer.size, 4);
  EXPECT_EQ(buffer.Data()[0], 9);
}

TEST(MediaBuffer, SetsTimeAndSizeAndFreesData) {
  MediaBuffer buffer(1);
  buffer.Allocate(4);
  buffer.SetPts(std::numeric_limits<int64_t>::min());
  buffer.SetSize(2);
  EXPECT_EQ(buffer.pts, std::numeric_limits<int64_t>::min());
  EXPECT_EQ(buffer.size, 2);
  buffer.FreeData();
  EXPECT_EQ(buffer.Data(), nullptr);
  EXPECT_EQ(buffer.Capacity(), 0);
}

}  // namespace
}  // namespace codec
