// SPDX-License-Identifier: MIT
// Threads that wait, without a look at the clock.
#pragma once

#include <functional>
#include <thread>

#include "tests/faults/faults.h"

namespace test_support {

// Counts, from its making on, the waits for a condition variable of the C library.
class Waits {
 public:
  Waits() : mBefore(FaultCallCount(FaultCall::pthread_cond_wait)) {}

  // How many there have been. A thread that is counted holds the lock until it sleeps.
  int64_t Count() const { return FaultCallCount(FaultCall::pthread_cond_wait) - mBefore; }
  // Returns as soon as there have been so many, or `isOver`.
  void Await(int64_t count, const std::function<bool()>& isOver) const {
    while (Count() < count && !isOver()) std::this_thread::yield();
  }

 private:
  const int64_t mBefore;
};

}  // namespace test_support
