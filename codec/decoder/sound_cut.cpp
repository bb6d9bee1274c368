// SPDX-License-Identifier: MIT
#include "codec/decoder/sound_cut.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "codec/decoder/packet_clock.h"
#include "codec/ffmpeg/compat_decoding.h"

namespace codec {

double SoundCut::TimeOf(const AVFrame* frame) {
  double time = mNext;
  if (frame->best_effort_timestamp != AV_NOPTS_VALUE) {
    time = Seconds(Corrected(frame), mTimeBase) - mZero;
  }
  mNext = time;
  if (frame->sample_rate > 0) mNext += static_cast<double>(frame->nb_samples) / frame->sample_rate;
  return time;
}

// A stamp that is not the counted one comes from the file.
int64_t SoundCut::Corrected(const AVFrame* frame) {
  constexpr int64_t kRounding = 2;
  const int64_t stamp = frame->best_effort_timestamp;
  const int64_t told = ffmpeg::Duration(frame);
  if (!mCorrects || told <= 0 || frame->sample_rate <= 0) return stamp;
  if (mCounted == AV_NOPTS_VALUE || std::abs(stamp - mCounted) > kRounding) mOff = 0;
  const auto corrected = static_cast<int64_t>(std::llround(static_cast<double>(stamp) - mOff));
  mCounted = stamp + told;
  const double lasts = static_cast<double>(frame->nb_samples) / frame->sample_rate;
  const double error = static_cast<double>(told) - lasts / av_q2d(mTimeBase);
  if (std::abs(error) > static_cast<double>(kRounding)) mOff += error;
  return corrected;
}

void SoundCut::Take(const AVFrame* frame) {
  const double time = TimeOf(frame);
  mLastWasKept = false;
  if (mNext <= mRange.from) {
    mEndBefore = std::max(mEndBefore, mNext);
  } else if (time >= mRange.to) {
    mStartAfter = std::min(mStartAfter, time);
  } else {
    Keep(frame, time);
  }
  mBegins = false;
}

// Converts the frame to its place in the stretch. The converter gives as many samples as it takes,
// or none.
void SoundCut::Keep(const AVFrame* frame, double time) {
  const auto channels = static_cast<size_t>(mConverter->Target().channels);
  std::vector<float>& samples = mOut->samples;
  const size_t offset = samples.size();
  samples.resize(offset + static_cast<size_t>(std::max(frame->nb_samples, 0)) * channels);
  const int bytes = mConverter->Deliver(frame, reinterpret_cast<uint8_t*>(samples.data() + offset));
  const size_t delivered = static_cast<size_t>(std::max(bytes, 0)) / sizeof(float) / channels;
  samples.resize(offset + delivered * channels);
  if (delivered == 0) return Miss(time, mNext - time);
  StretchBlock block;
  block.time = time;
  block.samples = static_cast<int>(delivered);
  block.rate = frame->sample_rate;
  block.offset = offset;
  block.begins = mBegins;
  mOut->blocks.push_back(block);
  mLastWasKept = true;
}

void SoundCut::Miss(double time, double seconds) {
  mHasMissed = true;
  if (time < mRange.to && time + seconds > mRange.from) mOut->lost.push_back({time, seconds});
}

void SoundCut::EndStream() {
  if (mLastWasKept) mOut->blocks.back().ends = true;
}

}  // namespace codec
