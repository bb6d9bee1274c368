// SPDX-License-Identifier: MIT
// The frame buffers that one job works with.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <vector>

#include "base/lock.h"
#include "reverse/frame_buffer.h"

namespace codec {

// Takes buffers from the frame pool and keeps all of them until the job is done. Every step needs
// about as many as the step before. But the pool keeps only twelve, and the system would have to
// make the pages of all others again each second.
//
// Nobody knows in advance whether the next frame is a picture or sound, so each is read into a
// large buffer. Then sound moves into a small one.
//
// Safe to call from several threads.
class FrameStock {
 public:
  // `frameBytes`: bytes that any frame fits into.
  explicit FrameStock(int32_t frameBytes) : mFrameBytes(frameBytes) {}
  // Gives its buffers back to the pool.
  ~FrameStock();
  FrameStock(const FrameStock&) = delete;
  FrameStock& operator=(const FrameStock&) = delete;

  // A buffer that any frame fits into. Its bytes are not defined. Waits while the limit of such
  // buffers is out. Throws std::bad_alloc.
  std::unique_ptr<FrameBuffer> Get();
  // The same frame in a small buffer, if it is a small frame. Throws std::bad_alloc.
  std::unique_ptr<FrameBuffer> Compact(std::unique_ptr<FrameBuffer> frame);
  void Put(std::unique_ptr<FrameBuffer> buffer);

  // At most this many buffers of the kind that Get gives may be out at once.
  void Limit(size_t buffers);
  void LiftLimit() { Limit(kNoLimit); }

 private:
  using Buffers = std::vector<std::unique_ptr<FrameBuffer>>;

  bool IsLarge(const FrameBuffer& buffer) const { return buffer.Length() >= mFrameBytes; }
  std::unique_ptr<FrameBuffer> TakeSmall();
  // The buffer used last, whose pages are the likeliest to be cached; null if there is none.
  static std::unique_ptr<FrameBuffer> TakeLast(Buffers* buffers);

  static constexpr size_t kNoLimit = std::numeric_limits<size_t>::max();

  const int32_t mFrameBytes;
  but::Mutex mMutex;
  std::condition_variable_any mReturned;  // or the limit was lifted
  Buffers mLarge BUT_UNDER(mMutex);
  Buffers mSmall BUT_UNDER(mMutex);
  size_t mLargeOut BUT_UNDER(mMutex) = 0;
  size_t mMostOut BUT_UNDER(mMutex) = kNoLimit;
};

}  // namespace codec
