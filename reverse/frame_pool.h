// Recycles the frame buffers of the reverse job.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "base/lock.h"
#include "reverse/frame_buffer.h"

namespace codec {

// Keeps at most 12 idle buffers; a step that needs more allocates fresh ones and the surplus is
// freed when it comes back. Safe to call from several threads.
class FramePool {
 public:
  FramePool() { mIdle.reserve(kIdleLimit); }

  // The pool of the program; made before `main` runs and never destroyed.
  static FramePool& Instance();

  // A buffer with room for at least `length` bytes. A fresh one is zero; a recycled one keeps what
  // it held. Throws std::bad_alloc.
  std::unique_ptr<FrameBuffer> Get(int32_t length);

  // Takes a buffer back. Always 0. Needs no memory, as it is called where things are freed.
  int Put(std::unique_ptr<FrameBuffer> buffer);

 private:
  static constexpr size_t kIdleLimit = 12;

  but::Mutex11 mLock;
  // Under mLock.
  std::vector<std::unique_ptr<FrameBuffer>> mIdle;  // the oldest first
};

}  // namespace codec
