// SPDX-License-Identifier: MIT
// The thread that feeds the encoder while the producer goes on.
#pragma once

#include <atomic>

#include "base/thread.h"

namespace codec {

class MWScheduler : public but::Thread {
 public:
  // What the thread does. The calls come from the thread only.
  class Work {
   public:
    virtual ~Work() = default;
    // One frame, or a wait of at most a second for one.
    virtual void ScheduleOnce() = 0;
    // All that is left; the last call.
    virtual void Flush() = 0;
  };

  // `work` must outlive the thread.
  explicit MWScheduler(Work* work) : mWork(work) {}

  // A second call does nothing.
  void Start() override;
  void Run() override;

  // Stop it by clearing the flag, waking it and joining.
  std::atomic<bool> running{false};

 private:
  Work* const mWork;
};

}  // namespace codec
