// The clips on which the reader of the backward walk is held against a literal walk.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "tests/reverse/literal_decoder.h"

namespace codec {

struct WalkClip {
  const char* name;
  std::string (*make)();
  int group;  // pictures from one key picture to the next
  Landing landing = Landing::kAsked;
};

// Makes the name in a list of tests, where an address would be another one each time.
inline void PrintTo(const WalkClip& clip, std::ostream* out) { *out << clip.name; }

const std::vector<WalkClip>& WalkClips();

}  // namespace codec
