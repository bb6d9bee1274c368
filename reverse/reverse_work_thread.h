// The thread on which a reversal runs.
#pragma once

#include <atomic>

#include "base/thread.h"

namespace codec {

class Reverse;

// Walks its job's range to the end, or until `running` is cleared, which takes effect after the
// current step; then stops the job's writer. `running` stays true when the walk is over, until the
// job clears it.
class ReverseWorkThread : public but::Thread {
 public:
  explicit ReverseWorkThread(Reverse* owner) : job(owner) {}

  // Does nothing when the thread has been started before.
  void Start() override;
  void Run() override;

  Reverse* const job;
  // Written by the owner, read by the thread.
  std::atomic<bool> running{false};
};

}  // namespace codec
