// SPDX-License-Identifier: MIT
// A mirrored job that notes what it would have written.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace codec {

struct MirrorRecord {
  static constexpr size_t kCornerBytes = 256;

  std::vector<int64_t> stamps;                // of pictures, microseconds
  std::vector<std::vector<uint8_t>> corners;  // the first bytes of each picture
  std::vector<float> samples;                 // stereo
  bool soundIsContiguous = true;
  int rate = 0;
  bool hasSound = false;
};

// Mirrors this range of the clip, in seconds. Fails the test if the job does not succeed, or a
// block of sound does not follow the one before.
MirrorRecord Mirror(const std::string& path, double start, double end);

}  // namespace codec
