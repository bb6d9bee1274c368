// SPDX-License-Identifier: MIT
// Planes of a picture in memory, the same on every FFmpeg release.
#pragma once

#include <cstdint>

#include "codec/ffmpeg/ffmpeg_headers.h"

namespace codec::ffmpeg {

// Fills four planes and the bytes of their rows for a picture that lies in one piece, each row a
// multiple of `alignment` bytes. The bytes that it takes, or FFmpeg's error. FFmpeg 4 counts a
// palette for gray pictures, which have none; here they take no more than their pixels.
int LayOutPicture(uint8_t** planes, int* strides, const uint8_t* picture, AVPixelFormat format,
                  int width, int height, int alignment = 1);

}  // namespace codec::ffmpeg
