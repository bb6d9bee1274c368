// SPDX-License-Identifier: MIT
// The pool of buffers through which every frame passes between the writer's entry and the encoder.
#pragma once

#include <cstdint>
#include <memory>

#include "codec/utils/frame_type.h"
#include "codec/writer/buffer_side.h"
#include "codec/writer/media_buffer.h"

namespace codec {

// Bounds the number of idle buffers, so that memory stays flat however long a run is, and lets a
// producer wait until a video buffer is free. Its sizes are those of one output: writers that work
// at the same time have a pool each. A pool outlives its buffers; each buffer goes back to the pool
// that lent it. The video and the audio side have a lock each; no operation takes both. Safe to
// call from any thread.
class MediaBufferPool {
 public:
  // The pool of the process, for all writers without one of their own; made before `main` runs and
  // never destroyed.
  static MediaBufferPool* Instance();

  MediaBufferPool() = default;
  MediaBufferPool(const MediaBufferPool&) = delete;
  MediaBufferPool& operator=(const MediaBufferPool&) = delete;

  // Bytes of the video buffers made from now on.
  void SetVideoBufferSize(int32_t size) { mVideo.SetBufferSize(size); }
  // The same for audio buffers.
  void SetAudioBufferSize(int32_t size) { mAudio.SetBufferSize(size); }

  // Adds five idle video buffers of `size` bytes each (0: of the size set). Throws std::bad_alloc.
  void RefillVideo(int32_t size) { mVideo.Refill(size); }

  // An idle video buffer, owned by the taker until Give; null when there is none. Never waits.
  MediaBuffer* TakeVideo() { return mVideo.Take(0); }
  // The same, but buffers too small for `bytes` (left by a writer that was never stopped) are freed
  // on the way.
  MediaBuffer* TakeVideo(int32_t bytes) { return mVideo.Take(bytes); }
  // An idle audio buffer; the pool grows by five when it has none. Throws std::bad_alloc.
  MediaBuffer* TakeAudio() { return mAudio.Take(0); }
  // The same, but buffers too small for `bytes` are freed on the way; null when those that the pool
  // makes are too small as well.
  MediaBuffer* TakeAudio(int32_t bytes) { return mAudio.Take(bytes); }

  // Whether no video buffer is idle.
  bool IsOutOfVideo() { return mVideo.IsEmpty(); }
  // Whether a video buffer is taken, which may still be given back.
  bool HasTakenVideo() { return mVideo.HasLent(); }

  // Waits, once, until a buffer of this frame type has been given back; at once when one is idle or
  // the type is no FrameType. A wake-up without cause ends the wait, so that there may be no
  // buffer after it.
  void WaitForFree(int type);
  // Waits until a video buffer is idle, whatever wakes it. False, at once, if none is idle and none
  // is taken.
  bool AwaitVideo() { return mVideo.WaitWhileLent(); }

  // Takes a buffer back: at most 5 idle video and 100 idle audio buffers are kept, the rest is
  // freed. A record of another type is neither kept nor freed. A buffer of another pool goes there.
  void Give(MediaBuffer* buffer) noexcept;

  // Frees all idle buffers.
  void Reset();

 private:
  // Null for a type that is neither.
  BufferSide* SideOf(int32_t type) noexcept;

  static constexpr BufferSide::Rules kVideoRules{kVideoFrame, 5, 5, false};
  static constexpr BufferSide::Rules kAudioRules{kAudioFrame, 5, 100, true};

  BufferSide mVideo{kVideoRules, this};
  BufferSide mAudio{kAudioRules, this};
};

// Gives a taken buffer back when its holder lets go of it.
struct GiveToPool {
  // The deleter's call.
  void operator()(MediaBuffer* buffer) const { MediaBufferPool::Instance()->Give(buffer); }
};
// A taken buffer that goes back to its pool by itself.
using PooledBuffer = std::unique_ptr<MediaBuffer, GiveToPool>;

}  // namespace codec
