// SPDX-License-Identifier: MIT
// Keeps the signals of failing writes from ending the process.
#pragma once

#include <csignal>

namespace capi {

// A write to a pipe without a reader, or beyond the largest file allowed, raises a signal that ends
// a process by default. A library may not change what the process does about signals. So they are
// held back from the calling thread, and from the threads that it starts, from construction to
// destruction. Those that were raised meanwhile are dropped: the write's error tells the same.
class WriteSignals {
 public:
  WriteSignals();
  ~WriteSignals();
  WriteSignals(const WriteSignals&) = delete;
  WriteSignals& operator=(const WriteSignals&) = delete;

 private:
  // Those that were neither held back nor pending before.
  sigset_t mOurs;
};

}  // namespace capi
