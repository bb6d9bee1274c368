// SPDX-License-Identifier: MIT
#include "codec/encoder/sample_rates.h"

#include <cstdlib>
#include <vector>

#include "codec/ffmpeg/compat_encoding.h"

namespace codec {

int NearestSampleRate(const char* encoder, int rate) {
  const AVCodec* const codec = avcodec_find_encoder_by_name(encoder);
  const std::vector<int> rates = codec == nullptr ? std::vector<int>() : ffmpeg::SampleRates(codec);
  int nearest = rates.empty() ? rate : rates.front();
  for (const int candidate : rates) {
    const int distance = std::abs(candidate - rate);
    const int shortest = std::abs(nearest - rate);
    if (distance < shortest || (distance == shortest && candidate > nearest)) nearest = candidate;
  }
  return nearest;
}

}  // namespace codec
