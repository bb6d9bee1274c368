// SPDX-License-Identifier: MIT
// Tells a waiting thread that the work of another one is over.
#pragma once

#include <chrono>
#include <condition_variable>

#include "base/lock.h"

namespace codec {

// Work goes on between Begin and End, and not before the first Begin. Safe to call from several
// threads.
class EndSignal {
 public:
  void Begin();
  // Wakes every waiting thread. A thread that sees the end sees all that was written before it.
  void End();

  // Waits until no work goes on, but no longer than `time`. True if no work goes on.
  bool Wait(std::chrono::milliseconds time);

 private:
  but::Mutex mMutex;
  std::condition_variable_any mEnded;
  bool mGoesOn BUT_UNDER(mMutex) = false;
};

}  // namespace codec
