// SPDX-License-Identifier: MIT
#include "reverse/end_signal.h"

namespace codec {

void EndSignal::Begin() {
  const but::HeldLock held(&mMutex);
  mGoesOn = true;
}

void EndSignal::End() {
  // Woken under the lock: a thread that has seen the end may destroy this object at once.
  const but::HeldLock held(&mMutex);
  mGoesOn = false;
  mEnded.notify_all();
}

bool EndSignal::Wait(std::chrono::milliseconds time) {
  const auto deadline = std::chrono::steady_clock::now() + time;
  but::HeldLock held(&mMutex);
  while (mGoesOn && mEnded.wait_until(held, deadline) == std::cv_status::no_timeout) {
  }
  return !mGoesOn;
}

}  // namespace codec
