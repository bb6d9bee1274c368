// SPDX-License-Identifier: MIT
// The palettes of pictures whose packets hold numbers of colours only.
#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include "codec/ffmpeg/ffmpeg_headers.h"

namespace codec {

// Some containers (AVI) tell a palette once, with the first packet that is read after opening.
// After a seek the pictures would be black. So the last palette of each stream is kept, and added
// to the stream's first packet after a seek.
class PaletteMemory {
 public:
  // To be shown each packet that the demuxer gives. 0, or a negative error if a palette could not
  // be added; then the packet is as it was.
  int Pass(AVPacket* packet);
  // The demuxer has moved.
  void OnSeek();

 private:
  struct Palette {
    std::vector<uint8_t> colors;
    bool isDue = false;  // the next packet needs it
  };

  std::map<int, Palette> mPalettes;  // by number of stream; none for most files
};

}  // namespace codec
