// SPDX-License-Identifier: MIT
// Why an input's sound is not the one that players would take.
#pragma once

#include <string>

namespace codec {

// Sound that comes before the chosen one but cannot be decoded. Blank if there is none.
struct PassedOverSound {
  // FFmpeg's number of a stream of sound if there is such a stream, but none that can be decoded;
  // otherwise -1. Nobody knows whether the stream has packets.
  int lost = -1;
  std::string why = {};  // for a person, as a sentence without a stop
};

}  // namespace codec
