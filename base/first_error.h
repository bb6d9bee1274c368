// SPDX-License-Identifier: MIT
// The first of several errors.
#pragma once

#include <atomic>

namespace but {

// Keeps the first error that it is told of: what comes later is often its consequence. For any
// thread.
class FirstError {
 public:
  // Looks at a result and gives it back. A result below 0 is an error.
  int Keep(int result) {
    int none = 0;
    if (result < 0) mError.compare_exchange_strong(none, result);
    return result;
  }
  // As if there had been none.
  void Forget() { mError = 0; }
  // 0 while there was none.
  int Error() const { return mError; }

 private:
  std::atomic<int> mError{0};
};

}  // namespace but
