// SPDX-License-Identifier: MIT
#include "codec/decoder/sound_cut.h"

#include <algorithm>
#include <cmath>

#include "codec/decoder/packet_clock.h"

namespace codec {

double SoundCut::TimeOf(const AVFrame* frame) {
  double time = mNext;
  if (frame->best_effort_timestamp != AV_NOPTS_VALUE) {
    time = TrueTime(frame, Seconds(frame->best_effort_timestamp, mTimeBase) - mZero);
  }
  mFollowsMiscounted = frame->sample_rate != mCountedAt;
  mNext = time;
  if (frame->sample_rate > 0) mNext += static_cast<double>(frame->nb_samples) / frame->sample_rate;
  return time;
}

// If frames are shorter than they are counted, stamps of the file's own are earlier than those that
// were counted before; if longer, later.
double SoundCut::TrueTime(const AVFrame* frame, double stamped) const {
  constexpr double kOneStamp = 0.5;  // of what has one stamp in the file
  const bool isMiscounted = mCountedAt > 0 && frame->sample_rate != mCountedAt;
  const bool follows = mFollowsMiscounted && std::abs(stamped - mNext) < kOneStamp;
  if (!isMiscounted || !follows) return stamped;
  return frame->sample_rate > mCountedAt ? std::min(stamped, mNext) : std::max(stamped, mNext);
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
  constexpr size_t kChannels = AudioConverter::kTargetChannels;
  std::vector<float>& samples = mOut->samples;
  const size_t offset = samples.size();
  samples.resize(offset + static_cast<size_t>(std::max(frame->nb_samples, 0)) * kChannels);
  const int bytes = mConverter->Deliver(frame, reinterpret_cast<uint8_t*>(samples.data() + offset));
  const size_t delivered = static_cast<size_t>(std::max(bytes, 0)) / sizeof(float) / kChannels;
  samples.resize(offset + delivered * kChannels);
  if (delivered == 0) return;
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
  if (time < mRange.to && time + seconds > mRange.from) mOut->lost.push_back({time, seconds});
}

void SoundCut::EndStream() {
  if (mLastWasKept) mOut->blocks.back().ends = true;
}

}  // namespace codec
