// SPDX-License-Identifier: MIT
#include "codec/writer/buffer_side.h"

#include <algorithm>
#include <utility>

namespace codec {

void BufferSide::SetBufferSize(int32_t size) {
  const but::HeldLock held(&mLock);
  mBufferSize = size;
}

void BufferSide::Refill(int32_t size) {
  const but::HeldLock held(&mLock);
  Add(size == 0 ? mBufferSize : size);
}

MediaBuffer* BufferSide::Take(int32_t bytes) {
  const but::HeldLock held(&mLock);
  DropSmall(bytes);
  if (mIdle.Empty() && mRules.grows) {
    Add(mBufferSize);
    DropSmall(bytes);
  }
  if (!mIdle.Empty()) ++mLent;
  EndVainWaits();
  return mIdle.PopFront().release();
}

void BufferSide::Give(std::unique_ptr<MediaBuffer> buffer) noexcept {
  const but::HeldLock held(&mLock);
  // Buffers may be given that were never taken.
  mLent = std::max(mLent - 1, 0);
  if (mIdle.Size() < mRules.mostIdle) mIdle.PushBack(std::move(buffer));
  pthread_cond_signal(&mAvailable);
}

bool BufferSide::IsEmpty() {
  const but::HeldLock held(&mLock);
  return mIdle.Empty();
}

bool BufferSide::HasLent() {
  const but::HeldLock held(&mLock);
  return mLent > 0;
}

void BufferSide::WaitOnce() {
  const but::HeldLock held(&mLock);
  if (mIdle.Empty()) pthread_cond_wait(&mAvailable, mLock.Native());
}

bool BufferSide::WaitWhileLent() {
  const but::HeldLock held(&mLock);
  while (mIdle.Empty() && mLent > 0) pthread_cond_wait(&mAvailable, mLock.Native());
  return !mIdle.Empty();
}

void BufferSide::Reset() {
  const but::HeldLock held(&mLock);
  mIdle.Clear();
  EndVainWaits();
}

void BufferSide::Add(int32_t bytes) {
  for (int i = 0; i < mRules.batch; ++i) {
    auto buffer = std::make_unique<MediaBuffer>(mRules.type, mHome);
    buffer->Allocate(bytes);
    mIdle.PushBack(std::move(buffer));
  }
}

void BufferSide::DropSmall(int32_t bytes) {
  while (!mIdle.Empty() && mIdle.Front()->Capacity() < bytes) mIdle.PopFront();
}

void BufferSide::EndVainWaits() {
  if (mIdle.Empty() && mLent == 0) pthread_cond_broadcast(&mAvailable);
}

}  // namespace codec
