// SPDX-License-Identifier: MIT
#include "codec/decoder/picture_losses.h"

#include <iterator>

#include "codec/decoder/packet_clock.h"

namespace codec {

void PictureLosses::Restart() {
  mFirstKey = kNoKey;
  mIsSettled = false;
}

void PictureLosses::Expect(int64_t stamp, bool isKey) {
  if (mIsSettled) return;
  if (AwaitsKey() && isKey) {
    mFirstKey = stamp;
    mIsSettled = stamp == AV_NOPTS_VALUE;
  } else if (AwaitsKey() || stamp < mFirstKey) {
    Lose(stamp, Loss::kUndecoded);
  } else {
    mIsSettled = true;
  }
}

void PictureLosses::Lose(int64_t stamp, Loss loss) {
  if (stamp != AV_NOPTS_VALUE) mLost.insert_or_assign(stamp, loss);
}

void PictureLosses::Give(int64_t stamp) {
  if (!mLost.empty()) mLost.erase(stamp);
}

LostPictures PictureLosses::Take(double from, double to, AVRational base, double zero) {
  LostPictures taken;
  while (!mLost.empty()) {
    const auto latest = std::prev(mLost.end());
    const double time = Seconds(latest->first, base) - zero;
    if (time < from) break;
    if (time < to) {
      ++(latest->second == Loss::kDropped ? taken.dropped : taken.undecoded);
      taken.first = time;
    }
    mLost.erase(latest);
  }
  return taken;
}

}  // namespace codec
