// SPDX-License-Identifier: MIT
// The clips on which the reader of the backward walk is held against a literal walk.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "tests/reverse/literal_decoder.h"

namespace codec {

// How FFmpeg stamps the sound on the last page of a clip after a seek to that page.
enum class LastSound { kRight, kMisstamped };

struct WalkClip {
  const char* name;
  std::string (*make)();
  int group;  // pictures from one key picture to the next
  Landing landing = Landing::kAsked;
  LastSound lastSound = LastSound::kRight;
};

// Makes the name in a list of tests, where an address would be another one each time.
inline void PrintTo(const WalkClip& clip, std::ostream* out) { *out << clip.name; }

const std::vector<WalkClip>& WalkClips();

}  // namespace codec
