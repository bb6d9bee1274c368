// SPDX-License-Identifier: MIT
// Shows pictures with transparency as players do.
#pragma once

#include <cstdint>

#include "codec/ffmpeg/ffmpeg_headers.h"

namespace codec {

// Whether pictures of this format can be transparent, and BlendOverBlack knows them: all formats
// with alpha and palettes but those of floating point numbers.
bool CanBeTransparent(AVPixelFormat format);

// Lays a packed picture (planes one after another, rows unpadded) over black, in its own format and
// place. Alpha is taken as straight, and stays as it is, for those who drop it. `isFullRange` tells
// what black is in YUV. Other formats stay untouched.
void BlendOverBlack(AVPixelFormat format, bool isFullRange, int width, int height,
                    uint8_t* picture);

}  // namespace codec
