// SPDX-License-Identifier: MIT
// A queue of frames on their way to the encoder.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/lock.h"
#include "codec/writer/buffer_list.h"
#include "codec/writer/media_buffer_pool.h"
#include "codec/writer/wake_signal.h"

namespace codec {

// Owns the frames in it; those left at destruction go back to the pool. Any thread may call any
// operation except SetWake. No operation allocates.
class FrameQueue {
 public:
  FrameQueue() = default;
  ~FrameQueue();
  FrameQueue(const FrameQueue&) = delete;
  FrameQueue& operator=(const FrameQueue&) = delete;

  // Makes every append give this signal; null for none. Only while no other thread uses the queue.
  void SetWake(WakeSignal* wake) { mWake = wake; }

  // Never null.
  void Append(PooledBuffer buffer);
  // The oldest frame, or null.
  PooledBuffer Pop();
  bool Empty();
  size_t Size();

  // The earlier of the two oldest frames, or null when both queues are empty. At equal times it is
  // the video frame.
  static PooledBuffer PopEarlier(FrameQueue& video, FrameQueue& audio);

 private:
  // Null if there is none.
  PooledBuffer TakeFront() BUT_WANTS(mLock) { return PooledBuffer(mFrames.PopFront().release()); }

  but::Mutex mLock;
  BufferList mFrames BUT_UNDER(mLock);
  WakeSignal* mWake = nullptr;
};

}  // namespace codec
