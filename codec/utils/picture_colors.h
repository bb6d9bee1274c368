// SPDX-License-Identifier: MIT
// What the numbers of pictures stand for, and what becomes of this when they are converted.
#pragma once

#include <string>

#include "codec/format/media_format.h"

struct AVCodecContext;

namespace codec {

// FFmpeg's names; empty where nothing is told.
struct PictureColors {
  std::string range;      // "tv" or "pc"
  std::string space;      // the matrix between RGB and YUV: "bt709"
  std::string primaries;  // "bt709"
  std::string transfer;   // "bt709"
  std::string chroma;     // where the samples of 4:2:0 chroma lie: "left"
};

// Those of a decoder's pictures.
PictureColors ColorsOf(const AVCodecContext& context);

// Those of the pictures that a writer encodes, if it is given `source` in `inputFormat`. The
// formats are FFmpeg's names of pixel formats, as in "input-color-format" and
// "output-color-format"; the output is 4:2:0 YUV.
//
//   input                          range    matrix       primaries, transfer
//   YUV                            kept     kept         kept
//   YUV of full range by format,
//   gray                           limited  kept         kept
//   RGB, palettes                  limited  BT.601       kept
//
// Chroma that is made of more samples lies in the middle of these, that of 4:2:0 where it was.
PictureColors ConvertedColors(const PictureColors& source, const std::string& inputFormat,
                              const std::string& outputFormat);

// Sets the keys by which an encoder is told; what is empty is not set.
void SetColorKeys(const PictureColors& colors, MediaFormat* format);

}  // namespace codec
