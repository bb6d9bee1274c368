// SPDX-License-Identifier: MIT
// Cuts sound into encoder frames and queues them.
#pragma once

#include <cstdint>
#include <memory>
#include <utility>

#include "audio/audio_process.h"
#include "codec/writer/audio_timeline.h"
#include "codec/writer/frame_queue.h"

namespace codec {

// Takes frames out of the audio queue while a long silence is queued.
class QueueOutlet {
 public:
  virtual ~QueueOutlet() = default;
  // Waits until fewer frames than these are queued. False if nobody takes any.
  virtual bool AwaitFewer(size_t frames) = 0;
};

// Blocks of any size come in; frames of exactly one size go to the audio queue with evenly spaced
// stamps, silence in place of long gaps, and less what has run too far ahead. One thread at a time.
class AudioFramer {
 public:
  // `queue` receives the frames; it must outlive the framer.
  explicit AudioFramer(FrameQueue* queue) : mQueue(queue) {}

  // Where its buffers come from; the pool of the process unless set.
  void SetPool(MediaBufferPool* pool) { mPool = pool; }

  bool HasProcess() const { return mProcess != nullptr; }
  void SetProcess(std::unique_ptr<vux::AudioProcess> process) { mProcess = std::move(process); }
  // Bytes, at least 1, and microseconds of one encoder frame.
  void SetFrame(int32_t bytes, int64_t duration);
  // Whether silence is inserted and frames are dropped to keep step with the video.
  void SetSync(bool enabled) { mSync = enabled; }

  // Asked each time a silence has filled the queue. It must outlive the framer. Without one the
  // queue takes a silence of any length.
  void SetOutlet(QueueOutlet* outlet) { mOutlet = outlet; }

  // The last frame holds only the samples that are left, without silence after them. Off unless
  // set.
  void SetShortLast(bool enabled) { mHasShortLast = enabled; }

  // 0, or -1 when the process refuses the block.
  int Write(const uint8_t* data, uint32_t size, int64_t pts);
  // Whether a frame has been lost because there was no buffer for it.
  bool IsOutOfBuffers() const { return mIsOutOfBuffers; }
  // Whether a gap was not filled: it was longer than a day, or nobody took the silence.
  bool HasLostSilence() const { return mHasLostSilence; }
  // Queues what is left as a last frame, filled up with silence unless it may be short.
  void Flush();

 private:
  void PlaceFrame(const AudioTimeline::Block& block);
  bool HasRoom();
  void InsertSilence(const AudioTimeline::Block& block);
  // A pool buffer with room for a frame; null, after an error line, when there is none.
  PooledBuffer TakeBuffer();
  void Append(PooledBuffer buffer, int32_t bytes);

  FrameQueue* const mQueue;
  MediaBufferPool* mPool = MediaBufferPool::Instance();
  QueueOutlet* mOutlet = nullptr;
  std::unique_ptr<vux::AudioProcess> mProcess;
  AudioTimeline mTimeline;
  int32_t mFrameBytes = 0;
  bool mSync = true;
  bool mHasShortLast = false;
  bool mIsOutOfBuffers = false;
  bool mHasLostSilence = false;
};

}  // namespace codec
