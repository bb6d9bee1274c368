// SPDX-License-Identifier: MIT
#include "codec/writer/buffer_list.h"

#include <utility>

namespace codec {

void BufferList::PushBack(std::unique_ptr<MediaBuffer> buffer) noexcept {
  MediaBuffer* const last = buffer.get();
  (Empty() ? mFirst : mLast->mNext) = std::move(buffer);
  mLast = last;
  ++mSize;
}

std::unique_ptr<MediaBuffer> BufferList::PopFront() noexcept {
  if (Empty()) return nullptr;
  std::unique_ptr<MediaBuffer> first = std::move(mFirst);
  mFirst = std::move(first->mNext);
  --mSize;
  return first;
}

// One by one: a buffer that is freed with its links would free all those after it, each inside the
// one before.
void BufferList::Clear() noexcept {
  while (!Empty()) PopFront();
}

}  // namespace codec
