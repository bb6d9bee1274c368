// SPDX-License-Identifier: MIT
// Brings a stream of sound to another sample rate.
#pragma once

#include <cstdint>
#include <vector>

#include "base/first_error.h"
#include "codec/ffmpeg/owned.h"
#include "codec/utils/sound_layout.h"

namespace codec {

// Takes interleaved floats block by block, and gives the same whatever the blocks' lengths.
// Time 0 stays time 0. The rate of the samples that come may change. In all it gives as many
// samples as last as long as those that came, rounded to the nearest. One thread at a time.
class SoundResampler {
 public:
  // Both rates in samples a second. 0, or -1, logged, when memory or a rate does not serve.
  int Open(int inRate, int outRate, const SoundLayout& layout = {});

  int InputRate() const { return mInRate; }
  int OutputRate() const { return mOutRate; }
  // Whether samples come out as they are, so that the caller may as well keep them.
  bool PassesThrough() const { return mInRate == mOutRate; }

  // The samples to come have this rate; `out` becomes all that is left of those before. 0, or
  // FFmpeg's negative error, logged: then nothing more can be converted.
  int ChangeInputRate(int inRate, std::vector<float>* out);

  // Takes this many samples of each channel; `out` becomes what can be given by now. 0, or FFmpeg's
  // negative error, with nothing given.
  int Convert(const float* samples, int64_t count, std::vector<float>* out);
  // The stream is over; `out` becomes all that is left. 0 or FFmpeg's negative error, with silence
  // given. A second call gives nothing.
  int Finish(std::vector<float>* out);

  // The first error of a conversion; 0 while there was none.
  int Failure() const { return mFailure.Error(); }

 private:
  int Begin(int inRate);
  // Samples of the output that last as long as those that came since the rate changed.
  double Whole() const;
  int Run(const float* samples, int count, std::vector<float>* out);

  int mInRate = 0;
  int mOutRate = 0;
  size_t mChannels = 0;
  uint64_t mMask = 0;
  ffmpeg::UniqueResampler mContext;  // null while samples pass through
  bool mIsReady = false;
  but::FirstError mFailure;

  // Since the rate changed last, in samples of a channel.
  int64_t mTaken = 0;
  int64_t mGiven = 0;
  // What the rounding of the stretches before has left out, in samples of the output.
  double mOwed = 0;
};

}  // namespace codec
