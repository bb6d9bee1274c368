// The frame buffers that one job works with.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "base/lock.h"
#include "reverse/frame_buffer.h"

namespace codec {

// Takes buffers from the frame pool and keeps all of them until the job is done: every step needs
// as many as the one before it, and the pool, which keeps twelve, would have their pages made anew
// each second.
//
// What a buffer will hold is known only once it is filled. A frame of sound moves into a small
// buffer, so that memory is paid for no more large ones than there are pictures.
//
// Safe to call from several threads.
class FrameStock {
 public:
  // `frameBytes`: room that any frame needs.
  explicit FrameStock(int32_t frameBytes) : mFrameBytes(frameBytes) {}
  // Gives its buffers back to the pool.
  ~FrameStock();
  FrameStock(const FrameStock&) = delete;
  FrameStock& operator=(const FrameStock&) = delete;

  // A buffer that any frame fits into; what it holds is not defined. Throws std::bad_alloc.
  std::unique_ptr<FrameBuffer> Get();
  // The same frame in a small buffer, if it is a small frame. Throws std::bad_alloc.
  std::unique_ptr<FrameBuffer> Compact(std::unique_ptr<FrameBuffer> frame);
  void Put(std::unique_ptr<FrameBuffer> buffer);

 private:
  using Buffers = std::vector<std::unique_ptr<FrameBuffer>>;

  bool IsLarge(const FrameBuffer& buffer) const { return buffer.Length() >= mFrameBytes; }
  // The buffer used last, whose pages are the likeliest to be cached; null when there is none.
  std::unique_ptr<FrameBuffer> TakeLast(Buffers* buffers);

  const int32_t mFrameBytes;
  but::Mutex11 mLock;
  // Under mLock.
  Buffers mLarge;
  Buffers mSmall;
};

}  // namespace codec
