// SPDX-License-Identifier: MIT
// The line that shows a person how far a run is.
#pragma once

#include <string>

#include "app/run_pace.h"

namespace app {

// Knows nothing of terminals and clocks: numbers in, text out.
class ProgressBar {
 public:
  // `isUtf8` tells whether the terminal shows more than ASCII.
  explicit ProgressBar(bool isUtf8) : mIsUtf8(isUtf8) {}

  // The length of what is reversed, which the speed is told from. Without it no speed is shown.
  void SetRange(double seconds) { mRange = seconds; }

  // `percent` is done at the time `now`, in seconds of any clock. The first call starts the run.
  void Update(double percent, double now) { mPace.Update(percent, now); }

  // The line at the time `now`, without a line end: a bar, percent, speed as a multiple of playing,
  // and the time left, or at 100 percent the time taken. What is not known yet is left out, and so
  // is what has no room: the line is always narrower than `columns`, because terminals differ in
  // what they do behind the last column. May be empty.
  std::string Line(int columns, double now) const;

 private:
  std::string Speed() const;
  std::string Time(double now) const;
  std::string Bar(int width) const;

  const bool mIsUtf8;
  double mRange = 0;  // seconds
  RunPace mPace;
};

}  // namespace app
