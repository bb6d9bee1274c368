// SPDX-License-Identifier: MIT
// The thread on which a reversal runs.
#pragma once

#include <atomic>

#include "base/thread.h"

namespace codec {

class Reverse;

// Walks its job's range to the end, or until `running` is cleared. The present step is always
// finished. Then it stops the job's writer. After the walk `running` stays true until the job
// clears it.
class ReverseWorkThread : public but::Thread {
 public:
  explicit ReverseWorkThread(Reverse* owner) : job(owner) {}

  // Does nothing if the thread was started before.
  void Start() override;
  void Run() override;

  Reverse* const job;
  // Written by the owner, read by the thread.
  std::atomic<bool> running{false};
};

}  // namespace codec
