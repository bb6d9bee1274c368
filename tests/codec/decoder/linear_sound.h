// SPDX-License-Identifier: MIT
// A file's sound as one decode from start to end gives it, straight from FFmpeg.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace codec {

struct LinearBlock {
  double time = 0;    // of the first sample, in seconds
  double length = 0;  // seconds
  int samples = 0;    // a channel
  size_t offset = 0;  // of the first sample in LinearSound::samples
};

struct LinearSound {
  int stream = -1;  // number of the best audio stream
  int sampleRate = 0;
  std::vector<LinearBlock> blocks;
  std::vector<float> samples;  // stereo, interleaved
  int packets = 0;             // of the sound
};

// What surround sound is mixed with: FFmpeg's weights for floats, or these brought below 1 in all.
enum class Mix { kUsual, kNormalized };

// Decodes the best audio stream. Throws std::runtime_error when the file cannot be read.
LinearSound DecodeLinearly(const std::string& path, Mix mix = Mix::kUsual);

// Largest power, in dB below full scale, of the difference between two pieces of sound of as many
// samples each, over any `window` samples of a channel.
double LargestDifference(const float* a, const float* b, int samples, int window);

}  // namespace codec
