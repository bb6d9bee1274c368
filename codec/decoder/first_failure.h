// SPDX-License-Identifier: MIT
// Failures of the host (no memory), as opposed to a damaged input.
#pragma once

#include "base/first_error.h"

namespace codec {

// A decoder goes on after most errors, as the input may be damaged. But if a frame is missing for
// lack of memory, the run has to tell in the end. For any thread.
class FirstFailure {
 public:
  // Looks at one of FFmpeg's results and gives it back. Keeps the result if it tells of lack of
  // memory.
  int Note(int result);
  // Keeps a negative number that is known to be a failure of the host.
  void Keep(int error) { mError.Keep(error); }
  // The first failure as FFmpeg's negative number; 0 if there was none.
  int Error() const { return mError.Error(); }

 private:
  but::FirstError mError;
};

}  // namespace codec
