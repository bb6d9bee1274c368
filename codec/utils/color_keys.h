// SPDX-License-Identifier: MIT
// Reads what the numbers of pictures stand for, tells what becomes of this when pictures are
// converted, and tells an encoder.
#pragma once

#include <string>

#include "codec/format/media_format.h"
#include "codec/utils/picture_colors.h"

struct AVCodecContext;

namespace codec {

// The colours of a decoder's pictures.
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
// A chroma sample that is made of several lies in the middle of them. Chroma of 4:2:0 stays where
// it was.
PictureColors ConvertedColors(const PictureColors& source, const std::string& inputFormat,
                              const std::string& outputFormat);

// Sets the keys by which an encoder is told; what is empty is not set.
void SetColorKeys(const PictureColors& colors, MediaFormat* format);

}  // namespace codec
