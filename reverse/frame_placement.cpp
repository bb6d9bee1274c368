// SPDX-License-Identifier: MIT
#include "reverse/frame_placement.h"

#include <algorithm>
#include <cmath>

#include "reverse/audio_samples.h"

namespace codec {
namespace {

constexpr double kMicroseconds = 1000000;

}  // namespace

bool PlainPlacement::Write(FrameBuffer* frame) {
  if (!mRange.Holds(*frame)) return false;
  if (frame->type == kAudioFrame) {
    ReverseAudioSamples(frame->Data(), frame->size, mRange.channels, mRange.sampleFormat);
    const auto sampleBytes = static_cast<int64_t>(sizeof(float)) * mRange.channels;
    if (sampleBytes > 0) mSamples += frame->size / sampleBytes;
  }
  if (mWriter != nullptr) {
    const auto stamp = static_cast<int64_t>((mRange.end - frame->pts) * kMicroseconds);
    mWriter->WriteFrame(static_cast<int>(frame->type), frame->Data(), frame->size, stamp);
  }
  return true;
}

SoundAccount PlainPlacement::Sound() const {
  SoundAccount sound;
  if (mRange.sampleRate > 0) sound.written = static_cast<double>(mSamples) / mRange.sampleRate;
  return sound;
}

MirrorPlacement::MirrorPlacement(MediaWriter* writer, const ReverseRange& range,
                                 SoundReader* reader, int rate, SoundResampler* resampler)
    : mWriter(writer), mRange(range), mSuccessor(range.end) {
  if (reader == nullptr) return;
  mSound = std::make_unique<MirroredSound>(reader, writer, range.start, range.end, rate, resampler);
}

// Sound goes first, so that the writer does not hold pictures back because it waits for sound. A
// second of sound takes as much memory as one small picture.
bool MirrorPlacement::Write(FrameBuffer* frame) {
  constexpr double kMicrosecond = 1e-6;
  const bool isHeld =
      mRange.start - kMicrosecond <= frame->pts && frame->pts < mRange.end - kMicrosecond;
  if (frame->type != kVideoFrame || !isHeld) return false;
  // No player shows a picture whose successor has the same time.
  if (frame->pts >= mSuccessor - kMicrosecond / 2) {
    ++mTimeless.timeless;
    mTimeless.first = std::min(mTimeless.first, frame->pts);
    return false;
  }
  if (mSound != nullptr) mSound->WriteDownTo(frame->pts);
  const auto stamp = static_cast<int64_t>(std::llround((mRange.end - mSuccessor) * kMicroseconds));
  mSuccessor = frame->pts;
  mWriter->WriteFrame(kVideoFrame, frame->Data(), frame->size, stamp);
  return true;
}

void MirrorPlacement::EndStep(double cursor) {
  if (mSound == nullptr) return;
  if (cursor > mRange.start) {
    mSound->WriteDownTo(cursor);
  } else {
    mSound->Finish();
  }
}

SoundAccount MirrorPlacement::Sound() const {
  return mSound == nullptr ? SoundAccount() : mSound->Account();
}

}  // namespace codec
