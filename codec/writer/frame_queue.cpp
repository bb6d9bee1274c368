// SPDX-License-Identifier: MIT
#include "codec/writer/frame_queue.h"

#include <memory>

namespace codec {

FrameQueue::~FrameQueue() {
  while (Pop()) {
  }
}

void FrameQueue::Append(PooledBuffer buffer) {
  {
    const but::HeldLock held(&mLock);
    mFrames.PushBack(std::unique_ptr<MediaBuffer>(buffer.release()));
  }
  if (mWake != nullptr) mWake->Signal();
}

PooledBuffer FrameQueue::Pop() {
  const but::HeldLock held(&mLock);
  return TakeFront();
}

bool FrameQueue::Empty() {
  const but::HeldLock held(&mLock);
  return mFrames.Empty();
}

size_t FrameQueue::Size() {
  const but::HeldLock held(&mLock);
  return mFrames.Size();
}

PooledBuffer FrameQueue::PopEarlier(FrameQueue& video, FrameQueue& audio) {
  // Always video before audio, released the other way.
  const but::HeldLock heldVideo(&video.mLock);
  const but::HeldLock heldAudio(&audio.mLock);
  const bool audioFirst =
      !audio.mFrames.Empty() &&
      (video.mFrames.Empty() || audio.mFrames.Front()->pts < video.mFrames.Front()->pts);
  return audioFirst ? audio.TakeFront() : video.TakeFront();
}

}  // namespace codec
