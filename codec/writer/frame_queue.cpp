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
    mLock.Lock();
    const but::LockGuard guard(&mLock);
    mFrames.PushBack(std::unique_ptr<MediaBuffer>(buffer.release()));
  }
  if (mWake != nullptr) mWake->Signal();
}

PooledBuffer FrameQueue::Pop() {
  mLock.Lock();
  const but::LockGuard guard(&mLock);
  return TakeFront();
}

bool FrameQueue::Empty() {
  mLock.Lock();
  const but::LockGuard guard(&mLock);
  return mFrames.Empty();
}

PooledBuffer FrameQueue::PopEarlier(FrameQueue& video, FrameQueue& audio) {
  // The one place where two locks are held: always video before audio, released the other way.
  video.mLock.Lock();
  const but::LockGuard videoGuard(&video.mLock);
  audio.mLock.Lock();
  const but::LockGuard audioGuard(&audio.mLock);
  const bool audioFirst =
      !audio.mFrames.Empty() &&
      (video.mFrames.Empty() || audio.mFrames.Front()->pts < video.mFrames.Front()->pts);
  return (audioFirst ? audio : video).TakeFront();
}

}  // namespace codec
