// SPDX-License-Identifier: MIT
// A joinable POSIX thread whose body is a virtual operation.
#pragma once

#include <pthread.h>

namespace but {

// Derived classes add a `running` flag that `Run` tests at least once per unit of work. Their owner
// stops them by clearing the flag, joining, then destroying; nothing ends a thread by force.
class Thread {
 public:
  Thread() = default;
  // Neither joins nor detaches: the owner must have joined.
  virtual ~Thread() = default;
  Thread(const Thread&) = delete;
  Thread& operator=(const Thread&) = delete;

  // Creates the thread. Where the host refuses, the error is logged, there is no thread and
  // HasThread stays false.
  virtual void Start();
  // Waits for the thread to end; at once when there is none.
  virtual void Join();
  // The body.
  virtual void Run() = 0;

  // Whether a thread was created and has not been joined.
  bool HasThread() const { return mStarted; }

 private:
  static void* Enter(void* self);

  pthread_t mHandle{};
  bool mStarted = false;
};

}  // namespace but
