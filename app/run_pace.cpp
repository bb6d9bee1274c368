// SPDX-License-Identifier: MIT
#include "app/run_pace.h"

#include <algorithm>

namespace app {

void RunPace::Update(double percent, double now) {
  const bool isFirst = !HasBegun();
  if (isFirst) mBegin = now;
  const double known = std::clamp(percent, 0.0, 100.0);
  // The clock of a host may be set back.
  if (isFirst || known != mPercent) mChange = std::max(now, mBegin);
  mPercent = known;
}

std::optional<double> RunPace::Speed(double range) const {
  if (range <= 0 || mPercent <= 0 || Taken() <= 0) return std::nullopt;
  return range * mPercent / 100 / Taken();
}

std::optional<double> RunPace::Left(double now) const {
  if (mPercent >= 100) return 0;
  if (mPercent <= 0 || Taken() <= 0) return std::nullopt;
  // Progress comes in steps; between them the time left runs down by the clock.
  const double left = Taken() * (100 - mPercent) / mPercent - std::max(0.0, now - mChange);
  return std::max(left, 0.0);
}

}  // namespace app
