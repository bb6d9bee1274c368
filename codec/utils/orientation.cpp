// SPDX-License-Identifier: MIT
#include "codec/utils/orientation.h"

#include <libyuv.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <utility>

#include "codec/utils/packed_planes.h"

namespace codec {
namespace {

struct Row {
  int orientation;
  // Signs of the matrix: how right and down come out, each as right and down.
  int a, b, c, d;
  // The same as a flip of top and bottom, and a clockwise turn after it.
  bool flips;
  int turn;
};

constexpr std::array<Row, 8> kRows = {{{kUpright, 1, 0, 0, 1, false, 0},
                                       {kMirror, -1, 0, 0, 1, true, 180},
                                       {kTurn180, -1, 0, 0, -1, false, 180},
                                       {kFlip, 1, 0, 0, -1, true, 0},
                                       {kTranspose, 0, 1, 1, 0, true, 90},
                                       {kTurn90, 0, 1, -1, 0, false, 90},
                                       {kTransverse, 0, -1, -1, 0, true, 270},
                                       {kTurn270, 0, -1, 1, 0, false, 270}}};

template <typename Matches>
const Row* Find(const Matches& matches) {
  const auto* const row = std::find_if(kRows.begin(), kRows.end(), matches);
  return row == kRows.end() ? nullptr : row;
}

}  // namespace

int OrientationOf(const int32_t* matrix) {
  const std::array<int64_t, 4> parts = {matrix[0], matrix[1], matrix[3], matrix[4]};
  int64_t largest = 0;
  for (const int64_t part : parts) largest = std::max(largest, std::abs(part));
  // Recorders round, so that a small rest stands for 0.
  const auto sign = [largest](int64_t part) {
    if (std::abs(part) * 20 < largest) return 0;
    return part < 0 ? -1 : 1;
  };
  const Row* const row = Find([&](const Row& each) {
    return each.a == sign(parts[0]) && each.b == sign(parts[1]) && each.c == sign(parts[2]) &&
           each.d == sign(parts[3]);
  });
  return row == nullptr ? 0 : row->orientation;
}

int OrientationOfTurn(double degrees) {
  const int whole = degrees > 0 && degrees < 360 ? static_cast<int>(degrees) : 0;
  const Row* const row =
      Find([whole](const Row& each) { return !each.flips && each.turn == whole; });
  return row == nullptr ? kUpright : row->orientation;
}

int TurnOf(int orientation) {
  const Row* const row =
      Find([orientation](const Row& each) { return each.orientation == orientation; });
  return row == nullptr || row->flips ? -1 : row->turn;
}

void OrientYuv420p(const uint8_t* src, uint8_t* dst, int width, int height, int orientation) {
  const Row* const row =
      Find([orientation](const Row& each) { return each.orientation == orientation; });
  if (row == nullptr) return;
  int outWidth = width;
  int outHeight = height;
  if (SwapsSides(orientation)) std::swap(outWidth, outHeight);
  const PackedPlanes<const uint8_t> in(src, width, height);
  const PackedPlanes<uint8_t> out(dst, outWidth, outHeight);
  // To libyuv a negative height means that the bottom row comes first.
  libyuv::I420Rotate(in.y, in.strideY, in.u, in.strideUv, in.v, in.strideUv, out.y, out.strideY,
                     out.u, out.strideUv, out.v, out.strideUv, width, row->flips ? -height : height,
                     static_cast<libyuv::RotationMode>(row->turn));
}

}  // namespace codec
