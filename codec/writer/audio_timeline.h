// SPDX-License-Identifier: MIT
// The times of encoder frames of sound.
#pragma once

#include <cstdint>

namespace codec {

// Frames are stamped one after another in steps of one frame's duration; the times at which sound
// arrives never become stamps. They only tell when the stamps have fallen so far behind that
// silence is due, or run so far ahead that frames must go. All times are in microseconds.
class AudioTimeline {
 public:
  // A block of sound that arrived at `pts`.
  struct Block {
    int64_t pts;
    int64_t early;  // where the block's first whole frame would start
    int64_t limit;  // stamps below this one are too old
  };

  void SetFrameDuration(int64_t duration) { mFrameDuration = duration; }

  // The block that arrived at `pts` and completed `frames` frames.
  Block Arrive(int64_t pts, int frames) const;

  // Whether the stamps are more than a second behind the block and behind its start.
  bool NeedsSilence(const Block& block) const;
  // Whether the block's start is more than a day later than the next stamp. Such a time is wrong.
  bool IsBeyondADay(const Block& block) const {
    return block.early - mNext > int64_t{24} * 3600 * 1000000;
  }
  // Whether silence, once begun, must go on.
  bool BehindStart(const Block& block) const { return mNext < block.early; }
  // Whether the stamps are more than a second ahead of the block.
  bool TooFarAhead(const Block& block) const { return mNext > block.pts + kTolerance; }

  // The stamp of the next frame; the one after it comes one duration later.
  int64_t Stamp();

 private:
  static constexpr int64_t kTolerance = 1000000;

  int64_t mFrameDuration = 0;
  int64_t mNext = 0;
};

}  // namespace codec
