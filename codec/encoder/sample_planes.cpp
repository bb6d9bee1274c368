// SPDX-License-Identifier: MIT
#include "codec/encoder/sample_planes.h"

#include <cmath>
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

// Full scale is 1. Encoders multiply by large factors and refuse what does not fit then.
constexpr double kLoudest = 1e6;

template <typename Sample>
bool AreUsual(const uint8_t* bytes, size_t count) {
  const auto* const samples = reinterpret_cast<const Sample*>(bytes);
  // Without a way out of the loop it is done in vectors. Comparing with NaN gives false.
  unsigned strange = 0;
  for (size_t i = 0; i < count; ++i) {
    strange |= std::abs(samples[i]) <= static_cast<Sample>(kLoudest) ? 0U : 1U;
  }
  return strange == 0;
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

bool AreUsualSamples(const uint8_t* samples, size_t bytes, int sampleFormat) {
  switch (sampleFormat) {
    case AV_SAMPLE_FMT_FLT:
    case AV_SAMPLE_FMT_FLTP:
      return AreUsual<float>(samples, bytes / sizeof(float));
    case AV_SAMPLE_FMT_DBL:
    case AV_SAMPLE_FMT_DBLP:
      return AreUsual<double>(samples, bytes / sizeof(double));
    default:
      return true;
  }
}

}  // namespace codec
