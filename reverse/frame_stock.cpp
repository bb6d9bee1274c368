// SPDX-License-Identifier: MIT
#include "reverse/frame_stock.h"

#include <cstring>
#include <utility>

#include "reverse/frame_pool.h"

namespace codec {
namespace {

// Frames of sound differ in size. Sizes are rounded up to this, so that most buffers fit again.
constexpr uint32_t kSmallBytes = 16384;

}  // namespace

FrameStock::~FrameStock() {
  for (std::unique_ptr<FrameBuffer>& buffer : mLarge) FramePool::Instance().Put(std::move(buffer));
}

std::unique_ptr<FrameBuffer> FrameStock::Get() {
  but::HeldLock held(&mMutex);
  while (mLargeOut >= mMostOut) mReturned.wait(held);
  std::unique_ptr<FrameBuffer> buffer = TakeLast(&mLarge);
  if (buffer == nullptr) buffer = FramePool::Instance().Get(mFrameBytes);
  ++mLargeOut;
  return buffer;
}

std::unique_ptr<FrameBuffer> FrameStock::Compact(std::unique_ptr<FrameBuffer> frame) {
  const uint32_t room = (frame->size + kSmallBytes - 1) / kSmallBytes * kSmallBytes;
  if (room >= static_cast<uint32_t>(mFrameBytes)) return frame;
  std::unique_ptr<FrameBuffer> compact = TakeSmall();
  if (compact == nullptr) compact = std::make_unique<FrameBuffer>();
  if (compact->Data() == nullptr || compact->Length() < static_cast<int32_t>(room)) {
    compact->Resize(static_cast<int32_t>(room));
  }
  std::memcpy(compact->Data(), frame->Data(), frame->size);
  compact->type = frame->type;
  compact->size = frame->size;
  compact->pts = frame->pts;
  Put(std::move(frame));
  return compact;
}

void FrameStock::Put(std::unique_ptr<FrameBuffer> buffer) {
  {
    const but::HeldLock held(&mMutex);
    const bool isLarge = IsLarge(*buffer);
    (isLarge ? mLarge : mSmall).push_back(std::move(buffer));
    if (!isLarge) return;
    --mLargeOut;
  }
  mReturned.notify_one();
}

void FrameStock::Limit(size_t buffers) {
  {
    const but::HeldLock held(&mMutex);
    mMostOut = buffers;
  }
  mReturned.notify_all();
}

std::unique_ptr<FrameBuffer> FrameStock::TakeSmall() {
  const but::HeldLock held(&mMutex);
  return TakeLast(&mSmall);
}

std::unique_ptr<FrameBuffer> FrameStock::TakeLast(Buffers* buffers) {
  if (buffers->empty()) return nullptr;
  std::unique_ptr<FrameBuffer> buffer = std::move(buffers->back());
  buffers->pop_back();
  return buffer;
}

}  // namespace codec
