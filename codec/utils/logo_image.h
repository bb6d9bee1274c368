// SPDX-License-Identifier: MIT
// Operations on a logo: three bytes a pixel, rows without padding, in the byte order blue, green,
// red.
#pragma once

#include <cstdint>

namespace codec {

// Scales by way of "yuv420p", so that the logo's colours have half its resolution. The destination
// holds dstWidth x dstHeight x 3 bytes and stays unwritten for sizes below 1. Returns 0, or -1 when
// memory runs out.
int ScaleBGR(const uint8_t* src, int width, int height, uint8_t* dst, int dstWidth, int dstHeight);

// Turns clockwise by 0, 90, 180 or 270 degrees; any other value makes a black picture. The
// destination's size is the caller's to give, turned where the picture is. Returns 0, or -1 when
// memory runs out or the sizes do not match the turn.
int TurnBGR(const uint8_t* src, int width, int height, uint8_t* dst, int dstWidth, int dstHeight,
            int rotation);

// Adds a logo to a picture of four bytes a pixel at column `x` and row `y`. The logo's very first
// byte is its black level, which is subtracted everywhere; sums are clamped to 0 and 255. The first
// byte of a picture's pixel takes the logo's third byte and the third the first; the fourth stays.
// Returns 0, or -1 after an error line when the logo does not lie inside the picture.
int OverlayLogo(uint8_t* picture, int width, int height, const uint8_t* logo, int logoWidth,
                int logoHeight, int x, int y);

}  // namespace codec
