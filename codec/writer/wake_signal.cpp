// SPDX-License-Identifier: MIT
#include "codec/writer/wake_signal.h"

namespace codec {

uint64_t WakeSignal::Ticket() {
  const std::lock_guard<std::mutex> guard(mMutex);
  return mCount;
}

void WakeSignal::Signal() {
  {
    const std::lock_guard<std::mutex> guard(mMutex);
    ++mCount;
  }
  mCondition.notify_one();
}

void WakeSignal::WaitBeyond(uint64_t ticket, std::chrono::milliseconds limit) {
  std::unique_lock<std::mutex> guard(mMutex);
  mCondition.wait_for(guard, limit, [this, ticket] { return mCount != ticket; });
}

}  // namespace codec
