// SPDX-License-Identifier: MIT
#include "codec/utils/yuv_convert.h"

#include <libyuv.h>

#include <cstddef>
#include <utility>

#include "codec/utils/i411.h"
#include "codec/utils/packed_planes.h"
#include "codec/utils/working_buffer.h"

namespace codec {
namespace {

using Rgb32ToTwoPlanes = int (*)(const uint8_t*, int, uint8_t*, int, uint8_t*, int, int, int);

// No routine of libyuv makes two planes of "rgba".
void RgbaToTwoPlanes(Rgb32ToTwoPlanes convert, const uint8_t* src, uint8_t* dst, int width,
                     int height) {
  WorkingBuffer bgra;
  if (!bgra.Resize(int64_t{4} * width * height)) return;
  ExchangeBgraRgba(src, bgra.Data(), width, height);
  convert(bgra.Data(), 4 * width, dst, width, dst + LumaBytes(width, height), width, width, height);
}

// Whether libyuv knows the turn and how the sides of the picture come out.
bool TurnedSize(int rotation, int& width, int& height) {
  if (rotation == 90 || rotation == 270) std::swap(width, height);
  return rotation == 0 || rotation == 90 || rotation == 180 || rotation == 270;
}

}  // namespace

void BgraToNv12(const uint8_t* src, uint8_t* dst, int width, int height) {
  libyuv::ARGBToNV12(src, 4 * width, dst, width, dst + LumaBytes(width, height), width, width,
                     height);
}

void BgraToNv21(const uint8_t* src, uint8_t* dst, int width, int height) {
  libyuv::ARGBToNV21(src, 4 * width, dst, width, dst + LumaBytes(width, height), width, width,
                     height);
}

void BgraToYuv420p(const uint8_t* src, uint8_t* dst, int width, int height) {
  const PackedPlanes<uint8_t> out(dst, width, height);
  libyuv::ARGBToI420(src, 4 * width, out.y, out.strideY, out.u, out.strideUv, out.v, out.strideUv,
                     width, height);
}

void RgbaToYuv420p(const uint8_t* src, uint8_t* dst, int width, int height) {
  const PackedPlanes<uint8_t> out(dst, width, height);
  libyuv::ABGRToI420(src, 4 * width, out.y, out.strideY, out.u, out.strideUv, out.v, out.strideUv,
                     width, height);
}

void ExchangeBgraRgba(const uint8_t* src, uint8_t* dst, int width, int height) {
  libyuv::ARGBToABGR(src, 4 * width, dst, 4 * width, width, height);
}

void RgbaToNv12(const uint8_t* src, uint8_t* dst, int width, int height) {
  RgbaToTwoPlanes(&libyuv::ARGBToNV12, src, dst, width, height);
}

void RgbaToNv21(const uint8_t* src, uint8_t* dst, int width, int height) {
  RgbaToTwoPlanes(&libyuv::ARGBToNV21, src, dst, width, height);
}

void Yuv420pToNv12(const uint8_t* src, uint8_t* dst, int width, int height) {
  const PackedPlanes<const uint8_t> in(src, width, height);
  libyuv::I420ToNV12(in.y, in.strideY, in.u, in.strideUv, in.v, in.strideUv, dst, width,
                     dst + LumaBytes(width, height), width, width, height);
}

void Yuv420pToNv21(const uint8_t* src, uint8_t* dst, int width, int height) {
  const PackedPlanes<const uint8_t> in(src, width, height);
  libyuv::I420ToNV21(in.y, in.strideY, in.u, in.strideUv, in.v, in.strideUv, dst, width,
                     dst + LumaBytes(width, height), width, width, height);
}

void Yuv420pToBgra(const uint8_t* src, uint8_t* dst, int width, int height) {
  const PackedPlanes<const uint8_t> in(src, width, height);
  libyuv::I420ToARGB(in.y, in.strideY, in.u, in.strideUv, in.v, in.strideUv, dst, 4 * width, width,
                     height);
}

void Yuv420pToRgba(const uint8_t* src, uint8_t* dst, int width, int height) {
  const PackedPlanes<const uint8_t> in(src, width, height);
  libyuv::I420ToABGR(in.y, in.strideY, in.u, in.strideUv, in.v, in.strideUv, dst, 4 * width, width,
                     height);
}

void Yuv411pToYuv420p(const uint8_t* src, uint8_t* dst, int width, int height) {
  // A quarter of the columns in every row is as many samples as half of both.
  const PackedPlanes<const uint8_t> in(src, width, height);
  const PackedPlanes<uint8_t> out(dst, width, height);
  const int stride = width >> 2;
  I411ToI420(in.y, width, in.u, stride, in.v, stride, out.y, out.strideY, out.u, out.strideUv,
             out.v, out.strideUv, width, height);
}

void Yuv420p10ToYuv420p(const uint8_t* src, uint8_t* dst, int width, int height) {
  const PackedPlanes<const uint16_t> in(reinterpret_cast<const uint16_t*>(src), width, height);
  const PackedPlanes<uint8_t> out(dst, width, height);
  libyuv::I010ToI420(in.y, in.strideY, in.u, in.strideUv, in.v, in.strideUv, out.y, out.strideY,
                     out.u, out.strideUv, out.v, out.strideUv, width, height);
}

void ScaleRgba(const uint8_t* src, int width, int height, uint8_t* dst, int dstWidth,
               int dstHeight) {
  // Row lengths of a picture without rows need not fit an int.
  if (dstWidth < 1 || dstHeight < 1) return;
  libyuv::ARGBScale(src, 4 * width, width, height, dst, 4 * dstWidth, dstWidth, dstHeight,
                    libyuv::kFilterBox);
}

void ScaleYuv420p(const uint8_t* src, int width, int height, uint8_t* dst, int dstWidth,
                  int dstHeight) {
  const PackedPlanes<const uint8_t> in(src, width, height);
  const PackedPlanes<uint8_t> out(dst, dstWidth, dstHeight);
  libyuv::I420Scale(in.y, in.strideY, in.u, in.strideUv, in.v, in.strideUv, width, height, out.y,
                    out.strideY, out.u, out.strideUv, out.v, out.strideUv, dstWidth, dstHeight,
                    libyuv::kFilterBox);
}

void TurnRgba(const uint8_t* src, uint8_t* dst, int width, int height, int rotation) {
  int dstWidth = width;
  int dstHeight = height;
  if (!TurnedSize(rotation, dstWidth, dstHeight)) return;
  libyuv::ARGBRotate(src, 4 * width, dst, 4 * dstWidth, width, height,
                     static_cast<libyuv::RotationMode>(rotation));
}

void TurnYuv420p(const uint8_t* src, uint8_t* dst, int width, int height, int rotation) {
  int dstWidth = width;
  int dstHeight = height;
  if (!TurnedSize(rotation, dstWidth, dstHeight)) return;
  const PackedPlanes<const uint8_t> in(src, width, height);
  const PackedPlanes<uint8_t> out(dst, dstWidth, dstHeight);
  libyuv::I420Rotate(in.y, in.strideY, in.u, in.strideUv, in.v, in.strideUv, out.y, out.strideY,
                     out.u, out.strideUv, out.v, out.strideUv, width, height,
                     static_cast<libyuv::RotationMode>(rotation));
}

}  // namespace codec
