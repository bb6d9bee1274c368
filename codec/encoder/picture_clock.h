// SPDX-License-Identifier: MIT
// The numbers and stamps of the pictures of an output.
#pragma once

#include <cstdint>

#include "codec/ffmpeg/ffmpeg_headers.h"

namespace codec {

// Turns the time of a picture into two numbers. The encoder counts frames at the frame rate, and
// its rate control relies on this. The file is given stamps: the frame numbers themselves, or, with
// a stamp rate, the time in finer ticks. Both always grow, also if times repeat or go back.
class PictureClock {
 public:
  struct Place {
    int64_t number = 0;  // in FrameBase
    int64_t stamp = 0;   // in StampBase
  };

  // `frameRate` in frames a second, `stampRate` in ticks a second; stamps are frame numbers if the
  // latter is below 1.
  void Open(double frameRate, int stampRate);

  // Seconds of a frame; its denominator is 0 for a frame rate below 0.001 without a stamp rate.
  AVRational FrameBase() const { return mFrameBase; }
  // Seconds of a tick.
  AVRational StampBase() const { return mStampBase; }
  // Ticks that a picture lasts at the frame rate; at least 1.
  int64_t FrameTicks() const { return mFrameTicks; }

  // Frames a second of pictures that each last FrameTicks.
  AVRational FrameRate() const;

  // For a time in microseconds.
  Place Next(int64_t ptsUs);

 private:
  double mFrameRate = 0;
  bool mIsFine = false;  // there is a stamp rate
  AVRational mFrameBase = {0, 1};
  AVRational mStampBase = {0, 1};
  int64_t mFrameTicks = 1;
  Place mLast = {-1, -1};
};

}  // namespace codec
