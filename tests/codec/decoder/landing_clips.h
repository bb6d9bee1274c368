// SPDX-License-Identifier: MIT
// Clips on which a demuxer cannot land well, because there is no index or a wrong one.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace codec {

struct LandingClip {
  const char* name;
  int pictures;  // that can be decoded
  std::string (*make)();
};

// Makes the name in a list of tests, where an address would be another one each time.
inline void PrintTo(const LandingClip& clip, std::ostream* out) { *out << clip.name; }

// Twenty seconds each with sound, and two groups of pictures of ten seconds.
const std::vector<LandingClip>& LandingClips();

}  // namespace codec
