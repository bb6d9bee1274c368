// SPDX-License-Identifier: MIT
// The condition on which a consumer waits for its producer.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>

#include "base/lock.h"

namespace codec {

// Counts signals, so that one given between the consumer's look at its queues and its wait is not
// lost: take a ticket, look, and wait only for signals later than the ticket. Neither side needs a
// queue's lock meanwhile.
class WakeSignal {
 public:
  // The number of signals so far.
  uint64_t Ticket();
  void Signal();
  // Returns when a signal later than `ticket` has been given, or after `limit`.
  void WaitBeyond(uint64_t ticket, std::chrono::milliseconds limit);

 private:
  but::Mutex mMutex;
  std::condition_variable_any mCondition;
  uint64_t mCount BUT_UNDER(mMutex) = 0;
};

}  // namespace codec
