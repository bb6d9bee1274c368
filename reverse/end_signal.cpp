// SPDX-License-Identifier: MIT
#include "reverse/end_signal.h"

namespace codec {

void EndSignal::Begin() {
  const std::lock_guard<std::mutex> lock(mMutex);
  mGoesOn = true;
}

void EndSignal::End() {
  // Woken under the lock: a thread that has seen the end may destroy this object at once.
  const std::lock_guard<std::mutex> lock(mMutex);
  mGoesOn = false;
  mEnded.notify_all();
}

bool EndSignal::Wait(std::chrono::milliseconds time) {
  std::unique_lock<std::mutex> lock(mMutex);
  return mEnded.wait_for(lock, time, [this] { return !mGoesOn; });
}

}  // namespace codec
