// SPDX-License-Identifier: MIT
// Packed pictures in, packed pictures out: each function lays both out as planes and makes one call
// of libyuv, whose status is of no interest (sizes that it rejects leave the destination
// unwritten).
//
// Chroma rows of the packed layout are width / 2 bytes, rounded down, where libyuv handles
// (width + 1) / 2 samples: at odd sizes the destination needs the room that WithSlack gives, and up
// to width + 64 bytes behind the source are read.
#pragma once

#include <cstdint>

namespace codec {

void BgraToNv12(const uint8_t* src, uint8_t* dst, int width, int height);
void BgraToNv21(const uint8_t* src, uint8_t* dst, int width, int height);
void BgraToYuv420p(const uint8_t* src, uint8_t* dst, int width, int height);
void RgbaToYuv420p(const uint8_t* src, uint8_t* dst, int width, int height);
// Exchanges the first and third byte of every pixel, which serves both directions.
void ExchangeBgraRgba(const uint8_t* src, uint8_t* dst, int width, int height);
// These two go through a temporary "bgra" picture; without memory for it the destination stays
// unwritten.
void RgbaToNv12(const uint8_t* src, uint8_t* dst, int width, int height);
void RgbaToNv21(const uint8_t* src, uint8_t* dst, int width, int height);
void Yuv420pToNv12(const uint8_t* src, uint8_t* dst, int width, int height);
void Yuv420pToNv21(const uint8_t* src, uint8_t* dst, int width, int height);
void Yuv420pToBgra(const uint8_t* src, uint8_t* dst, int width, int height);
void Yuv420pToRgba(const uint8_t* src, uint8_t* dst, int width, int height);
void Yuv411pToYuv420p(const uint8_t* src, uint8_t* dst, int width, int height);
// The source holds 16-bit samples and is aligned to them.
void Yuv420p10ToYuv420p(const uint8_t* src, uint8_t* dst, int width, int height);

// Box-filtered scaling.
void ScaleRgba(const uint8_t* src, int width, int height, uint8_t* dst, int dstWidth,
               int dstHeight);
void ScaleYuv420p(const uint8_t* src, int width, int height, uint8_t* dst, int dstWidth,
                  int dstHeight);

// Clockwise turns by 0, 90, 180 or 270 degrees; any other value writes nothing. `width` and
// `height` are the source's.
void TurnRgba(const uint8_t* src, uint8_t* dst, int width, int height, int rotation);
void TurnYuv420p(const uint8_t* src, uint8_t* dst, int width, int height, int rotation);

}  // namespace codec
