// SPDX-License-Identifier: MIT
// The half of a buffer pool that holds the buffers of one frame type.
#pragma once

#include <pthread.h>

#include <cstddef>
#include <cstdint>
#include <memory>

#include "base/lock.h"
#include "codec/utils/frame_type.h"
#include "codec/writer/buffer_list.h"
#include "codec/writer/media_buffer.h"

namespace codec {

// Lends buffers and keeps a limited number of idle ones. Knows how many are lent, so that nobody
// waits for a buffer that cannot come. Safe to call from any thread.
class BufferSide {
 public:
  // What sets one side apart from the other.
  struct Rules {
    FrameType type;   // of its buffers
    int batch;        // buffers that are made at once
    size_t mostIdle;  // more are freed
    bool grows;       // makes a batch if none is idle
  };

  // `home`: the pool that this is a side of.
  BufferSide(const Rules& rules, MediaBufferPool* home) : mRules(rules), mHome(home) {}
  ~BufferSide() { pthread_cond_destroy(&mAvailable); }
  BufferSide(const BufferSide&) = delete;
  BufferSide& operator=(const BufferSide&) = delete;

  // Bytes of the buffers made from now on.
  void SetBufferSize(int32_t size);
  // Adds a batch of buffers of `size` bytes each (0: of the size set). Throws std::bad_alloc.
  void Refill(int32_t size);

  // The buffer that has been idle longest, owned by the taker until Give; null if there is none.
  // Never waits. Buffers with room for less than `bytes` are freed on the way. A side that grows
  // throws std::bad_alloc.
  MediaBuffer* Take(int32_t bytes);
  // Takes a buffer back. Those beyond the limit are freed.
  void Give(std::unique_ptr<MediaBuffer> buffer) noexcept;

  // Whether no buffer is idle.
  bool IsEmpty();
  // Whether a buffer is lent, which may still be given back.
  bool HasLent();

  // Waits if no buffer is idle: once, until it is woken.
  void WaitOnce();
  // Waits until a buffer is idle. False if none is, and none is lent.
  bool WaitWhileLent();

  // Frees all idle buffers.
  void Reset();

 private:
  void Add(int32_t bytes) BUT_WANTS(mLock);
  void DropSmall(int32_t bytes) BUT_WANTS(mLock);
  // Wakes all who wait if no buffer can come.
  void EndVainWaits() BUT_WANTS(mLock);

  const Rules mRules;
  MediaBufferPool* const mHome;

  but::Mutex mLock;
  pthread_cond_t mAvailable = PTHREAD_COND_INITIALIZER;  // or none can come
  BufferList mIdle BUT_UNDER(mLock);
  int32_t mBufferSize BUT_UNDER(mLock) = 1024;
  int mLent BUT_UNDER(mLock) = 0;
};

}  // namespace codec
