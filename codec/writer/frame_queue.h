// SPDX-License-Identifier: MIT
// A queue of frames on their way to the encoder.
#pragma once

#include <cstdint>

#include "base/lock.h"
#include "codec/writer/buffer_ring.h"
#include "codec/writer/media_buffer_pool.h"
#include "codec/writer/wake_signal.h"

namespace codec {

// Owns the frames in it; those left at destruction go back to the pool. Any thread may call any
// operation except SetWake.
class FrameQueue {
 public:
  // Makes every append give this signal; null for none. Only while no other thread uses the queue.
  void SetWake(WakeSignal* wake) { mWake = wake; }

  void Append(PooledBuffer buffer);
  // The oldest frame, or null.
  PooledBuffer Pop();
  bool Empty();

  // The earlier of the two oldest frames, or null when both queues are empty. At equal times it is
  // the video frame.
  static PooledBuffer PopEarlier(FrameQueue& video, FrameQueue& audio);

 private:
  but::Mutex mLock;
  // Under mLock.
  BufferRing<PooledBuffer> mFrames;
  WakeSignal* mWake = nullptr;
};

}  // namespace codec
