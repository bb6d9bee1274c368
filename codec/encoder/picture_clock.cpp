// SPDX-License-Identifier: MIT
#include "codec/encoder/picture_clock.h"

#include <algorithm>
#include <climits>

#include "codec/utils/numbers.h"

namespace codec {

void PictureClock::Open(double frameRate, int stampRate) {
  mFrameRate = frameRate;
  mIsFine = stampRate > 0;
  // In frames per 1000 seconds, so that 29.97 and the like stay exact.
  const int rate = TruncateToInt(frameRate * 1000);
  mFrameBase = {1000, mIsFine ? std::max(rate, 1) : rate};
  mStampBase = mIsFine ? AVRational{1, stampRate} : mFrameBase;
  mFrameTicks = 1;
  if (mIsFine) mFrameTicks = std::max<int64_t>(TruncateToInt64(stampRate / frameRate + 0.5), 1);
}

AVRational PictureClock::FrameRate() const {
  return av_inv_q(av_mul_q(mStampBase, av_d2q(static_cast<double>(mFrameTicks), INT_MAX)));
}

PictureClock::Place PictureClock::Next(int64_t ptsUs) {
  constexpr int kMicroseconds = 1000000;
  const double seconds = static_cast<double>(ptsUs) / kMicroseconds;
  mLast.number = std::max(TruncateToInt64(seconds * mFrameRate + 0.5), mLast.number + 1);
  // A time too far away for 64 bits gives the lowest number, and so the next tick.
  const int64_t stamp =
      mIsFine ? av_rescale_q(ptsUs, {1, kMicroseconds}, mStampBase) : mLast.number;
  mLast.stamp = std::max(stamp, mLast.stamp + 1);
  return mLast;
}

}  // namespace codec
