// SPDX-License-Identifier: MIT
// Filters or copies pictures into buffers and queues them.
#pragma once

#include <cstdint>

#include "codec/filter/media_filter.h"
#include "codec/writer/frame_queue.h"
#include "codec/writer/media_buffer_pool.h"

namespace codec {

// Gives buffers of queued pictures back to the pool.
class BufferGiver {
 public:
  virtual ~BufferGiver() = default;
  // Whether another thread gives buffers back while this one waits.
  virtual bool GivesBuffersBack() = 0;
};

// Pictures come in with times; those whose time is later than the one before go to the video queue,
// through the filter chain or as they are. If no buffer is idle, a picture waits for one, or is
// left out. One thread at a time.
class PictureIntake {
 public:
  // `queue` receives the pictures; `filter` may be null. Both must outlive the intake.
  PictureIntake(FrameQueue* queue, MediaFilter* filter) : mQueue(queue), mFilter(filter) {}

  // Where its buffers come from; the pool of the process unless set. The filter has its own.
  void SetPool(MediaBufferPool* pool) { mPool = pool; }
  // Bytes of one picture.
  void SetFrame(int32_t bytes) { mFrameBytes = bytes; }
  // Whether a picture is left out if no buffer is idle; true unless set. Otherwise it waits, and is
  // an error if nobody gives buffers back.
  void SetDiscard(bool discards) { mDiscards = discards; }
  // Asked if no buffer is idle. It must outlive the intake. Without one nobody gives any back.
  void SetGiver(BufferGiver* giver) { mGiver = giver; }

  // 0, or FFmpeg's negative error, after an error line, if the picture is lost that should not be:
  // EINVAL if it is too large, or nobody takes those before it, ENOMEM without memory. After
  // ENOMEM later pictures are left out silently. Throws std::bad_alloc.
  int Write(uint8_t* data, uint32_t size, int64_t pts);
  // Pictures that came, without those whose time was not later.
  int64_t Pictures() const { return mPictures; }

 private:
  bool AwaitBuffer();
  int Lose();
  // Null if there is no buffer for the picture; `error` is set if that is an error.
  PooledBuffer Filled(uint8_t* data, uint32_t size, int* error);
  PooledBuffer Copied(const uint8_t* data, uint32_t size, int* error);

  FrameQueue* const mQueue;
  MediaFilter* const mFilter;
  MediaBufferPool* mPool = MediaBufferPool::Instance();
  BufferGiver* mGiver = nullptr;
  int32_t mFrameBytes = 0;
  bool mDiscards = true;
  bool mIsOutOfBuffers = false;
  int64_t mLastPts = 0;
  int64_t mPictures = 0;
};

}  // namespace codec
