// SPDX-License-Identifier: MIT
// How many pictures and how much sound a job has written and lost.
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

#include "codec/decoder/file_extent.h"
#include "codec/decoder/lost_pictures.h"

namespace codec {

// Sound that a job has written and sound that it has lost. Times are in seconds.
struct SoundAccount {
  double written = 0;  // silence included
  double lost = 0;     // could not be decoded
  // Of the earliest sound that was lost; infinite if there is none.
  double firstLost = std::numeric_limits<double>::infinity();

  // Counts a stretch that was lost.
  void Lose(double time, double seconds) {
    lost += seconds;
    firstLost = std::min(firstLost, time);
  }
};

// Every picture that the job has met in its range is either written or counted as lost.
struct JobAccount {
  int64_t pictures = 0;  // written
  LostPictures lost;     // met, but not written
  SoundAccount sound;    // the same of the sound
  // Of the input, if it was cut off within the range or before; otherwise blank. Nobody knows how
  // much of the range the bytes are that are missing.
  FileExtent input;

  // Whether nothing was lost.
  bool IsWhole() const { return lost.Count() == 0 && !(sound.lost > 0) && input.Missing() == 0; }
};

}  // namespace codec
