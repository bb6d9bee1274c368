// SPDX-License-Identifier: MIT
// A first-in first-out list of owned buffers.
#pragma once

#include <cstddef>
#include <memory>

#include "codec/writer/media_buffer.h"

namespace codec {

// The buffers themselves hold the links, so that no operation allocates or fails: buffers are given
// back by destructors, and a std::deque takes a block from the heap every few dozen of them even
// while its length stays the same. A buffer stands in one list at a time. Not synchronised.
class BufferList {
 public:
  BufferList() = default;
  ~BufferList() { Clear(); }
  BufferList(const BufferList&) = delete;
  BufferList& operator=(const BufferList&) = delete;

  bool Empty() const { return mFirst == nullptr; }
  size_t Size() const { return mSize; }
  // The one that came first; null if there is none.
  const MediaBuffer* Front() const { return mFirst.get(); }

  // Takes a buffer; never null.
  void PushBack(std::unique_ptr<MediaBuffer> buffer) noexcept;
  // The one that came first; null if there is none.
  std::unique_ptr<MediaBuffer> PopFront() noexcept;
  // Frees all buffers.
  void Clear() noexcept;

 private:
  std::unique_ptr<MediaBuffer> mFirst;
  MediaBuffer* mLast = nullptr;  // only if there is a first
  size_t mSize = 0;
};

}  // namespace codec
