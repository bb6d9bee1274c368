// SPDX-License-Identifier: MIT
#include "codec/encoder/sample_planes.h"

#include <cstring>

#include "codec/ffmpeg/ffmpeg_headers.h"

namespace codec {
namespace {

// The width is a constant here, so that a sample is moved in one instruction.
template <size_t kBytes>
void Split(const uint8_t* interleaved, size_t samples, size_t channels, uint8_t* planes) {
  for (size_t channel = 0; channel < channels; ++channel) {
    const uint8_t* from = interleaved + channel * kBytes;
    for (size_t i = 0; i < samples; ++i) {
      std::memcpy(planes, from, kBytes);
      planes += kBytes;
      from += channels * kBytes;
    }
  }
}

}  // namespace

bool NeedsPlanes(int sampleFormat) {
  return sampleFormat >= AV_SAMPLE_FMT_U8P && sampleFormat <= AV_SAMPLE_FMT_FLTP;
}

void SplitIntoPlanes(const uint8_t* interleaved, size_t samples, size_t channels,
                     size_t bytesPerSample, uint8_t* planes) {
  switch (bytesPerSample) {
    case 1:
      return Split<1>(interleaved, samples, channels, planes);
    case 2:
      return Split<2>(interleaved, samples, channels, planes);
    case 4:
      return Split<4>(interleaved, samples, channels, planes);
    default:
      return;
  }
}

}  // namespace codec
