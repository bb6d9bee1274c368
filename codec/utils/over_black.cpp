// SPDX-License-Identifier: MIT
#include "codec/utils/over_black.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>

namespace codec {
namespace {

bool HasFlag(const AVPixFmtDescriptor& format, int flag) {
  return (format.flags & static_cast<uint64_t>(flag)) != 0;
}

// Samples of one component, one byte or two each.
class Component {
 public:
  Component(const AVPixFmtDescriptor& format, int number, const std::array<uint8_t*, 4>& planes,
            const std::array<int, 4>& strides)
      : mComponent(format.comp[number]),
        mFirst(planes[static_cast<size_t>(mComponent.plane)] + mComponent.offset),
        mStride(strides[static_cast<size_t>(mComponent.plane)]),
        mIsWide(mComponent.depth + mComponent.shift > 8),
        mIsBigEndian(HasFlag(format, AV_PIX_FMT_FLAG_BE)) {}

  int Largest() const { return (1 << mComponent.depth) - 1; }
  int Depth() const { return mComponent.depth; }

  int Get(int x, int y) const { return (Word(At(x, y)) >> mComponent.shift) & Largest(); }
  void Set(int x, int y, int value) const {
    uint8_t* const at = At(x, y);
    const int others = Word(at) & ~(Largest() << mComponent.shift);
    Put(at, others | value << mComponent.shift);
  }

 private:
  uint8_t* At(int x, int y) const {
    return mFirst + std::ptrdiff_t{y} * mStride + std::ptrdiff_t{x} * mComponent.step;
  }
  int Word(const uint8_t* at) const {
    if (!mIsWide) return at[0];
    return mIsBigEndian ? at[0] << 8 | at[1] : at[1] << 8 | at[0];
  }
  void Put(uint8_t* at, int word) const {
    if (mIsWide) at[mIsBigEndian ? 0 : 1] = static_cast<uint8_t>(word >> 8);
    at[mIsWide && mIsBigEndian ? 1 : 0] = static_cast<uint8_t>(word);
  }

  const AVComponentDescriptor mComponent;
  uint8_t* const mFirst;
  const int mStride;
  const bool mIsWide;
  const bool mIsBigEndian;
};

struct Grid {
  int width;
  int height;
  int shiftX = 0;  // of a chroma sample's place against the picture's, as the next one
  int shiftY = 0;
};

// The mean of the alpha of all pixels that a sample stands for.
int AlphaOf(const Component& alpha, const Grid& grid, int x, int y) {
  if (grid.shiftX == 0 && grid.shiftY == 0) return alpha.Get(x, y);
  const int endX = std::min((x + 1) << grid.shiftX, grid.width);
  const int endY = std::min((y + 1) << grid.shiftY, grid.height);
  int sum = 0;
  int count = 0;
  for (int atY = y << grid.shiftY; atY < endY; ++atY) {
    for (int atX = x << grid.shiftX; atX < endX; ++atX, ++count) sum += alpha.Get(atX, atY);
  }
  return (sum + count / 2) / std::max(count, 1);
}

void Fade(const Component& color, const Component& alpha, int black, const Grid& grid) {
  const int most = alpha.Largest();
  for (int y = 0; y < AV_CEIL_RSHIFT(grid.height, grid.shiftY); ++y) {
    for (int x = 0; x < AV_CEIL_RSHIFT(grid.width, grid.shiftX); ++x) {
      const int weight = AlphaOf(alpha, grid, x, y);
      if (weight == most) continue;
      const int64_t above = int64_t{color.Get(x, y) - black} * weight;
      const int64_t half = above < 0 ? -most / 2 : most / 2;
      color.Set(x, y, black + static_cast<int>((above + half) / most));
    }
  }
}

void FadePalette(uint8_t* palette) {
  for (size_t i = 0; i < AVPALETTE_COUNT; ++i) {
    uint32_t color = 0;
    std::memcpy(&color, palette + 4 * i, sizeof(color));
    const uint32_t weight = color >> 24;
    uint32_t faded = color & 0xff000000U;
    for (int shift = 0; shift < 24; shift += 8) {
      faded |= (((color >> shift & 0xff) * weight + 127) / 255) << shift;
    }
    std::memcpy(palette + 4 * i, &faded, sizeof(faded));
  }
}

}  // namespace

bool CanBeTransparent(AVPixelFormat format) {
  const AVPixFmtDescriptor* const description = av_pix_fmt_desc_get(format);
  if (description == nullptr) return false;
  if (HasFlag(*description, AV_PIX_FMT_FLAG_PAL)) return true;
  constexpr int kNotKnown =
      AV_PIX_FMT_FLAG_FLOAT | AV_PIX_FMT_FLAG_BITSTREAM | AV_PIX_FMT_FLAG_HWACCEL;
  return HasFlag(*description, AV_PIX_FMT_FLAG_ALPHA) && !HasFlag(*description, kNotKnown);
}

void BlendOverBlack(AVPixelFormat format, bool isFullRange, int width, int height,
                    uint8_t* picture) {
  if (!CanBeTransparent(format)) return;
  const AVPixFmtDescriptor& description = *av_pix_fmt_desc_get(format);
  std::array<uint8_t*, 4> planes{};
  std::array<int, 4> strides{};
  if (av_image_fill_arrays(planes.data(), strides.data(), picture, format, width, height, 1) < 0) {
    return;
  }
  if (HasFlag(description, AV_PIX_FMT_FLAG_PAL)) {
    FadePalette(planes[1]);
    return;
  }
  const int last = description.nb_components - 1;
  const Component alpha(description, last, planes, strides);
  // Gray counts as full range, as it does when it is converted.
  const bool isYuv = last == 3 && !HasFlag(description, AV_PIX_FMT_FLAG_RGB);
  for (int i = 0; i < last; ++i) {
    const Component color(description, i, planes, strides);
    const bool isChroma = isYuv && i > 0;
    const int lumaBlack = isYuv && !isFullRange ? 16 << (color.Depth() - 8) : 0;
    Grid grid{width, height};
    if (isChroma) grid = {width, height, description.log2_chroma_w, description.log2_chroma_h};
    Fade(color, alpha, isChroma ? 1 << (color.Depth() - 1) : lumaBlack, grid);
  }
}

}  // namespace codec
