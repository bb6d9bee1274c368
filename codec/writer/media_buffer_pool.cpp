// SPDX-License-Identifier: MIT
#include "codec/writer/media_buffer_pool.h"

#include <new>

namespace codec {
namespace {

// Makes the pool before `main` runs, while the program has one thread.
[[maybe_unused]] MediaBufferPool* const gMadeBeforeMain = MediaBufferPool::Instance();

}  // namespace

MediaBufferPool* MediaBufferPool::Instance() {
  // Never destroyed: threads and static objects may still give buffers back while the program ends.
  static MediaBufferPool* const pool = new (std::nothrow) MediaBufferPool;
  return pool;
}

void MediaBufferPool::WaitForFree(int type) {
  if (BufferSide* const side = SideOf(type)) side->WaitOnce();
}

void MediaBufferPool::Give(MediaBuffer* buffer) noexcept {
  if (buffer == nullptr) return;
  MediaBufferPool* const home = buffer->Home() == nullptr ? this : buffer->Home();
  if (BufferSide* const side = home->SideOf(buffer->type)) {
    side->Give(std::unique_ptr<MediaBuffer>(buffer));
  }
}

void MediaBufferPool::Reset() {
  mVideo.Reset();
  mAudio.Reset();
}

BufferSide* MediaBufferPool::SideOf(int32_t type) noexcept {
  if (type == kVideoFrame) return &mVideo;
  return type == kAudioFrame ? &mAudio : nullptr;
}

}  // namespace codec
