// SPDX-License-Identifier: MIT
// Cuts packed pictures down at the right and at the bottom.
#pragma once

#include <cstdint>

#include "codec/ffmpeg/ffmpeg_headers.h"

namespace codec {

// A side that every chroma plane divides evenly: the next even number below an odd one, 2 at least.
constexpr int EvenSide(int side) { return side < 2 ? 2 : side & ~1; }

// Copies the top left part of a picture, `toWidth` x `toHeight` pixels, in any format that has its
// pixels in memory. Both pictures are packed: planes one after another, rows unpadded. `target` may
// be `source` itself. Returns the bytes of the part, or a negative error, with nothing written, for
// a part that is empty or larger than the picture.
int CropPicture(AVPixelFormat format, const uint8_t* source, int width, int height, uint8_t* target,
                int toWidth, int toHeight);

}  // namespace codec
