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

  // FFmpeg counts the stamps that the file does not have. After a change of rate it goes on with
  // the old length of a frame for a while, so that stamps run early or late until the file gives
  // one again. Such stamps are put right.
  void CorrectCounted() { mCorrects = true; }
  // The next frame is the stream's first.
  void BeginStream() { mBegins = true; }
  // The next frame, if its samples are wrong because the decoder has only just started.
  void Pass(const AVFrame* frame) { TimeOf(frame); }
  // The next frame.
  void Take(const AVFrame* frame);
  // A packet of this time and length, in seconds, could not be decoded.
  void Miss(double time, double seconds);
  // Whether there was such a packet, in the range or beside it.
  bool HasMissed() const { return mHasMissed; }
  // There is no frame after the last one.
  void EndStream();

  // End of the last frame taken that sounds before the range; minus infinity if there was none.
  double EndBefore() const { return mEndBefore; }
  // Start of the first frame taken that sounds after the range; infinite if there was none.
  double StartAfter() const { return mStartAfter; }

 private:
  double TimeOf(const AVFrame* frame);
  int64_t Corrected(const AVFrame* frame);
  void Keep(const AVFrame* frame, double time);

  SoundSpan mRange;
  AVRational mTimeBase;
  double mZero;
  AudioConverter* mConverter;
  SoundStretch* mOut;
  double mNext;  // time of a frame without a stamp
  bool mCorrects = false;
  int64_t mCounted = AV_NOPTS_VALUE;  // the stamp that FFmpeg counts for the next frame, in ticks
  double mOff = 0;                    // by how much it is late, in ticks
  bool mBegins = false;
  bool mLastWasKept = false;
  bool mHasMissed = false;
  double mEndBefore = -std::numeric_limits<double>::infinity();
  double mStartAfter = std::numeric_limits<double>::infinity();
};

}  // namespace codec
