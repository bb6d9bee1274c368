// SPDX-License-Identifier: MIT
// Reads the picture of a logo from a PNG file.
#pragma once

#include <cstdint>

#include "codec/utils/unique_bytes.h"

namespace codec {

// The colour type of the PNG header that stands for three samples a pixel.
constexpr int32_t kPngRgb = 2;

struct Logo {
  // Three bytes a pixel in the order blue, green, red, rows without padding. With it the colours on
  // the pictures are those of the file.
  UniqueBytes pixels;
  int32_t width = 0;
  int32_t height = 0;
  int32_t colorType = 0;  // as in the PNG header
  int32_t bitDepth = 0;
};

// Fills `logo` from the file at `path`. 0 on success, which for files of another colour type than
// kPngRgb means that the four numbers are true and `pixels` is null. -1, after an error line and
// with `logo` unchanged, for a file that is missing, damaged, no PNG, larger than 16384 x 16384 or
// 2^25 pixels, or kPngRgb with 16-bit samples.
int LoadLogo(const char* path, Logo* logo);

}  // namespace codec
