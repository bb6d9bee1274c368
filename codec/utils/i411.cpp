// SPDX-License-Identifier: MIT
#include "codec/utils/i411.h"

#include <libyuv.h>

namespace codec {

void I411ToI420(const uint8_t* srcY, int srcStrideY, const uint8_t* srcU, int srcStrideU,
                const uint8_t* srcV, int srcStrideV, uint8_t* dstY, int dstStrideY, uint8_t* dstU,
                int dstStrideU, uint8_t* dstV, int dstStrideV, int width, int height) {
  const int srcChromaWidth = (width + 3) >> 2;
  const int dstChromaWidth = (width + 1) >> 1;
  const int dstChromaHeight = (height + 1) >> 1;
  libyuv::CopyPlane(srcY, srcStrideY, dstY, dstStrideY, width, height);
  // ScalePlane returns nothing or a status, depending on the release.
  libyuv::ScalePlane(srcU, srcStrideU, srcChromaWidth, height, dstU, dstStrideU, dstChromaWidth,
                     dstChromaHeight, libyuv::kFilterBilinear);
  libyuv::ScalePlane(srcV, srcStrideV, srcChromaWidth, height, dstV, dstStrideV, dstChromaWidth,
                     dstChromaHeight, libyuv::kFilterBilinear);
}

}  // namespace codec
