// SPDX-License-Identifier: MIT
// How fast a run goes on.
#pragma once

#include <optional>

namespace app {

// Knows nothing of clocks: times are seconds of any clock.
class RunPace {
 public:
  // `percent` is done at the time `now`. The first call starts the run.
  void Update(double percent, double now);

  bool HasBegun() const { return mPercent >= 0; }
  // 0 to 100, once the run has begun.
  double Percent() const { return mPercent; }
  // Seconds from the start to when the percent last became another.
  double Taken() const { return mChange - mBegin; }
  // As a multiple of playing `range` seconds; nothing while it is not known.
  std::optional<double> Speed(double range) const;
  // Seconds until the end of the run; nothing while the speed is not known.
  std::optional<double> Left(double now) const;

 private:
  double mPercent = -1;  // below 0 before the first update
  double mBegin = 0;     // time of the first update
  double mChange = 0;    // time when the percent last became another
};

}  // namespace app
