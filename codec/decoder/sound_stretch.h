// SPDX-License-Identifier: MIT
// The sound of a stretch of time, block by block.
#pragma once

#include <cstddef>
#include <vector>

namespace codec {

// What a decoder gave at once.
struct StretchBlock {
  double time = 0;      // of the first sample, in seconds
  int samples = 0;      // a channel
  int rate = 0;         // samples a second; a stream may change it
  size_t offset = 0;    // of the first sample in SoundStretch::samples
  bool begins = false;  // the stream's first block
  bool ends = false;    // the stream's last block

  double Seconds() const { return rate > 0 ? static_cast<double>(samples) / rate : 0; }
};

// A packet that could not be decoded, or a frame that could not be converted.
struct LostSound {
  double time = 0;     // at which it begins, in seconds
  double seconds = 0;  // that it lasts
};

struct SoundStretch {
  std::vector<float> samples;        // of all blocks, the channels in turn
  std::vector<StretchBlock> blocks;  // in the order of the stream
  std::vector<LostSound> lost;       // in the order of the stream

  const float* Of(const StretchBlock& block) const { return samples.data() + block.offset; }
  void Clear() {
    samples.clear();
    blocks.clear();
    lost.clear();
  }
};

}  // namespace codec
