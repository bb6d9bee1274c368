// SPDX-License-Identifier: MIT
#include "codec/writer/media_buffer_pool.h"

#include <algorithm>
#include <new>
#include <utility>

namespace codec {
namespace {

constexpr int32_t kVideoType = 1;
constexpr int32_t kAudioType = 2;

// Makes the pool before `main` runs, while the program has one thread.
[[maybe_unused]] MediaBufferPool* const gMadeBeforeMain = MediaBufferPool::Instance();

}  // namespace

MediaBufferPool* MediaBufferPool::Instance() {
  // Never destroyed: threads and static objects may still give buffers back while the program ends.
  static MediaBufferPool* const pool = new (std::nothrow) MediaBufferPool;
  return pool;
}

MediaBufferPool::MediaBufferPool() {
  pthread_cond_init(&mVideoAvailable, nullptr);
  pthread_cond_init(&mAudioAvailable, nullptr);
}

MediaBufferPool::~MediaBufferPool() {
  pthread_cond_destroy(&mVideoAvailable);
  pthread_cond_destroy(&mAudioAvailable);
}

void MediaBufferPool::RefillVideo(int32_t size) {
  mVideoLock.Lock();
  const but::LockGuard guard(&mVideoLock);
  Add(mVideoIdle, kVideoCount, kVideoType, size == 0 ? mVideoBufferSize : size);
}

MediaBuffer* MediaBufferPool::TakeVideo() {
  mVideoLock.Lock();
  const but::LockGuard guard(&mVideoLock);
  return HandOutVideo();
}

MediaBuffer* MediaBufferPool::TakeVideo(int32_t bytes) {
  mVideoLock.Lock();
  const but::LockGuard guard(&mVideoLock);
  DropSmall(mVideoIdle, bytes);
  return HandOutVideo();
}

MediaBuffer* MediaBufferPool::TakeAudio() {
  mAudioLock.Lock();
  const but::LockGuard guard(&mAudioLock);
  if (mAudioIdle.Empty()) Add(mAudioIdle, kAudioGrowCount, kAudioType, mAudioBufferSize);
  return mAudioIdle.PopFront().release();
}

MediaBuffer* MediaBufferPool::TakeAudio(int32_t bytes) {
  mAudioLock.Lock();
  const but::LockGuard guard(&mAudioLock);
  DropSmall(mAudioIdle, bytes);
  if (mAudioIdle.Empty()) {
    Add(mAudioIdle, kAudioGrowCount, kAudioType, mAudioBufferSize);
    DropSmall(mAudioIdle, bytes);
  }
  return mAudioIdle.PopFront().release();
}

MediaBuffer* MediaBufferPool::HandOutVideo() {
  if (!mVideoIdle.Empty()) ++mVideoTaken;
  return mVideoIdle.PopFront().release();
}

bool MediaBufferPool::HasTakenVideo() {
  mVideoLock.Lock();
  const but::LockGuard guard(&mVideoLock);
  return mVideoTaken > 0;
}

bool MediaBufferPool::IsOutOfVideo() {
  mVideoLock.Lock();
  const but::LockGuard guard(&mVideoLock);
  return mVideoIdle.Empty();
}

void MediaBufferPool::WaitForFree(int type) {
  if (type == kVideoType) Wait(mVideoIdle, mVideoLock, mVideoAvailable);
  if (type == kAudioType) Wait(mAudioIdle, mAudioLock, mAudioAvailable);
}

void MediaBufferPool::Give(MediaBuffer* buffer) {
  if (buffer == nullptr) return;
  if (buffer->type == kVideoType) {
    Keep(mVideoIdle, kVideoCount, std::unique_ptr<MediaBuffer>(buffer), mVideoLock,
         mVideoAvailable);
    // Only now, so that the buffer always counts as taken or as idle.
    TakeBackVideo();
  } else if (buffer->type == kAudioType) {
    Keep(mAudioIdle, kAudioIdleLimit, std::unique_ptr<MediaBuffer>(buffer), mAudioLock,
         mAudioAvailable);
  }
}

// Records may be given that were never taken.
void MediaBufferPool::TakeBackVideo() {
  mVideoLock.Lock();
  const but::LockGuard guard(&mVideoLock);
  mVideoTaken = std::max(mVideoTaken - 1, 0);
}

void MediaBufferPool::Reset() {
  mVideoIdle.Clear();
  mAudioIdle.Clear();
}

void MediaBufferPool::Add(Buffers& idle, int count, int32_t type, int32_t bytes) {
  for (int i = 0; i < count; ++i) {
    auto buffer = std::make_unique<MediaBuffer>(type);
    buffer->Allocate(bytes);
    idle.PushBack(std::move(buffer));
  }
}

void MediaBufferPool::DropSmall(Buffers& idle, int32_t bytes) {
  while (!idle.Empty() && idle.Front()->Capacity() < bytes) idle.PopFront();
}

void MediaBufferPool::Wait(const Buffers& idle, but::Mutex& lock, pthread_cond_t& available) {
  lock.Lock();
  const but::LockGuard guard(&lock);
  // Once, without a loop: the caller takes a buffer afterwards and bears a null, so that a wake-up
  // without cause costs a frame and never a hang.
  if (idle.Empty()) pthread_cond_wait(&available, lock.Native());
}

void MediaBufferPool::Keep(Buffers& idle, size_t limit, std::unique_ptr<MediaBuffer> buffer,
                           but::Mutex& lock, pthread_cond_t& available) {
  lock.Lock();
  const but::LockGuard guard(&lock);
  if (idle.Size() >= limit) return;
  idle.PushBack(std::move(buffer));
  pthread_cond_signal(&available);
}

}  // namespace codec
