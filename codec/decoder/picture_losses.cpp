// SPDX-License-Identifier: MIT
#include "codec/decoder/picture_losses.h"

#include <algorithm>
#include <iterator>

#include "codec/decoder/packet_clock.h"

namespace codec {

void PictureLosses::Restart() {
  mExpected.clear();
  mFirstGiven.reset();
}

void PictureLosses::Expect(int64_t stamp) {
  if (mFirstGiven.has_value()) {
    if (stamp < *mFirstGiven) Lose(stamp, Loss::kUndecoded);
    return;
  }
  if (stamp == AV_NOPTS_VALUE || mLost.count(stamp) > 0) return;
  Lose(stamp, Loss::kUndecoded);
  mExpected.push_back(stamp);
}

void PictureLosses::Lose(int64_t stamp, Loss loss) {
  if (stamp == AV_NOPTS_VALUE) return;
  mLost.insert_or_assign(stamp, loss);
  // It is known now, and not expected any more.
  mExpected.erase(std::remove(mExpected.begin(), mExpected.end(), stamp), mExpected.end());
}

void PictureLosses::Give(int64_t stamp) {
  if (!mFirstGiven.has_value() && stamp != AV_NOPTS_VALUE) NoteFirst(stamp);
  const auto found = mLost.find(stamp);
  if (found != mLost.end() && found->second != Loss::kLeftOut) mLost.erase(found);
}

// The decoder may still hold the pictures after the first one.
void PictureLosses::NoteFirst(int64_t stamp) {
  mFirstGiven = stamp;
  for (const int64_t expected : mExpected) {
    if (expected > stamp) mLost.erase(expected);
  }
  mExpected.clear();
}

LostPictures PictureLosses::Take(double from, double to, AVRational base, double zero) {
  LostPictures taken;
  taken.isDoubtful = mIsDoubtful;
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
