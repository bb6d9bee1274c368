// SPDX-License-Identifier: MIT
#include "codec/utils/logo_image.h"

#include <libyuv.h>

#include <algorithm>
#include <cstddef>

#include "base/log.h"
#include "codec/utils/packed_planes.h"
#include "codec/utils/working_buffer.h"
#include "codec/utils/yuv_convert.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::MediaUtils";

bool IsEmpty(int width, int height) { return width < 1 || height < 1; }

uint8_t Clamped(int value) { return static_cast<uint8_t>(std::clamp(value, 0, 255)); }

void OverlayRow(uint8_t* pixels, const uint8_t* logo, int count, int black) {
  for (int i = 0; i < count; ++i, pixels += 4, logo += 3) {
    pixels[0] = Clamped(pixels[0] + logo[2] - black);
    pixels[1] = Clamped(pixels[1] + logo[1] - black);
    pixels[2] = Clamped(pixels[2] + logo[0] - black);
  }
}

}  // namespace

int ScaleBGR(const uint8_t* src, int width, int height, uint8_t* dst, int dstWidth, int dstHeight) {
  log_debug(kTag, "ScaleBGR begin");
  log_debug(kTag, "(%d,%d)-->(%d,%d)", width, height, dstWidth, dstHeight);
  if (!IsEmpty(width, height) && !IsEmpty(dstWidth, dstHeight)) {
    WorkingBuffer whole;
    WorkingBuffer scaled;
    if (!whole.Resize(int64_t{width} * height * 12 / 8)) return -1;
    if (!scaled.Resize(int64_t{dstWidth} * dstHeight * 12 / 8)) return -1;
    const PackedPlanes<uint8_t> in(whole.Data(), width, height);
    libyuv::RGB24ToI420(src, 3 * width, in.y, in.strideY, in.u, in.strideUv, in.v, in.strideUv,
                        width, height);
    ScaleYuv420p(whole.Data(), width, height, scaled.Data(), dstWidth, dstHeight);
    const PackedPlanes<uint8_t> out(scaled.Data(), dstWidth, dstHeight);
    libyuv::I420ToRGB24(out.y, out.strideY, out.u, out.strideUv, out.v, out.strideUv, dst,
                        3 * dstWidth, dstWidth, dstHeight);
  }
  log_debug(kTag, "ScaleBGR begin end");
  return 0;
}

int TurnBGR(const uint8_t* src, int width, int height, uint8_t* dst, int dstWidth, int dstHeight,
            int rotation) {
  if (IsEmpty(width, height) || IsEmpty(dstWidth, dstHeight)) return 0;
  const bool lies = rotation == 90 || rotation == 270;
  if (dstWidth != (lies ? height : width) || dstHeight != (lies ? width : height)) return -1;
  WorkingBuffer wide;
  WorkingBuffer turned;
  if (!wide.Resize(int64_t{4} * width * height)) return -1;
  if (!turned.Resize(int64_t{4} * dstWidth * dstHeight)) return -1;
  libyuv::RGB24ToARGB(src, 3 * width, wide.Data(), 4 * width, width, height);
  TurnRgba(wide.Data(), turned.Data(), width, height, rotation);
  libyuv::ARGBToRGB24(turned.Data(), 4 * dstWidth, dst, 3 * dstWidth, dstWidth, dstHeight);
  return 0;
}

int OverlayLogo(uint8_t* picture, int width, int height, const uint8_t* logo, int logoWidth,
                int logoHeight, int x, int y) {
  if (width < logoWidth || height < logoHeight) {
    log_error(kTag, "Invalid size: %dx%d, %dx%d\n", width, height, logoWidth, logoHeight);
    return -1;
  }
  // A gap wider than the picture makes a negative corner, which fits no better than one too far
  // right.
  if (x < 0 || y < 0 || int64_t{logoWidth} + x > width || int64_t{logoHeight} + y > height) {
    log_error(kTag, "Invalid size: %dx%d, %dx%d, %d %d\n", width, height, logoWidth, logoHeight, x,
              y);
    return -1;
  }
  // A tiny picture scales its logo down to nothing.
  if (IsEmpty(logoWidth, logoHeight)) return 0;
  const int black = logo[0];
  for (int row = 0; row < logoHeight; ++row) {
    const size_t first = static_cast<size_t>(y + row) * static_cast<size_t>(width);
    OverlayRow(picture + 4 * (first + static_cast<size_t>(x)), logo + 3 * LumaBytes(logoWidth, row),
               logoWidth, black);
  }
  return 0;
}

}  // namespace codec
