// SPDX-License-Identifier: MIT
// Recycles the frame buffers of the reverse job.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "base/lock.h"
#include "reverse/frame_buffer.h"

namespace codec {

// Keeps at most 12 idle buffers. A step that needs more allocates fresh ones. Buffers beyond 12 are
// freed when they are put back. Safe to call from several threads.
class FramePool {
 public:
  FramePool() { mIdle.reserve(kIdleLimit); }

  // The pool of the program. It is made before `main` runs and never destroyed.
  static FramePool& Instance();

  // A buffer with room for at least `length` bytes. A fresh one is zero. A recycled one keeps its
  // old bytes. Throws std::bad_alloc.
  std::unique_ptr<FrameBuffer> Get(int32_t length);

  // Takes a buffer back. Always 0. Needs no memory, because destructors call it.
  int Put(std::unique_ptr<FrameBuffer> buffer);

 private:
  static constexpr size_t kIdleLimit = 12;

  but::Mutex11 mLock;
  std::vector<std::unique_ptr<FrameBuffer>> mIdle BUT_UNDER(mLock);  // the oldest first
};

}  // namespace codec
