// SPDX-License-Identifier: MIT
#include "codec/writer/audio_framer.h"

#include <cstring>
#include <limits>
#include <utility>

#include "base/log.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::MediaWriterImpl";

// Frames in the queue at which a silence waits.
constexpr size_t kMostQueued = 100;

}  // namespace

void AudioFramer::SetFrame(int32_t bytes, int64_t duration) {
  mFrameBytes = bytes;
  mTimeline.SetFrameDuration(duration);
}

int AudioFramer::Write(const uint8_t* data, uint32_t size, int64_t pts) {
  if (!mProcess || size > static_cast<uint32_t>(std::numeric_limits<int32_t>::max()) ||
      mProcess->Push(data, static_cast<int>(size)) != 0) {
    log_error(kTag, "AudioProcess push frame error");
    return -1;
  }
  const int frames = mProcess->FrameCount(mFrameBytes);
  const AudioTimeline::Block block = mTimeline.Arrive(pts, frames);
  for (int i = 0; i < frames; ++i) PlaceFrame(block);
  return 0;
}

void AudioFramer::Flush() {
  if (!mProcess) return;
  PooledBuffer buffer = TakeBuffer();
  if (!buffer) return;
  const int count = mProcess->Flush(buffer->Data(), mFrameBytes);
  if (count < 0) log_warn(kTag, "too many data to flush");
  if (count < 1) return;
  log_debug(kTag, "flush data:%d, audio_frame_size:%d", count, mFrameBytes);
  if (count < mFrameBytes) {
    std::memset(buffer->Data() + count, 0, static_cast<size_t>(mFrameBytes - count));
  }
  Append(std::move(buffer), mHasShortLast ? count : mFrameBytes);
}

void AudioFramer::PlaceFrame(const AudioTimeline::Block& block) {
  PooledBuffer buffer = TakeBuffer();
  if (!buffer) return;
  if (mProcess->Pull(buffer->Data(), mFrameBytes) != 0) {
    log_error(kTag, "AudioProcess pull frame error");
    return;
  }
  if (mSync) {
    if (mTimeline.NeedsSilence(block)) InsertSilence(block);
    if (mTimeline.TooFarAhead(block)) {
      log_debug(kTag, "Discard audio frame");
      return;
    }
  }
  Append(std::move(buffer), mFrameBytes);
}

// Whether the queue takes one more frame of silence.
bool AudioFramer::HasRoom() {
  if (mOutlet == nullptr || mQueue->Size() < kMostQueued || mOutlet->AwaitFewer(kMostQueued))
    return true;
  log_error(kTag, "no silence: nobody takes the frames before it");
  mHasLostSilence = true;
  return false;
}

void AudioFramer::InsertSilence(const AudioTimeline::Block& block) {
  if (mTimeline.IsBeyondADay(block)) {
    log_error(kTag, "no silence: the sound is more than a day ahead");
    mHasLostSilence = true;
    return;
  }
  do {
    if (!HasRoom()) return;
    PooledBuffer buffer = TakeBuffer();
    if (!buffer) return;
    std::memset(buffer->Data(), 0, static_cast<size_t>(mFrameBytes));
    Append(std::move(buffer), mFrameBytes);
    log_debug(kTag, "Add empty audio frame");
  } while (mTimeline.BehindStart(block));
}

PooledBuffer AudioFramer::TakeBuffer() {
  PooledBuffer buffer(mPool->TakeAudio(mFrameBytes));
  // Before a frame size is set, the pool's buffers may have no data at all.
  if (buffer && buffer->Data() == nullptr) buffer.reset();
  if (!buffer) {
    log_error(kTag, "get empty audio buffer from pool");
    mIsOutOfBuffers = true;
  }
  return buffer;
}

void AudioFramer::Append(PooledBuffer buffer, int32_t bytes) {
  buffer->SetPts(mTimeline.Stamp());
  buffer->SetSize(bytes);
  mQueue->Append(std::move(buffer));
}

}  // namespace codec
