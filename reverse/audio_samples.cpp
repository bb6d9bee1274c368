// SPDX-License-Identifier: MIT
#include "reverse/audio_samples.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace codec {
namespace {

struct SampleLayout {
  uint32_t bytes;  // of one sample
  bool planar;
};

// Indexed by FFmpeg's sample format number.
constexpr std::array<SampleLayout, 10> kLayouts = {{
    {1, false},  // unsigned 8 bit
    {2, false},  // signed 16 bit
    {4, false},  // signed 32 bit
    {4, false},  // float
    {8, false},  // double
    {1, true},
    {2, true},
    {4, true},
    {4, true},
    {8, true},
}};

// Swaps elements of `width` bytes from both ends until they meet.
void ReverseElements(uint8_t* data, size_t count, size_t width) {
  for (size_t i = 0; i + 1 < count - i; ++i) {
    uint8_t* front = data + i * width;
    uint8_t* back = data + (count - 1 - i) * width;
    std::swap_ranges(front, front + width, back);
  }
}

// Each width that occurs in practice has code of its own, in which the compiler moves whole words.
void ReverseFrames(uint8_t* data, size_t count, size_t width) {
  switch (width) {
    case 4:
      return ReverseElements(data, count, 4);
    case 8:
      return ReverseElements(data, count, 8);
    default:
      return ReverseElements(data, count, width);
  }
}

}  // namespace

void ReverseAudioSamples(uint8_t* data, uint32_t size, int32_t channels, int32_t sampleFormat) {
  if (sampleFormat < 0 || sampleFormat >= static_cast<int32_t>(kLayouts.size()) || channels < 1) {
    return;
  }
  const SampleLayout layout = kLayouts[static_cast<size_t>(sampleFormat)];
  const size_t instants = size / static_cast<uint32_t>(channels) / layout.bytes;
  if (!layout.planar) {
    return ReverseFrames(data, instants, layout.bytes * static_cast<size_t>(channels));
  }
  const size_t planeBytes = instants * layout.bytes;
  for (int32_t channel = 0; channel < channels; ++channel) {
    ReverseFrames(data + static_cast<size_t>(channel) * planeBytes, instants, layout.bytes);
  }
}

}  // namespace codec
