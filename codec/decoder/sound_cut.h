// SPDX-License-Identifier: MIT
// Cuts a stretch of time out of a stream's decoded sound.
#pragma once

#include <limits>

#include "codec/decoder/audio_converter.h"
#include "codec/decoder/sound_stretch.h"
#include "codec/ffmpeg/owned.h"

namespace codec {

// Times of one reading, all in seconds from the zero that the caller measures from.
struct SoundSpan {
  double from = 0;  // inclusive
  double to = 0;    // exclusive
};

// Is given the frames in the order of the stream. Says at which time each frame sounds, and keeps
// the frames that reach into the range. A frame without a stamp follows the one before it.
class SoundCut {
 public:
  // Frames have stamps in `timeBase`, whose time `zero`, in seconds, counts as 0. `first` is the
  // time of a first frame without a stamp. `converter` and `out` outlive this object.
  SoundCut(const SoundSpan& range, AVRational timeBase, double zero, double first,
           AudioConverter* converter, SoundStretch* out)
      : mRange(range),
        mTimeBase(timeBase),
        mZero(zero),
        mConverter(converter),
        mOut(out),
        mNext(first) {}

  // The rate that the file announces, in samples a second. FFmpeg counts with it the stamps that
  // the file does not have. If a frame has another rate, these run early or late until the file
  // gives a stamp again. Such frames follow the one before them.
  void CountedAt(int rate) { mCountedAt = rate; }
  // The next frame is the stream's first.
  void BeginStream() { mBegins = true; }
  // The next frame, if its samples are wrong because the decoder has only just started.
  void Pass(const AVFrame* frame) { TimeOf(frame); }
  // The next frame.
  void Take(const AVFrame* frame);
  // A packet of this time and length, in seconds, could not be decoded.
  void Miss(double time, double seconds);
  // There is no frame after the last one.
  void EndStream();

  // End of the last frame taken that sounds before the range; minus infinity if there was none.
  double EndBefore() const { return mEndBefore; }
  // Start of the first frame taken that sounds after the range; infinite if there was none.
  double StartAfter() const { return mStartAfter; }

 private:
  double TimeOf(const AVFrame* frame);
  double TrueTime(const AVFrame* frame, double stamped) const;
  void Keep(const AVFrame* frame, double time);

  SoundSpan mRange;
  AVRational mTimeBase;
  double mZero;
  AudioConverter* mConverter;
  SoundStretch* mOut;
  double mNext;  // time of a frame without a stamp
  int mCountedAt = 0;
  bool mFollowsMiscounted = false;
  bool mBegins = false;
  bool mLastWasKept = false;
  double mEndBefore = -std::numeric_limits<double>::infinity();
  double mStartAfter = std::numeric_limits<double>::infinity();
};

}  // namespace codec
