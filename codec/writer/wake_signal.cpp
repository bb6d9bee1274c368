// SPDX-License-Identifier: MIT
#include "codec/writer/wake_signal.h"

namespace codec {

uint64_t WakeSignal::Ticket() {
  const but::HeldLock held(&mMutex);
  return mCount;
}

void WakeSignal::Signal() {
  {
    const but::HeldLock held(&mMutex);
    ++mCount;
  }
  mCondition.notify_one();
}

void WakeSignal::WaitBeyond(uint64_t ticket, std::chrono::milliseconds limit) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  but::HeldLock held(&mMutex);
  while (mCount == ticket && mCondition.wait_until(held, deadline) == std::cv_status::no_timeout) {
  }
}

}  // namespace codec
