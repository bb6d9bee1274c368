// The clips on which the reader of the backward walk is held against a literal walk.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "tests/reverse/literal_decoder.h"

namespace codec {

// What the reader does otherwise than a literal walk, on purpose.
struct Deviation {
  Landing landing = Landing::kAsked;  // where the literal walk's seeks have to land instead
  bool movesSound = false;            // steps have other parts of the sound, which is the same
};

struct WalkClip {
  const char* name;
  std::string (*make)();
  int group;  // pictures from one key picture to the next
  Deviation deviation = {};
};

// Makes the name in a list of tests, where an address would be another one each time.
inline void PrintTo(const WalkClip& clip, std::ostream* out) { *out << clip.name; }

const std::vector<WalkClip>& WalkClips();

}  // namespace codec
