// SPDX-License-Identifier: MIT
// Who is told how far a run is.
#pragma once

#include <cstdint>
#include <string>

#include "reverse/account.h"

namespace app {

// How far a run is.
struct Progress {
  double percent = 0;   // 0 to 100
  double range = 0;     // length of what is reversed, in seconds; 0 or less if there is nothing
  double position = 0;  // how much of it is done, in seconds
  int64_t bytes = 0;    // of the output so far
};

// How a run has ended. Refers to texts of the caller: a copy might find no memory, and make a
// failure of a run that is done.
struct RunEnd {
  bool isDone;                // the output is whole
  const std::string& output;  // its name, as the user gave it
  const std::string& advice;  // what to do about a failure; empty if there was none
};

// Shows a run to a person or to another program. Both calls come from the thread that runs the
// driver.
class ProgressObserver {
 public:
  ProgressObserver() = default;
  virtual ~ProgressObserver() = default;
  ProgressObserver(const ProgressObserver&) = delete;
  ProgressObserver& operator=(const ProgressObserver&) = delete;

  // Some times a second, and a last time at 100 percent, after a failure too. Not at all if the run
  // fails before it begins.
  virtual void OnProgress(const Progress& progress) = 0;
  // What the run has reversed and lost. Once after a run that was begun, unless it was a plain one.
  virtual void OnAccount(const codec::JobAccount& /*account*/) {}
  // Once, after everything else. Failures have been logged before.
  virtual void OnEnd(const RunEnd& /*end*/) {}
};

}  // namespace app
