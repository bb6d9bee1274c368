// SPDX-License-Identifier: MIT
#include "reverse/frame_pool.h"

#include <utility>

namespace codec {
namespace {

// Made while the program is loaded, so that no thread can be the first to need it.
FramePool* const gFramePool = new FramePool;

}  // namespace

FramePool& FramePool::Instance() { return *gFramePool; }

std::unique_ptr<FrameBuffer> FramePool::Get(int32_t length) {
  mLock.Lock();
  const but::LockGuard unlock(&mLock);
  if (mIdle.empty()) {
    auto fresh = std::make_unique<FrameBuffer>();
    fresh->Resize(length);
    return fresh;
  }
  std::unique_ptr<FrameBuffer> buffer = std::move(mIdle.front());
  mIdle.erase(mIdle.begin());
  if (buffer->Length() < length) buffer->Resize(length);
  return buffer;
}

int FramePool::Put(std::unique_ptr<FrameBuffer> buffer) {
  mLock.Lock();
  const but::LockGuard unlock(&mLock);
  if (mIdle.size() < kIdleLimit) mIdle.push_back(std::move(buffer));
  return 0;
}

}  // namespace codec
