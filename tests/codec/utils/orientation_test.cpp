// SPDX-License-Identifier: MIT
#include "codec/utils/orientation.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>

namespace codec {
namespace {

constexpr int kOne = 1 << 16;

struct Row {
  int orientation;
  int a, b, c, d;  // of the matrix
};
constexpr Row kRows[] = {{kUpright, 1, 0, 0, 1},      {kMirror, -1, 0, 0, 1},
                         {kTurn180, -1, 0, 0, -1},    {kFlip, 1, 0, 0, -1},
                         {kTranspose, 0, 1, 1, 0},    {kTurn90, 0, 1, -1, 0},
                         {kTransverse, 0, -1, -1, 0}, {kTurn270, 0, -1, 1, 0}};

int Of(int a, int b, int c, int d) {
  const std::array<int32_t, 9> matrix = {a, b, 0, c, d, 0, 123 * kOne, -7, 1 << 30};
  return OrientationOf(matrix.data());
}

TEST(Orientation, IsReadFromTheMatrix) {
  for (const Row& row : kRows) {
    EXPECT_EQ(Of(row.a * kOne, row.b * kOne, row.c * kOne, row.d * kOne), row.orientation);
    EXPECT_EQ(Of(row.a * kOne + 99, row.b * kOne - 99, row.c * kOne + 5, row.d * kOne),
              row.orientation)
        << "rounded";
  }
}

TEST(Orientation, IsNoneForOtherMatrices) {
  EXPECT_EQ(Of(0, 0, 0, 0), 0);
  EXPECT_EQ(Of(46341, 46341, -46341, 46341), 0) << "half a quarter";
  EXPECT_EQ(Of(kOne, 0, kOne, 0), 0) << "a line";
  EXPECT_EQ(Of(INT32_MIN, 0, 0, INT32_MIN), kTurn180);
}

TEST(Orientation, OfATurnIsThatTurn) {
  for (const int turn : {0, 90, 180, 270}) EXPECT_EQ(TurnOf(OrientationOfTurn(turn)), turn);
  for (const double other : {-90.0, 45.0, 360.0, 1e300}) {
    EXPECT_EQ(OrientationOfTurn(other), kUpright) << other;
  }
  for (const int mirrored : {2, 4, 5, 7, 0, 9}) {
    EXPECT_EQ(TurnOf(mirrored), -1);
  }
}

// Where the matrix puts each sample, of luma and chroma, worked out sample by sample.
std::vector<uint8_t> Moved(const std::vector<uint8_t>& plane, int width, int height,
                           const Row& row) {
  const bool swaps = row.a == 0;
  const int outWidth = swaps ? height : width;
  std::vector<uint8_t> moved(plane.size());
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      int toX = row.a * x + row.c * y;
      int toY = row.b * x + row.d * y;
      // Moved back into view.
      if (row.a + row.c < 0) toX += (swaps ? height : width) - 1;
      if (row.b + row.d < 0) toY += (swaps ? width : height) - 1;
      moved[static_cast<size_t>(toY * outWidth + toX)] = plane[static_cast<size_t>(y * width + x)];
    }
  }
  return moved;
}

std::vector<uint8_t> Numbered(int samples, int from) {
  std::vector<uint8_t> plane(static_cast<size_t>(samples));
  for (uint8_t& sample : plane) sample = static_cast<uint8_t>(from++);
  return plane;
}

TEST(OrientYuv420p, MovesEachSampleWhereTheMatrixPutsIt) {
  constexpr int kWidth = 20;
  constexpr int kHeight = 6;
  for (const Row& row : kRows) {
    std::vector<uint8_t> source;
    std::vector<uint8_t> expected;
    for (int plane = 0; plane < 3; ++plane) {
      const int shift = plane == 0 ? 0 : 1;
      const auto part = Numbered((kWidth >> shift) * (kHeight >> shift), 31 * plane);
      const auto moved = Moved(part, kWidth >> shift, kHeight >> shift, row);
      source.insert(source.end(), part.begin(), part.end());
      expected.insert(expected.end(), moved.begin(), moved.end());
    }
    std::vector<uint8_t> oriented(source.size());
    OrientYuv420p(source.data(), oriented.data(), kWidth, kHeight, row.orientation);
    EXPECT_EQ(oriented, expected) << row.orientation;
    EXPECT_EQ(SwapsSides(row.orientation), row.a == 0);
  }
}

}  // namespace
}  // namespace codec
