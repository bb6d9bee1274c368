// SPDX-License-Identifier: MIT
// Progress as lines of the log.
#pragma once

#include "app/progress_observer.h"

namespace app {

// Logs each report: "progress:12.500".
class ProgressLines : public ProgressObserver {
 public:
  void OnProgress(const Progress& progress) override;
};

// Logs nothing but one line at the end of a run that is done. That line is shown at any level.
class LastLine : public ProgressObserver {
 public:
  void OnProgress(const Progress& progress) override { mLast = progress; }
  void OnEnd(const RunEnd& end) override;

 private:
  Progress mLast;
};

}  // namespace app
