// SPDX-License-Identifier: MIT
// What the numbers of pictures stand for.
#pragma once

#include <string>

namespace codec {

// FFmpeg's names; empty where nothing is told.
struct PictureColors {
  std::string range;      // "tv" or "pc"
  std::string space;      // the matrix between RGB and YUV: "bt709"
  std::string primaries;  // "bt709"
  std::string transfer;   // "bt709"
  std::string chroma;     // where the samples of 4:2:0 chroma lie: "left"
};

}  // namespace codec
