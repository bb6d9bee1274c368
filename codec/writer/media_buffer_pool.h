// SPDX-License-Identifier: MIT
// The process-wide pool of buffers through which every frame passes between the writer's entry and
// the encoder.
#pragma once

#include <pthread.h>

#include <cstdint>
#include <memory>

#include "base/lock.h"
#include "codec/writer/buffer_ring.h"
#include "codec/writer/media_buffer.h"

namespace codec {

// Bounds the number of idle buffers, so that memory stays flat however long a run is, and lets a
// producer wait until a video buffer is free. The video and the audio side have a lock each; no
// operation takes both. One writer at a time uses it: its sizes are those of one output.
class MediaBufferPool {
 public:
  // The pool; made before `main` runs and never destroyed.
  static MediaBufferPool* Instance();

  // Bytes of the video buffers made from now on. No lock: only while no other thread uses the pool.
  void SetVideoBufferSize(int32_t size) { mVideoBufferSize = size; }
  // The same for audio buffers.
  void SetAudioBufferSize(int32_t size) { mAudioBufferSize = size; }

  // Adds five idle video buffers of `size` bytes each (0: of the size set).
  void RefillVideo(int32_t size);

  // An idle video buffer, owned by the taker until Give; null when there is none. Never waits.
  MediaBuffer* TakeVideo();
  // The same, but buffers too small for `bytes` (left by a writer that was never stopped) are freed
  // on the way.
  MediaBuffer* TakeVideo(int32_t bytes);
  // An idle audio buffer; the pool grows by five when it has none.
  MediaBuffer* TakeAudio();
  // The same, but buffers too small for `bytes` are freed on the way; null when those that the pool
  // makes are too small as well.
  MediaBuffer* TakeAudio(int32_t bytes);

  // Whether no video buffer is idle.
  bool IsOutOfVideo();
  // Whether a video buffer is taken, which may still be given back.
  bool HasTakenVideo();

  // Waits, once, until a buffer of this frame type has been given back; at once when one is idle or
  // the type is neither 1 nor 2.
  void WaitForFree(int type);

  // Takes a buffer back: at most 5 idle video and 100 idle audio buffers are kept, the rest is
  // freed. A record of another type is neither kept nor freed.
  void Give(MediaBuffer* buffer);

  // Frees all idle buffers. No lock: only while no other thread uses the pool.
  void Reset();

  MediaBufferPool();
  ~MediaBufferPool();
  MediaBufferPool(const MediaBufferPool&) = delete;
  MediaBufferPool& operator=(const MediaBufferPool&) = delete;

 private:
  using Buffers = BufferRing<std::unique_ptr<MediaBuffer>>;

  MediaBuffer* HandOutVideo();
  void TakeBackVideo();
  static void Add(Buffers& idle, int count, int32_t type, int32_t bytes);
  static void DropSmall(Buffers& idle, int32_t bytes);
  static void Wait(const Buffers& idle, but::Mutex& lock, pthread_cond_t& available);
  static void Keep(Buffers& idle, size_t limit, std::unique_ptr<MediaBuffer> buffer,
                   but::Mutex& lock, pthread_cond_t& available);

  static constexpr int kAudioGrowCount = 5;
  static constexpr int kVideoCount = 5;
  static constexpr size_t kAudioIdleLimit = 100;

  // Set while no other thread uses the pool.
  int32_t mVideoBufferSize = 1024;
  int32_t mAudioBufferSize = 1024;

  // Under mVideoLock.
  Buffers mVideoIdle;
  int mVideoTaken = 0;
  // Under mAudioLock.
  Buffers mAudioIdle;

  but::Mutex mVideoLock;
  but::Mutex mAudioLock;
  pthread_cond_t mVideoAvailable;
  pthread_cond_t mAudioAvailable;
};

// Gives a taken buffer back when its holder lets go of it.
struct GiveToPool {
  // The deleter's call.
  void operator()(MediaBuffer* buffer) const { MediaBufferPool::Instance()->Give(buffer); }
};
// A taken buffer that goes back to the pool by itself.
using PooledBuffer = std::unique_ptr<MediaBuffer, GiveToPool>;

}  // namespace codec
