// SPDX-License-Identifier: MIT
// Makes chosen calls of our code fail, for the failures that no input provokes. For tests only.
//
// The linker turns every call of a listed function, in the objects that are linked statically, into
// one of ours, which counts it and then fails or goes on to the real function. FFmpeg's calls of
// its own functions stay as they are.
#pragma once

#include <atomic>
#include <cstdint>

#include "tests/faults/fault_table.h"

namespace test_support {

#define FAULT_ENUMERATOR(name, arguments, failure) name,
enum class FaultCall {
  FAULT_TABLE(FAULT_ENUMERATOR)
  // Not in the table.
  openat,  // -1 and errno, as the table's; here because it takes any number of arguments
  // A wake-up without cause: 0, at once. Of waits by the C library's function; those of
  // std::condition_variable are inside the standard library.
  pthread_cond_wait,
  operator_new,  // std::bad_alloc, in the programs that link fault_new.cpp
  kCount
};
#undef FAULT_ENUMERATOR
constexpr int kFaultCalls = static_cast<int>(FaultCall::kCount);

const char* FaultCallName(FaultCall call);

// While it lives, this call fails, after `passing` calls that go on as usual. One at a time for
// each call.
class Fault {
 public:
  // An `error` stands for the table's, where that is a number; for errno where that is -1, EIO
  // otherwise.
  explicit Fault(FaultCall call, int64_t passing = 0, int error = 0);
  ~Fault();
  Fault(const Fault&) = delete;
  Fault& operator=(const Fault&) = delete;

  // Lets the calls after the first failing one pass again.
  Fault& Once();
  // How many calls have failed.
  int64_t Failed() const;

 private:
  const FaultCall mCall;
};

// How often it has been called since the program began.
int64_t FaultCallCount(FaultCall call);

// Counts one call. Whether it has to fail.
bool CountFaultCall(FaultCall call);

}  // namespace test_support
