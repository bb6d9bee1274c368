// SPDX-License-Identifier: MIT
// 4:1:1 to 4:2:0, which the releases of libyuv in use no longer offer.
#pragma once

#include <cstdint>

namespace codec {

// Copies luma and resamples the chroma planes, (width + 3) / 4 x height samples each, to half size
// in both directions, bilinearly. Strides are in bytes.
void I411ToI420(const uint8_t* srcY, int srcStrideY, const uint8_t* srcU, int srcStrideU,
                const uint8_t* srcV, int srcStrideV, uint8_t* dstY, int dstStrideY, uint8_t* dstU,
                int dstStrideU, uint8_t* dstV, int dstStrideV, int width, int height);

}  // namespace codec
