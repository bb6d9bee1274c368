// SPDX-License-Identifier: MIT
// How many channels sound has, and from where each of them is heard.
#pragma once

#include <cstdint>

#include "codec/ffmpeg/ffmpeg_headers.h"

namespace codec {

// Stereo unless set. The channels of a sample lie in the order of the mask's bits.
struct SoundLayout {
  int channels = 2;
  // FFmpeg's mask of the places; 0 if nobody knows them.
  uint64_t mask = AV_CH_LAYOUT_STEREO;

  friend bool operator==(const SoundLayout& a, const SoundLayout& b) {
    return a.channels == b.channels && a.mask == b.mask;
  }
  friend bool operator!=(const SoundLayout& a, const SoundLayout& b) { return !(a == b); }
};

}  // namespace codec
