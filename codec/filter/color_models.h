// SPDX-License-Identifier: MIT
// The ways in which the colour filter converts pictures, by number.
#pragma once

#include <cstdint>

#include "codec/ffmpeg/ffmpeg_headers.h"

namespace codec {

// How many bytes a buffer takes, as a rule on the number n of pixels.
enum class BufferRule {
  kNone,       // no buffer
  kOne,        // n
  kThreeHalf,  // 12 n / 8, rounded toward zero
  kThree,      // 3 n
  kFour,       // 4 n
  kInput,      // as many as the picture that comes in
  kAnyFormat,  // what FFmpeg needs for the output pixel format
};

using ConvertPicture = void (*)(const uint8_t* src, uint8_t* dst, int width, int height);

// One model. Without `convert` it goes through swscale when `swscale` is set, and is a plain copy
// otherwise.
struct ColorModel {
  int number;
  BufferRule working;  // the buffer between this filter and the next
  BufferRule output;   // what a conversion writes
  ConvertPicture convert;
  bool swscale;
  AVPixelFormat from;  // for swscale; none: the formats that are configured
  AVPixelFormat to;
};

constexpr int kCopyColorModel = 1;
// swscale between the formats that are configured.
constexpr int kGeneralColorModel = 23;

// Null for a number outside 1 to 23.
const ColorModel* FindColorModel(int number);

// Bytes of a rule for a number of pixels; 0 for the rules that the number does not decide.
int64_t RuleBytes(BufferRule rule, int64_t pixels);

// The model number for a pair of pixel format names: 1 for equal names, 23 where no faster way
// exists.
int ChooseColorModel(const char* inputFormat, const char* outputFormat);

}  // namespace codec
