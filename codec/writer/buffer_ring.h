// SPDX-License-Identifier: MIT
// A first-in first-out queue of owned records that allocates only while it grows.
#pragma once

#include <cstddef>
#include <utility>
#include <vector>

namespace codec {

// std::deque takes and frees a block every few dozen elements even when its length stays the same;
// a ring does not, so that frames cycle without the heap. Not synchronised.
template <typename Pointer>
class BufferRing {
 public:
  bool Empty() const { return mCount == 0; }
  size_t Size() const { return mCount; }

  // Only when not empty.
  const Pointer& Front() const { return mSlots[mHead]; }

  void PushBack(Pointer element) {
    if (mCount == mSlots.size()) Grow();
    mSlots[(mHead + mCount) % mSlots.size()] = std::move(element);
    ++mCount;
  }

  // Null when empty.
  Pointer PopFront() {
    if (Empty()) return Pointer();
    Pointer front = std::move(mSlots[mHead]);
    mHead = (mHead + 1) % mSlots.size();
    --mCount;
    return front;
  }

  void Clear() {
    while (!Empty()) PopFront();
  }

 private:
  static constexpr size_t kFirstSize = 16;

  void Grow() {
    std::vector<Pointer> larger(mSlots.empty() ? kFirstSize : 2 * mSlots.size());
    for (size_t i = 0; i < mCount; ++i) larger[i] = std::move(mSlots[(mHead + i) % mSlots.size()]);
    mSlots.swap(larger);
    mHead = 0;
  }

  std::vector<Pointer> mSlots;
  size_t mHead = 0;
  size_t mCount = 0;
};

}  // namespace codec
