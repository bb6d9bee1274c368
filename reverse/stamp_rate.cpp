// SPDX-License-Identifier: MIT
#include "reverse/stamp_rate.h"

#include <cmath>

namespace codec {
namespace {

// The clock of broadcasts. All usual rates but 23.976 and 59.94 divide it.
constexpr int kFineRate = 90000;

// Rates travel as text of six digits.
constexpr double kRelativeError = 1e-5;

constexpr int kMostPictures = 10000;
constexpr int kMostSeconds = 10;

// Whether this many seconds hold a whole number of pictures; the number, or 0.
int WholePictures(double frameRate, double seconds) {
  const double pictures = std::round(frameRate * seconds);
  if (!(pictures >= 1 && pictures <= kMostPictures)) return 0;
  const bool isWhole = std::abs(frameRate * seconds - pictures) <= pictures * kRelativeError;
  return isWhole ? static_cast<int>(pictures) : 0;
}

}  // namespace

int StampRate(double frameRate, bool isConstant) {
  if (!isConstant) return kFineRate;
  constexpr int kTicks = 1000;  // of a picture in one second, of 1001 in 1.001 seconds
  for (int seconds = 1; seconds <= kMostSeconds; ++seconds) {
    if (const int pictures = WholePictures(frameRate, seconds)) return pictures * kTicks;
    if (seconds > 1) continue;
    if (const int pictures = WholePictures(frameRate, 1.001)) return pictures * kTicks;
  }
  return kFineRate;
}

}  // namespace codec
